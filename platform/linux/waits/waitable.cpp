#include "platform/linux/waits/waitable.h"

#include "platform/kernel.h"
#include "platform/linux/pause.h"

#include <iterator>

namespace Platform {

// Who is to be woken behind the unlock: by address alone, invariant 3.
class Waitable::Wakes {
public:
    void Add(const std::atomic<std::uint32_t>& bell) noexcept
    {
        if (count == std::size(bells))
            WakeByAddressSingle(&bell); // rare, and only late for who waits for the lock
        else
            bells[count++] = &bell;
    }
    void Ring() const noexcept
    {
        for (std::uint32_t i = 0; i < count; ++i)
            WakeByAddressSingle(bells[i]);
    }

private:
    std::uint32_t count = 0;
    const std::atomic<std::uint32_t>* bells[32]; // NOLINT: filled as far as `count`
};

namespace {

enum class Claim { Refused, Spinning, Sleeping };

// Keeps (5). Release, for what the signaller wrote is to be seen by who was waiting for it.
Claim TryClaim(Waiter& waiter, std::uint32_t index) noexcept
{
    std::uint32_t state = waiter.state.load(std::memory_order_relaxed);
    for (;;) {
        if (state != OPEN && state != ASLEEP && state != ENTER)
            return Claim::Refused;
        const std::uint32_t next = state == ENTER ? std::uint32_t{DIRTY} : CLAIMED + index;
        if (!waiter.state.compare_exchange_weak(
                state, next, std::memory_order_acq_rel, std::memory_order_relaxed))
            continue;
        return state == ENTER ? Claim::Refused : state == OPEN ? Claim::Spinning : Claim::Sleeping;
    }
}

constexpr int lockSpins = 40;

} // namespace

std::uint32_t Waitable::Lock() noexcept
{
    for (int i = 0; i < lockSpins; ++i) {
        std::uint32_t seen = word.load(std::memory_order_relaxed);
        if (!(seen & LOCK) && word.compare_exchange_weak(seen, seen | LOCK, std::memory_order_acquire))
            return seen;
        Pause();
    }
    LockAsleep();
    return word.load(std::memory_order_relaxed) & ~(LOCK | CONTENDED);
}

// Who has slept locks with CONTENDED, for there may be others.
void Waitable::LockAsleep() noexcept
{
    std::uint32_t seen = word.load(std::memory_order_relaxed);
    for (;;) {
        const bool isLocked = seen & LOCK;
        if (!(seen & CONTENDED) || !isLocked)
            if (!word.compare_exchange_weak(seen, seen | LOCK | CONTENDED, std::memory_order_acquire))
                continue;
        if (!isLocked)
            return;
        WaitOnAddress(&word, seen | LOCK | CONTENDED);
        seen = word.load(std::memory_order_relaxed);
    }
}

void Waitable::Unlock(std::uint32_t flags) noexcept
{
    const std::uint32_t open = (flags & SIGNALLED) | (first ? WAITERS : 0);
    if (word.exchange(open, std::memory_order_release) & CONTENDED)
        WakeByAddressSingle(&word);
}

// In the order of hanging. An object that is taken goes to the first wait that can be claimed, or stays
// signalled; a mutex has its new owner before that one can run.
void Waitable::SignalWaiters() noexcept
{
    const std::uint32_t processor = GetCurrentProcessorNumber();
    Wakes wakes;
    const std::uint32_t flags = Lock();
    bool isTaken = false;
    WaitRecord* next = flags & SIGNALLED ? nullptr : first;
    while (next && !isTaken) {
        WaitRecord* const record = next;
        WaitRecord* const previous = record->previous;
        next = record->next;
        Waiter& waiter = *record->waiter;
        waiter.claimersProcessor.store(processor, std::memory_order_relaxed);
        if (taking == Taking::Ownership)
            owner.store(&waiter, std::memory_order_relaxed);
        const Claim claim = TryClaim(waiter, record->index);
        if (claim == Claim::Refused)
            continue;
        (previous ? previous->next : first) = next; // keeps (2)
        (next ? next->previous : last) = previous;
        if (claim == Claim::Sleeping)
            wakes.Add(waiter.state);
        isTaken = taking != Taking::Nothing;
    }
    if (!isTaken && taking == Taking::Ownership)
        owner.store(nullptr, std::memory_order_relaxed);
    Unlock(isTaken ? 0 : SIGNALLED); // keeps (7)
    wakes.Ring();
}

void Waitable::Unsignal() noexcept
{
    std::uint32_t seen = word.load(std::memory_order_relaxed);
    while (!(seen & LOCK))
        if (word.compare_exchange_weak(seen, seen & ~SIGNALLED, std::memory_order_acq_rel))
            return;
    Lock();
    Unlock(0);
}

std::uint32_t Waitable::Take(Waiter& waiter, std::uint32_t flags) noexcept
{
    if (taking == Taking::Nothing)
        return flags;
    if (taking == Taking::Ownership)
        owner.store(&waiter, std::memory_order_relaxed);
    return flags & ~SIGNALLED;
}

void Waitable::Hang(WaitRecord& record) noexcept
{
    record.previous = last;
    record.next = nullptr;
    (last ? last->next : first) = &record;
    last = &record;
}

void Waitable::Unhang(WaitRecord& record) noexcept
{
    (record.previous ? record.previous->next : first) = record.next;
    (record.next ? record.next->previous : last) = record.previous;
}

} // namespace Platform

#include "platform/linux/named/named_mutex.h"

#include "platform/kernel.h"
#include "platform/linux/named/shared_futex.h"

#include <cerrno>
#include <linux/futex.h>
#include <utility>

namespace Platform {

namespace {

constexpr std::uint32_t ABANDONED = 1;
constexpr std::uint32_t SLEEPERS = 2;

constexpr bool HasOwner(std::uint32_t lockWord)
{
    return (lockWord & FUTEX_TID_MASK) != 0;
}

} // namespace

// The kernel finds the owner's number here when a process dies, so the C library cannot keep it anywhere
// else.
std::atomic<std::uint32_t>& NamedMutex::LockWord() const noexcept
{
    static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(shared->mutex.__data.__lock));
    return reinterpret_cast<std::atomic<std::uint32_t>&>(shared->mutex.__data.__lock);
}

bool NamedMutex::CountOwnership(Waiter& waiter) noexcept
{
    Count(waiter);
    return std::exchange(abandoned, false);
}

bool NamedMutex::Release(Waiter& waiter) noexcept
{
    if (owner.load(std::memory_order_relaxed) != &waiter)
        return false;
    if (CountDown(waiter))
        GiveOn();
    return true;
}

// Told in the word, so that the thread's end can be followed by that of the mapping: the kernel's own way
// would need the mapping until the thread is gone.
void NamedMutex::Abandon(Waiter& waiter) noexcept
{
    Forget(waiter);
    shared->word.fetch_or(ABANDONED, std::memory_order_relaxed);
    GiveOn();
}

void NamedMutex::BeginOwned(Waiter& waiter) noexcept
{
    owner.store(&waiter, std::memory_order_relaxed);
    Count(waiter);
}

// Rule 8. The fence, for the library's unlock is a release only: either this sees SLEEPERS, or the sleeper
// sees that there is no owner.
void NamedMutex::GiveOn() noexcept
{
    owner.store(nullptr, std::memory_order_relaxed);
    shared->processor.store(GetCurrentProcessorNumber(), std::memory_order_relaxed);
    ::pthread_mutex_unlock(&shared->mutex);
    if ((shared->word.fetch_or(0, std::memory_order_seq_cst) & SLEEPERS) != 0) {
        shared->word.fetch_and(~SLEEPERS, std::memory_order_seq_cst);
        WakeAllShared(LockWord());
    }
    DropReferences(1);
}

bool NamedMutex::IsReady(const Waiter& waiter, const NamedLook&) const noexcept
{
    return owner.load(std::memory_order_relaxed) == &waiter
        || !HasOwner(LockWord().load(std::memory_order_relaxed));
}

bool NamedMutex::Take(Waiter& waiter, const NamedLook& look) noexcept
{
    if (owner.load(std::memory_order_relaxed) == &waiter)
        return true;
    const int result = ::pthread_mutex_trylock(&shared->mutex);
    if (result != 0 && result != EOWNERDEAD)
        return false;
    if (result == EOWNERDEAD)
        ::pthread_mutex_consistent(&shared->mutex);
    owner.store(&waiter, std::memory_order_relaxed);
    const std::uint32_t word = shared->word.load(std::memory_order_relaxed);
    abandoned = result == EOWNERDEAD || (word & ABANDONED) != 0; // rule 6
    if ((word & ABANDONED) != 0)
        shared->word.fetch_and(~ABANDONED, std::memory_order_relaxed);
    if (look.hasSlept) { // rule 9
        shared->word.fetch_or(SLEEPERS, std::memory_order_relaxed);
        LockWord().fetch_or(FUTEX_WAITERS, std::memory_order_relaxed);
    }
    return true;
}

// Rule 7.
std::atomic<std::uint32_t>* NamedMutex::SleepOn(NamedLook& look) noexcept
{
    shared->word.fetch_or(SLEEPERS, std::memory_order_seq_cst);
    std::uint32_t present = LockWord().load(std::memory_order_seq_cst);
    do {
        if (!HasOwner(present))
            return nullptr;
    } while ((present & FUTEX_WAITERS) == 0
        && !LockWord().compare_exchange_weak(present, present | FUTEX_WAITERS, std::memory_order_seq_cst));
    look = {present | FUTEX_WAITERS, true};
    return &LockWord();
}

// Rule 10.
void NamedMutex::Leave(const NamedLook& look) noexcept
{
    if (look.hasSlept && !HasOwner(LockWord().load(std::memory_order_seq_cst)))
        WakeAllShared(LockWord());
}

} // namespace Platform

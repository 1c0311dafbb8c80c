// Comments name the invariants of waitable.h.
#include "platform/linux/waits/wait.h"

#include "platform/kernel.h"
#include "platform/linux/named/sleep_on_words.h"
#include "platform/linux/pause.h"
#include "platform/linux/suspension.h"

#include <algorithm>

namespace Platform {

namespace {
// A thread for which spinning was in vain does it in full once in so many waits, to see whether that is over.
constexpr std::uint32_t spinProbe = 32;
} // namespace

std::uint32_t Wait::Run(std::uint32_t milliseconds) noexcept
{
    const Deadline deadline = milliseconds == 0 ? Deadline{0} : Deadline::After(milliseconds);
    state.store(ENTER, std::memory_order_relaxed); // no record hangs yet
    std::uint32_t index = Look(milliseconds == 0 ? IDLE : OPEN);
    while (index == nothing && milliseconds != 0) {
        index = Sleep(deadline);
        if (index != lookAgain)
            break;
        index = Look(OPEN);
    }
    for (std::uint32_t i = 0; i < hung; ++i)
        if (i != index) // who has claimed took that one off
            TakeOff(i);
    // Relaxed: nobody can reach this waiter any more.
    state.store(IDLE, std::memory_order_relaxed);
    return index;
}

// Keeps (6). Takes the lowest object that is signalled; or hangs a record on each, and goes on to `after`.
std::uint32_t Wait::Look(WaiterState after) noexcept
{
    for (;;) {
        std::uint32_t index = 0;
        while (index < objects.Count() && objects.Find(index) && PassBy(index))
            ++index;
        std::uint32_t entered = ENTER;
        if (index == objects.Count()) {
            if (state.compare_exchange_strong(entered, after, std::memory_order_acq_rel))
                return nothing;
        } else if (!objects.Find(index)) {
            state.exchange(IDLE, std::memory_order_acq_rel); // a signal stays with its object
            return failed;
        } else if (state.load(std::memory_order_relaxed) == CLAIMED + index) {
            return index;
        }
        // An object below was signalled meanwhile, so it counts as first; or a take has failed.
        state.exchange(ENTER, std::memory_order_acq_rel);
    }
}

bool Wait::PassBy(std::uint32_t index) noexcept
{
    return IsNamed(objects[index].kind) ? PassByNamed(index) : PassByLocal(index);
}

// True if the object is not signalled, with a record hung on it. Otherwise it is taken, or another one that
// hangs has been signalled: `state` tells.
bool Wait::PassByLocal(std::uint32_t index) noexcept
{
    Waitable& object = Local(index);
    std::uint32_t flags = object.Lock();
    const bool isReady = object.IsReadyFor(waiter, flags);
    std::uint32_t entered = ENTER;
    if (isReady && state.compare_exchange_strong(entered, CLAIMED + index, std::memory_order_acq_rel)) {
        flags = object.Take(waiter, flags);
        if (index < hung)
            object.Unhang(records[index]);
    } else if (!isReady && index == hung) {
        records[index].waiter = &waiter;
        records[index].index = index;
        object.Hang(records[index]);
        ++hung;
    }
    object.Unlock(flags);
    return !isReady;
}

// The same for a named one, of which there is no record.
bool Wait::PassByNamed(std::uint32_t index) noexcept
{
    if (index == hung)
        looks[hung++] = Named(index).Begin();
    if (!Named(index).IsReady(waiter, looks[index]))
        return true;
    std::uint32_t entered = ENTER;
    if (state.compare_exchange_strong(entered, CLAIMED + index, std::memory_order_acq_rel)
        && !TakeNamed(index))
        state.exchange(ENTER, std::memory_order_acq_rel);
    return false;
}

// The named members below are looked at once more. That is as exact as it gets between processes: a set that
// happened before another one is seen before it.
bool Wait::TakeNamed(std::uint32_t index) noexcept
{
    return !IsAnyNamedReady(index) && Named(index).Take(waiter, looks[index]);
}

bool Wait::IsAnyNamedReady(std::uint32_t end) const noexcept
{
    for (std::uint32_t i = 0; i < end && objects.HaveNamed(); ++i)
        if (IsNamed(objects[i].kind) && Named(i).IsReady(waiter, looks[i]))
            return true;
    return false;
}

// The index of the object that was claimed for this wait, or `result` if nobody has, and then the state is
// `to`.
std::uint32_t Wait::ClaimedOr(WaiterState from, WaiterState to, std::uint32_t result) noexcept
{
    std::uint32_t expected = from;
    if (state.compare_exchange_strong(expected, to, std::memory_order_acq_rel, std::memory_order_acquire))
        return result;
    return expected - CLAIMED;
}

// From OPEN to a claim, the end of the time, or, with named members, another look.
std::uint32_t Wait::Sleep(Deadline deadline) noexcept
{
    if (Spin())
        return ClaimedOr(OPEN, ENTER, lookAgain); // by one of the two
    SleepingWords words;
    if (!objects.AreAllNamed())
        words.AddOwn(state, ASLEEP);
    for (std::uint32_t i = 0; i < objects.Count() && objects.HaveNamed(); ++i) {
        if (!IsNamed(objects[i].kind))
            continue;
        const std::atomic<std::uint32_t>* const word = Named(i).SleepOn(looks[i]);
        if (!word)
            return ClaimedOr(OPEN, ENTER, lookAgain);
        words.AddShared(*word, looks[i].word, Named(i).NeedsLooks());
    }
    const std::uint32_t claimed = ClaimedOr(OPEN, ASLEEP, nothing);
    if (claimed != nothing)
        return claimed;

    const Asleep sleeping;
    bool isInTime = true;
    if (objects.HaveNamed())
        isInTime = words.Sleep(deadline, slice);
    else
        while (isInTime && state.load(std::memory_order_acquire) == ASLEEP)
            isInTime = FutexWait(state, ASLEEP, deadline);
    // A claim beats the end of the time.
    return isInTime ? ClaimedOr(ASLEEP, ENTER, lookAgain) : ClaimedOr(ASLEEP, IDLE, nothing);
}

// True once it is claimed, or a named member is ready. Success gives the full time next time, a failure a
// quarter less.
bool Wait::Spin() noexcept
{
    if (!MaySpin())
        return false;
    const std::int64_t end = Deadline::Now() + (waiter.spin == 0 ? Waiter::fullSpin : waiter.spin);
    do {
        for (int i = 0; i < 8; ++i) {
            if (state.load(std::memory_order_acquire) != OPEN || IsAnyNamedReady(objects.Count())) {
                waiter.spin = Waiter::fullSpin;
                return true;
            }
            Pause();
        }
    } while (Deadline::Now() < end);
    waiter.spin -= std::min(waiter.spin, Waiter::fullSpin / 4);
    return false;
}

// Whoever signals from this very processor cannot do so while it spins.
bool Wait::MaySpin() noexcept
{
    const std::uint32_t here = GetCurrentProcessorNumber();
    if (!objects.HaveNamed() && waiter.claimersProcessor.load(std::memory_order_relaxed) == here)
        return false;
    for (std::uint32_t i = 0; i < objects.Count() && objects.HaveNamed(); ++i)
        if (IsNamed(objects[i].kind) && Named(i).SignallersProcessor() == here)
            return false;
    return waiter.spin != 0 || ++waiter.waits % spinProbe == 0;
}

void Wait::TakeOff(std::uint32_t index) noexcept
{
    if (IsNamed(objects[index].kind)) {
        Named(index).Leave(looks[index]);
        return;
    }
    const std::uint32_t flags = Local(index).Lock();
    Local(index).Unhang(records[index]);
    Local(index).Unlock(flags);
}

} // namespace Platform

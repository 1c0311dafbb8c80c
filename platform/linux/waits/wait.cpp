// The wait. Comments name the invariants of waitable.h.
#include "platform/waits.h"

#include "platform/errors.h"
#include "platform/linux/futex.h"
#include "platform/linux/handles/handle_table.h"
#include "platform/linux/messages/thread_queue.h"
#include "platform/linux/pause.h"
#include "platform/linux/suspension.h"
#include "platform/linux/waits/mutex.h"

#include <algorithm>

namespace Platform {

namespace {

constexpr std::uint32_t nothing = UINT32_MAX; // no index

// A thread for which spinning was in vain does it in full once in so many waits, to see whether that is over.
constexpr std::uint32_t spinProbe = 32;

// The objects of a wait with a count each, for they live as long as the wait does.
class Objects {
public:
    Objects() noexcept = default;
    Objects(const Objects&) = delete;
    Objects& operator=(const Objects&) = delete;
    ~Objects()
    {
        for (std::uint32_t i = 0; i < count; ++i)
            held[i]->DropReferences(1);
    }

    // False with the last error.
    bool Add(Handle handle) noexcept
    {
        ObjectRef<CountedObject> found = FindObject(handle, &IsWaitable, SYNCHRONIZE);
        if (!found)
            return false;
        held[count++] = static_cast<Waitable*>(found.Detach());
        return true;
    }

    void Add(Waitable& object) noexcept
    {
        object.AddReferences(1);
        held[count++] = &object;
    }

    static bool IsWaitable(ObjectKind kind) noexcept
    {
        return kind == ObjectKind::Event || kind == ObjectKind::Mutex || kind == ObjectKind::Thread;
    }

    std::uint32_t count = 0;
    Waitable* held[MAXIMUM_WAIT_OBJECTS]; // NOLINT: filled as far as `count`
};

class Wait {
public:
    Wait(Waiter& itsWaiter, Waitable* const* itsObjects, std::uint32_t itsCount) noexcept
        : waiter(itsWaiter), state(itsWaiter.state), objects(itsObjects), count(itsCount)
    {
    }

    // The index of the object that was taken, or nothing if the time is up.
    std::uint32_t Run(std::uint32_t milliseconds) noexcept
    {
        const Deadline deadline = milliseconds == 0 ? Deadline{0} : Deadline::After(milliseconds);
        std::uint32_t index = LookAndHang(milliseconds == 0 ? IDLE : OPEN);
        if (index == nothing && milliseconds != 0)
            index = SleepUntilClaimed(deadline);
        for (std::uint32_t i = 0; i < hung; ++i)
            if (i != index) // who has claimed took that one off
                TakeOff(i);
        // Relaxed: nobody can reach this waiter any more.
        state.store(IDLE, std::memory_order_relaxed);
        return index;
    }

private:
    // Keeps (6). Takes the lowest object that is signalled; or hangs a record on each, and goes on to
    // `after`.
    std::uint32_t LookAndHang(WaiterState after) noexcept
    {
        state.store(ENTER, std::memory_order_relaxed); // no record hangs yet
        for (;;) {
            std::uint32_t index = 0;
            while (index < count && PassBy(index))
                ++index;
            std::uint32_t entered = ENTER;
            if (index < count ? state.load(std::memory_order_relaxed) == CLAIMED + index
                              : state.compare_exchange_strong(entered, after, std::memory_order_acq_rel))
                return index < count ? index : nothing;
            // An object below was signalled meanwhile, so it counts as first.
            state.exchange(ENTER, std::memory_order_acq_rel);
        }
    }

    // True if the object is not signalled, with a record hung on it. Otherwise it is taken, or another one
    // that hangs has been signalled: `state` tells.
    bool PassBy(std::uint32_t index) noexcept
    {
        Waitable& object = *objects[index];
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

    std::uint32_t SleepUntilClaimed(Deadline deadline) noexcept
    {
        std::uint32_t expected = OPEN;
        if (!Spin()
            && state.compare_exchange_strong(
                expected, ASLEEP, std::memory_order_acq_rel, std::memory_order_acquire)) {
            const Asleep sleeping;
            while (state.load(std::memory_order_acquire) == ASLEEP) {
                expected = ASLEEP;
                // A claim beats the end of the time.
                if (!FutexWait(state, ASLEEP, deadline)
                    && state.compare_exchange_strong(
                        expected, IDLE, std::memory_order_acq_rel, std::memory_order_acquire))
                    return nothing;
            }
        }
        return state.load(std::memory_order_acquire) - CLAIMED;
    }

    // True once claimed. Success gives the full time next time, a failure a quarter less. Whoever claims from
    // this very processor cannot do so while it spins.
    bool Spin() noexcept
    {
        if (waiter.claimersProcessor.load(std::memory_order_relaxed) == GetCurrentProcessorNumber())
            return false;
        const bool probes = waiter.spin == 0 && ++waiter.waits % spinProbe == 0;
        if (waiter.spin == 0 && !probes)
            return false;
        const std::int64_t end = Deadline::Now() + (probes ? Waiter::fullSpin : waiter.spin);
        do {
            for (int i = 0; i < 8; ++i) {
                if (state.load(std::memory_order_acquire) != OPEN) {
                    waiter.spin = Waiter::fullSpin;
                    return true;
                }
                Pause();
            }
        } while (Deadline::Now() < end);
        waiter.spin -= std::min(waiter.spin, Waiter::fullSpin / 4);
        return false;
    }

    void TakeOff(std::uint32_t index) noexcept
    {
        Waitable& object = *objects[index];
        const std::uint32_t flags = object.Lock();
        object.Unhang(records[index]);
        object.Unlock(flags);
    }

    Waiter& waiter;
    std::atomic<std::uint32_t>& state;
    Waitable* const* const objects;
    const std::uint32_t count;
    std::uint32_t hung = 0; // records 0 to hung - 1 hang on their objects
    WaitRecord records[MAXIMUM_WAIT_OBJECTS]; // NOLINT: filled as far as `hung`
};

// What the wait gives for the object, once the thread has it.
std::uint32_t ResultFor(std::uint32_t index, Waitable& object, Waiter& waiter) noexcept
{
    if (object.taking != Waitable::Taking::Ownership)
        return WAIT_OBJECT_0 + index;
    return (static_cast<Mutex&>(object).CountOwnership(waiter) ? WAIT_ABANDONED_0 : WAIT_OBJECT_0) + index;
}

std::uint32_t FailedWait(std::uint32_t code) noexcept
{
    SetLastError(code);
    return WAIT_FAILED;
}

// The wait for handles and, behind them, for the messages of the thread, if it wants them.
std::uint32_t WaitFor(
    std::uint32_t count, const Handle* handles, ThreadQueue* queue, std::uint32_t milliseconds) noexcept
{
    const Inside inside;
    if (count + (queue ? 1 : 0) > MAXIMUM_WAIT_OBJECTS)
        return FailedWait(ERROR_INVALID_PARAMETER);
    Waiter* const waiter = CurrentWaiter();
    Objects objects;
    if (!waiter || (count > 0 && !objects.Add(handles[0])))
        return WAIT_FAILED;
    // The rest need not be counted if the first one is there; but they have to be good.
    for (std::uint32_t i = 1; i < count; ++i)
        if (!CheckHandle(handles[i], &Objects::IsWaitable, SYNCHRONIZE))
            return WAIT_FAILED;
    if (count > 0 && objects.held[0]->TakeQuickly(*waiter))
        return ResultFor(0, *objects.held[0], *waiter);
    if (count == 1 && !queue && milliseconds == 0 && !objects.held[0]->IsSignalled())
        return WAIT_TIMEOUT;
    for (std::uint32_t i = 1; i < count; ++i)
        if (!objects.Add(handles[i]))
            return WAIT_FAILED;
    if (queue)
        objects.Add(*queue);

    const std::uint32_t index = Wait(*waiter, objects.held, objects.count).Run(milliseconds);
    return index == nothing ? WAIT_TIMEOUT : ResultFor(index, *objects.held[index], *waiter);
}

} // namespace

std::uint32_t WaitForMultipleObjects(
    std::uint32_t count, const Handle* handles, std::uint32_t milliseconds) noexcept
{
    return count == 0 ? FailedWait(ERROR_INVALID_PARAMETER) : WaitFor(count, handles, nullptr, milliseconds);
}

std::uint32_t MsgWaitForMultipleObjectsEx(std::uint32_t count, const Handle* handles,
    std::uint32_t milliseconds, std::uint32_t, std::uint32_t) noexcept
{
    const Inside inside;
    ThreadQueue* const queue = ThreadQueue::Current();
    return queue ? WaitFor(count, handles, queue, milliseconds) : WAIT_FAILED;
}

std::uint32_t WaitForSingleObject(Handle handle, std::uint32_t milliseconds) noexcept
{
    return WaitForMultipleObjects(1, &handle, milliseconds);
}

} // namespace Platform

// An object of this process that threads wait for: a word, and the list of the waits that hang on it.
#pragma once

#include "platform/linux/handles/counted_object.h"
#include "platform/linux/waits/waiter.h"

#include <atomic>
#include <cstdint>

namespace Platform {

class Waitable;

// One wait on one object, on the stack of the thread that waits. (No initial values: a wait has 64 of them.)
struct WaitRecord {
    WaitRecord* previous;
    WaitRecord* next;
    Waiter* waiter;
    std::uint32_t index; // of the object in the wait
};

// Invariants:
//
// 1. A record is reached only under its object's lock. Who holds that may read every record of the list and
//    its waiter, for a waiter takes each lock once more, to unhang, before it returns.
// 2. After a claim the claimer touches neither record nor waiter: it has read `previous` and `next` before.
//    So a waiter need not lock the object that claimed it.
// 3. Behind the unlock only the address of the waiter's state is used, for the wake. Waiters are never freed.
// 4. No two of these locks are ever held at once. So there is no order to keep, and an object may stand in a
//    wait twice.
// 5. Only the waiter itself makes ENTER to CLAIMED, only others OPEN or ASLEEP to CLAIMED. One such step is
//    one signal taken.
// 6. When ENTER becomes CLAIMED + i under the lock of object i, the wait hangs on the objects below i, and
//    they were not signalled when it looked and have not been signalled since, or it would be DIRTY. So the
//    lowest index wins exactly. When ENTER becomes OPEN, none is signalled.
// 7. SIGNALLED of an object that keeps its signal becomes visible with the unlock, behind the walk over the
//    list. Visible earlier, a wait that hangs already could still take a higher index.
// 8. LOCK and WAITERS clear: nobody hangs here, so to signal, to unsignal and to take is one step on the
//    word. To signal what is signalled is one too, for it has to publish what the signaller wrote.
class Waitable : public CountedObject {
public:
    // What a wait takes from the object with its signal.
    enum class Taking : std::uint8_t { Nothing, Signal, Ownership };

    // Releases waits, or leaves the signal: all waits or one, as the object is taken.
    void Signal() noexcept
    {
        std::uint32_t seen = word.load(std::memory_order_relaxed);
        while (!(seen & (LOCK | WAITERS))) // keeps (8)
            if (word.compare_exchange_weak(seen, seen | SIGNALLED, std::memory_order_release))
                return;
        SignalWaiters();
    }
    void Unsignal() noexcept;

    // Takes the object if it is signalled and nobody hangs on it; false says nothing.
    bool TakeQuickly(Waiter& waiter) noexcept
    {
        std::uint32_t seen = word.load(std::memory_order_acquire);
        if (taking == Taking::Nothing)
            return seen & SIGNALLED;
        while ((seen & (LOCK | WAITERS | SIGNALLED)) == SIGNALLED) // keeps (8)
            if (word.compare_exchange_weak(
                    seen, seen & ~SIGNALLED, std::memory_order_acquire, std::memory_order_relaxed)) {
                if (taking == Taking::Ownership)
                    owner.store(&waiter, std::memory_order_relaxed);
                return true;
            }
        return owner.load(std::memory_order_relaxed) == &waiter;
    }

    bool IsSignalled() const noexcept { return word.load(std::memory_order_acquire) & SIGNALLED; }

    // ---- The steps of a wait (wait.cpp). Lock gives the flags, Unlock sets them.
    std::uint32_t Lock() noexcept;
    void Unlock(std::uint32_t flags) noexcept;
    // The others under the lock.
    bool IsReadyFor(const Waiter& waiter, std::uint32_t flags) const noexcept
    {
        return (flags & SIGNALLED) != 0 || owner.load(std::memory_order_relaxed) == &waiter;
    }
    std::uint32_t Take(Waiter& waiter, std::uint32_t flags) noexcept;
    void Hang(WaitRecord& record) noexcept;
    void Unhang(WaitRecord& record) noexcept;

    const Taking taking;

protected:
    Waitable(ObjectKind objectKind, Taking isTaken, bool signalled) noexcept
        : CountedObject(objectKind), taking(isTaken), word(signalled ? SIGNALLED : 0)
    {
    }

    // The thread that owns a mutex; null, and stays so, for all others. Written by who gives the object and
    // by who takes it, and read by others only to see that it is not them.
    std::atomic<Waiter*> owner{nullptr};

private:
    static constexpr std::uint32_t LOCK = 1; // guards the list; its holder changes all but CONTENDED
    static constexpr std::uint32_t CONTENDED = 2; // somebody sleeps on LOCK
    static constexpr std::uint32_t WAITERS = 4; // the list is not empty
    static constexpr std::uint32_t SIGNALLED = 8; // of a mutex: it is free

    class Wakes;

    void SignalWaiters() noexcept;
    void LockAsleep() noexcept;

    std::atomic<std::uint32_t> word;
    WaitRecord* first = nullptr;
    WaitRecord* last = nullptr;
};

} // namespace Platform

// What the waits know of a thread.
#pragma once

#include <atomic>
#include <cstdint>

namespace Platform {

class Ownership;
class ThreadObject;
class ThreadQueue;

// Where a thread stands in its wait; `state` is also the word on which it sleeps.
//
//   value      meaning                                              who leaves it, to what
//   IDLE       not waiting                                          self: ENTER
//   ENTER      looking and hanging up; nobody may claim it          self: CLAIMED + i (takes a signal), OPEN,
//                                                                   IDLE (only looks); others: DIRTY
//   DIRTY      what it hangs on was signalled since ENTER           self: ENTER, and looks again from 0
//   OPEN       hangs everywhere, nothing was signalled, spins       others: CLAIMED + i; self: ASLEEP
//   ASLEEP     in the kernel or on its way there                    others: CLAIMED + i, and owe it a wake;
//                                                                   self: IDLE (time is up)
//   CLAIMED+i  object i has satisfied it                            self: IDLE
enum WaiterState : std::uint32_t { IDLE, ENTER, DIRTY, OPEN, ASLEEP, CLAIMED = 0x100 };

// One for each thread that has waited; on lines of its own. Never freed, only used again by another thread,
// so that a wake which comes late finds a word and at worst wakes somebody for nothing.
struct alignas(64) Waiter {
    std::atomic<std::uint32_t> state{IDLE};
    // The processor of who claimed it last; from there a wait gets nothing while it spins.
    std::atomic<std::uint32_t> claimersProcessor{UINT32_MAX};

    // Longer than it takes to wake a thread: with less, two threads that answer each other and once fell
    // asleep never find back to spinning.
    static constexpr std::uint32_t fullSpin = 10'000; // nanoseconds

    // The thread's own.
    std::uint32_t spin = fullSpin;
    std::uint32_t waits = 0; // without spinning, since the last one that did
    Ownership* held = nullptr; // the mutexes that it owns, each counted once
    ThreadObject* thread = nullptr; // counted, if anybody has asked for it
    ThreadQueue* queue = nullptr; // counted, if it has asked for messages

    Waiter* nextFree = nullptr; // guarded by the pool
};

// The calling thread's; null until it waits for the first time, and behind its end.
[[gnu::tls_model("initial-exec")]] extern constinit thread_local Waiter* currentWaiter;
Waiter* MakeCurrentWaiter() noexcept;

// The calling thread's, given back when it ends; null with ERROR_NOT_ENOUGH_MEMORY.
inline Waiter* CurrentWaiter() noexcept
{
    return currentWaiter ? currentWaiter : MakeCurrentWaiter();
}

// For a thread that is about to start: one made beforehand, null as above; and its installation there. False
// says that nobody will call EndThread: the thread does so itself.
Waiter* NewWaiter() noexcept;
bool InstallWaiter(Waiter& waiter) noexcept;
void GiveWaiterBack(Waiter& waiter) noexcept;
void EndThread(void* waiter) noexcept;

} // namespace Platform

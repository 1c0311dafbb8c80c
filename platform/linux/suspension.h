// Stopping a thread where it can be stopped: outside of this layer.
#pragma once

#include <atomic>
#include <cstdint>
#include <sys/types.h>

namespace Platform {

// What is known of the stops of one thread. Others raise and lower `count`; the thread itself stands still
// while it is not 0.
//
// 1. `count` holds a number of the stop (high 24 bits), new at each step from 0, and how often it is
//    suspended (low 8 bits).
// 2. `standing` is the number of the last stop at which the thread stood. A plain flag would not do: what is
//    left of the last stop would be taken for the new one.
// 3. While `asleep` the thread is in the kernel for a wait and looks at `count` before it does anything
//    else. Both are sequentially consistent: either the one who suspends sees that it has left its sleep, or
//    the thread sees that it is suspended.
struct Suspension {
    std::atomic<std::uint32_t> count{0};
    std::atomic<std::uint32_t> standing{0};
    std::atomic<bool> asleep{false};
    std::atomic<bool> ended{false};
    std::atomic<pid_t> thread{0}; // for the kernel

    // Makes this the suspension of the calling thread, until it ends.
    void Begin() noexcept;
    void End() noexcept;

    // As SuspendThread and ResumeThread, of the thread to which this belongs.
    std::uint32_t Suspend() noexcept;
    std::uint32_t Resume() noexcept;
};

// While one exists the calling thread is not stopped: a stop that falls due waits for the end of the last
// one. Entered by every operation that takes a lock of this layer.
class Inside {
public:
    Inside() noexcept
    {
        depth.store(depth.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    ~Inside()
    {
        std::atomic_signal_fence(std::memory_order_seq_cst);
        const std::uint32_t left = depth.load(std::memory_order_relaxed) - 1;
        depth.store(left, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if (left == 0 && due.load(std::memory_order_relaxed)) [[unlikely]]
            StandStill();
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

private:
    friend struct Suspension;
    friend class Asleep;
    static void StandStill() noexcept;
    static void Handle(int signal) noexcept;

    // The thread's own and its signal handler's, so neither needs more than a load and a store.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local std::atomic<std::uint32_t> depth;
    [[gnu::tls_model("initial-exec")]] static constinit thread_local std::atomic<bool> due;
    [[gnu::tls_model("initial-exec")]] static constinit thread_local std::atomic<Suspension*> own;
};

// The scope of a sleep in the kernel in which no lock is held: for who suspends it the thread stands already.
class Asleep {
public:
    Asleep() noexcept;
    ~Asleep();
    Asleep(const Asleep&) = delete;
    Asleep& operator=(const Asleep&) = delete;
};

} // namespace Platform

#include "platform/linux/suspension.h"

#include "platform/errors.h"
#include "platform/linux/futex.h"
#include "platform/threads.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <sys/syscall.h>
#include <unistd.h>

namespace Platform {

constinit thread_local std::atomic<std::uint32_t> Inside::depth{0};
constinit thread_local std::atomic<bool> Inside::due{false};
constinit thread_local std::atomic<Suspension*> Inside::own{nullptr};

namespace {

constexpr std::uint32_t countMask = 0xFF;
constexpr std::uint32_t stopStep = countMask + 1;
constexpr std::int64_t patience = 1'000'000'000; // nanoseconds

// The real-time signal that nobody in the process has claimed before its first use; 0 if there is none.
int TakeSignal(void (*handler)(int)) noexcept
{
    for (int number = SIGRTMAX; number >= SIGRTMIN; --number) {
        struct sigaction action;
        if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler != SIG_DFL)
            continue;
        action = {};
        action.sa_handler = handler;
        action.sa_flags = SA_RESTART | SA_ONSTACK;
        ::sigfillset(&action.sa_mask);
        if (::sigaction(number, &action, nullptr) == 0)
            return number;
    }
    return 0;
}

void StandAt(Suspension& suspension) noexcept
{
    for (;;) {
        const std::uint32_t seen = suspension.count.load(std::memory_order_seq_cst);
        if ((seen & countMask) == 0)
            return;
        suspension.standing.store(seen / stopStep, std::memory_order_release);
        WakeByAddressAll(&suspension.standing);
        WaitOnAddress(&suspension.count, seen);
    }
}

} // namespace

// A signal between the first two lines and the third finds `depth` 0 and stands by itself.
void Inside::StandStill() noexcept
{
    due.store(false, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (Suspension* const suspension = own.load(std::memory_order_relaxed))
        StandAt(*suspension);
}

void Inside::Handle(int) noexcept
{
    const int kept = errno;
    if (depth.load(std::memory_order_relaxed) != 0)
        due.store(true, std::memory_order_relaxed);
    else
        StandStill();
    errno = kept;
}

void Suspension::Begin() noexcept
{
    Inside::own.store(this, std::memory_order_relaxed);
    // Who suspended it before this line has sent no signal; then `count` tells.
    thread.store(::gettid(), std::memory_order_seq_cst);
    StandAt(*this);
}

void Suspension::End() noexcept
{
    Inside::own.store(nullptr, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    ended.store(true, std::memory_order_seq_cst);
    if (count.load(std::memory_order_seq_cst) != 0) // somebody has suspended it, once at least
        WakeByAddressAll(&standing);
}

std::uint32_t Suspension::Suspend() noexcept
{
    static const int signal = TakeSignal(&Inside::Handle);
    std::uint32_t before = count.load(std::memory_order_relaxed);
    do {
        if (ended || (before & countMask) == MAXIMUM_SUSPEND_COUNT) {
            SetLastError(ended ? ERROR_ACCESS_DENIED : ERROR_SIGNAL_REFUSED);
            return SUSPEND_FAILED;
        }
    } while (!count.compare_exchange_weak(
        before, (before & countMask) == 0 ? before + stopStep + 1 : before + 1, std::memory_order_seq_cst));
    if (Inside::own.load(std::memory_order_relaxed) == this) {
        Inside::due.store(true, std::memory_order_relaxed); // on the way out
        return before & countMask;
    }

    const std::uint32_t stop = ((before & countMask) == 0 ? before + stopStep : before) / stopStep;
    const Deadline end{Deadline::Now() + patience};
    if ((before & countMask) == 0 && !asleep)
        ::syscall(SYS_tgkill, ::getpid(), thread.load(), signal);
    // Two threads that suspend each other both stand here.
    const Asleep sleeping;
    for (;;) {
        const std::uint32_t stood = standing.load(std::memory_order_acquire);
        const std::uint32_t present = count.load(std::memory_order_seq_cst);
        if (stood == stop || asleep || present / stopStep != stop || (present & countMask) == 0)
            return before & countMask;
        const bool inTime =
            FutexWait(standing, stood, {std::min(end.nanoseconds, Deadline::Now() + 1'000'000)});
        if (ended || (!inTime && Deadline::Now() >= end.nanoseconds)) {
            const bool gone = ended;
            Resume();
            SetLastError(gone ? ERROR_ACCESS_DENIED : ERROR_TIMEOUT);
            return SUSPEND_FAILED;
        }
    }
}

std::uint32_t Suspension::Resume() noexcept
{
    std::uint32_t before = count.load(std::memory_order_relaxed);
    do {
        if ((before & countMask) == 0)
            return 0;
    } while (!count.compare_exchange_weak(before, before - 1, std::memory_order_seq_cst));
    if ((before & countMask) == 1)
        WakeByAddressAll(&count);
    return before & countMask;
}

Asleep::Asleep() noexcept
{
    if (Suspension* const suspension = Inside::own.load(std::memory_order_relaxed))
        suspension->asleep.store(true, std::memory_order_seq_cst);
}

Asleep::~Asleep()
{
    Suspension* const suspension = Inside::own.load(std::memory_order_relaxed);
    if (!suspension)
        return;
    suspension->asleep.store(false, std::memory_order_seq_cst);
    if ((suspension->count.load(std::memory_order_seq_cst) & countMask) != 0)
        StandAt(*suspension);
}

} // namespace Platform

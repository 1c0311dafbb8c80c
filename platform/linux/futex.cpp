#include "platform/linux/futex.h"

#include "platform/kernel.h"

#include <cerrno>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Platform {

namespace {
constexpr std::int64_t second = 1'000'000'000;
}

std::int64_t Deadline::Now() noexcept
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * second + now.tv_nsec;
}

Deadline Deadline::After(std::uint32_t milliseconds) noexcept
{
    return {milliseconds == INFINITE ? never : Now() + std::int64_t{milliseconds} * 1'000'000};
}

bool FutexWait(const std::atomic<std::uint32_t>& word, std::uint32_t value, Deadline deadline) noexcept
{
    const timespec end{deadline.nanoseconds / second, deadline.nanoseconds % second};
    // FUTEX_WAIT_BITSET, for its time is absolute, and on the monotonic clock.
    const long result = ::syscall(SYS_futex, &word, FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG, value,
        deadline.nanoseconds == Deadline::never ? nullptr : &end, nullptr, FUTEX_BITSET_MATCH_ANY);
    return result == 0 || errno != ETIMEDOUT;
}

} // namespace Platform

// Between the platform's times (100 ns units since 1601, two halves) and the system's.
#pragma once

#include "platform/files.h"

#include <ctime>

namespace Platform {

// What lies between 1601 and 1970, in 100 ns units.
constexpr std::int64_t unixEpoch = 116'444'736'000'000'000;
constexpr std::int64_t unitsPerSecond = 10'000'000;

// Rounded down to 100 ns; 0 for what lies before 1601.
constexpr FILETIME ToFileTime(std::int64_t seconds, std::uint32_t nanoseconds) noexcept
{
    constexpr std::int64_t mostSeconds = (INT64_MAX - unixEpoch) / unitsPerSecond - 1;
    if (seconds < -unixEpoch / unitsPerSecond)
        return {0, 0};
    const std::int64_t kept = seconds < mostSeconds ? seconds : mostSeconds;
    const std::uint64_t units =
        static_cast<std::uint64_t>(kept * unitsPerSecond + nanoseconds / 100 + unixEpoch);
    return {static_cast<std::uint32_t>(units), static_cast<std::uint32_t>(units >> 32)};
}

// False for a time that is no positive number of 64 bits.
constexpr bool FromFileTime(const FILETIME& time, timespec& result) noexcept
{
    const std::int64_t units =
        static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
    if (units < 0)
        return false;
    std::int64_t seconds = (units - unixEpoch) / unitsPerSecond;
    std::int64_t rest = (units - unixEpoch) % unitsPerSecond;
    if (rest < 0) {
        rest += unitsPerSecond;
        --seconds;
    }
    result = {static_cast<time_t>(seconds), static_cast<long>(rest * 100)};
    return true;
}

} // namespace Platform

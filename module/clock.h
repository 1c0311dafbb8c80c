// The clock of LiveObjects::changed.
#pragma once

#include <chrono>
#include <cstdint>

inline std::uint64_t MillisecondsSinceBoot() noexcept
{
    using namespace std::chrono;
    return static_cast<std::uint64_t>(
        duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

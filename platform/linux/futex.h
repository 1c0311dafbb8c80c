// Sleeping on a word with an end, for threads of this process.
#pragma once

#include <atomic>
#include <cstdint>

namespace Platform {

// A point on the monotonic clock, in nanoseconds. Absolute, so that a wait that begins again after a false
// wake ends when it should have.
struct Deadline {
    std::int64_t nanoseconds;

    static constexpr std::int64_t never = INT64_MAX;

    static std::int64_t Now() noexcept;
    // INFINITE is never.
    static Deadline After(std::uint32_t milliseconds) noexcept;
};

// Sleeps while *word is `value`, until a wake by its address, a signal, or no reason at all; false once the
// deadline has passed. Callers loop.
bool FutexWait(const std::atomic<std::uint32_t>& word, std::uint32_t value, Deadline deadline) noexcept;

} // namespace Platform

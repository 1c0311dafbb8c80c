// Sleeping on several words at once: a thread's own, and those of named objects.
#pragma once

#include "platform/linux/futex.h"
#include "platform/waits.h"

#include <linux/futex.h>

namespace Platform {

class SleepingWords {
public:
    // Each with the value at which to sleep. Where `looks` is set, no sleep is longer than a second.
    void AddOwn(const std::atomic<std::uint32_t>& word, std::uint32_t value) noexcept;
    void AddShared(const std::atomic<std::uint32_t>& word, std::uint32_t value, bool looks) noexcept;

    // Sleeps until a word is no longer what it was, or for no reason; false once the deadline has passed.
    // Where the kernel has no such sleep, or the process may not use it, it sleeps on the first word in
    // slices, of which `slice` keeps the length from one call to the next.
    bool Sleep(Deadline deadline, std::int64_t& slice) const noexcept;

private:
    bool SleepOnOne(Deadline end) const noexcept;
    bool SleepOnAll(Deadline end, std::int64_t& slice) const noexcept;

    std::uint32_t count = 0;
    bool needsLooks = false;
    futex_waitv words[MAXIMUM_WAIT_OBJECTS + 1]; // NOLINT: filled as far as `count`
};

} // namespace Platform

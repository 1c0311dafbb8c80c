// Handle: an opaque number of 64 bits that a client stores beside its numbers and texts.
#pragma once

#include <cstdint>

// The system passes it on and never looks into it.
struct Handle {
    std::uint64_t value;

    friend bool operator==(Handle, Handle) noexcept = default;
};
static_assert(sizeof(Handle) == 8);

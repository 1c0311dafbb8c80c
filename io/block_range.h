// The sizes of blocks that a buffering filter gives out.
#pragma once

#include <algorithm>
#include <cstdint>

namespace Io {

struct BlockRange {
    std::uint32_t minimum = 1; // at least 1
    std::uint32_t maximum = 0xFFFFFFFF; // at least the minimum

    void Set(std::uint32_t wantedMinimum, std::uint32_t wantedMaximum) noexcept
    {
        minimum = std::max(wantedMinimum, 1U);
        maximum = std::max(wantedMaximum, minimum);
    }

    // Room for a block that is put together of smaller ones: all of it, unless that is much.
    std::uint32_t GetExpectedSize() const noexcept { return std::min(minimum, 1U << 20); }
};

} // namespace Io

// The checksum of the store's files. It tells a torn or damaged piece from a whole one; it is no defence
// against somebody who may write the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Platform::Registry {

constexpr std::uint64_t checksumStart = 0x9AE16A3B2F90404F;

// Goes on from the checksum of what came before, whose size was a multiple of 8.
inline std::uint64_t Checksum(std::uint64_t sum, const void* bytes, std::size_t size) noexcept
{
    constexpr std::uint64_t factor = 0xC3A5C85C97CB3127;
    const auto* next = static_cast<const char*>(bytes);
    const auto add = [&sum](std::uint64_t word) {
        sum = (sum ^ word) * factor;
        sum ^= sum >> 29;
    };
    std::uint64_t word = 0;
    for (std::size_t left = size; left >= sizeof word; left -= sizeof word, next += sizeof word) {
        std::memcpy(&word, next, sizeof word);
        add(word);
    }
    if (size % sizeof word != 0) {
        word = 0;
        std::memcpy(&word, next, size % sizeof word);
        add(word);
    }
    return sum;
}

} // namespace Platform::Registry

#include <tessel/base/hash.h>

#include <cstddef>
#include <cstring>

namespace {

// Number of 16-bit units in a word of four that stand before the first zero unit; 4 if there is none.
unsigned UnitsBeforeZero(std::uint64_t word) noexcept
{
    constexpr std::uint64_t low = 0x0001'0001'0001'0001;
    constexpr std::uint64_t high = 0x8000'8000'8000'8000;
    // The lowest marked unit is exact; marks above it may be false, and nobody looks at them.
    const std::uint64_t zeros = (word - low) & ~word & high;
    return zeros == 0 ? 4 : static_cast<unsigned>(__builtin_ctzll(zeros)) / 16;
}

// Adds up the four units of a word without losing a carry.
std::uint32_t SumOfUnits(std::uint64_t word) noexcept
{
    constexpr std::uint64_t even = 0x0000'FFFF'0000'FFFF;
    const std::uint64_t pairs = (word & even) + ((word >> 16) & even);
    return static_cast<std::uint32_t>(pairs) + static_cast<std::uint32_t>(pairs >> 32);
}

} // namespace

// Length and sum in one pass, a word of four units at a time. A word at an address that is a multiple of 8
// never reaches into another page than its first byte, so reading behind the terminator is safe; the
// sanitizer does not know that.
__attribute__((no_sanitize("address", "thread"))) std::uint32_t GetSimpleStringHash(
    const char16_t* text) noexcept
{
    std::uint32_t sum = 0;
    const char16_t* at = text;
    for (; reinterpret_cast<std::uintptr_t>(at) % 8 != 0; ++at) {
        if (*at == 0)
            return (sum << 16) + static_cast<std::uint32_t>(at - text);
        sum += *at;
    }
    for (;; at += 4) {
        std::uint64_t word;
        __builtin_memcpy(&word, __builtin_assume_aligned(at, 8), sizeof(word));
        const unsigned units = UnitsBeforeZero(word);
        if (units == 4) {
            sum += SumOfUnits(word);
            continue;
        }
        // In little endian order the units in front of the terminator are the low ones.
        sum += SumOfUnits(word & ((std::uint64_t{1} << (units * 16)) - 1));
        return (sum << 16) + static_cast<std::uint32_t>(at - text) + units;
    }
}

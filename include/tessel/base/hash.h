// The 32-bit hash of interface identifiers.
#pragma once

#include <tessel/export.h>

#include <cstdint>

// (sum of the 16-bit units << 16) + number of units, wrapping; the terminator counts in neither. The empty
// text hashes to 0. Cheap and weak: whoever compares hashes compares the texts afterwards.
TESSEL_API std::uint32_t GetSimpleStringHash(const char16_t* text) noexcept;

// The same at compile time, for identifiers that are literals.
consteval std::uint32_t HashOfLiteral(const char16_t* text)
{
    std::uint32_t sum = 0;
    std::uint32_t length = 0;
    for (; text[length] != 0; ++length)
        sum += text[length];
    return (sum << 16) + length;
}

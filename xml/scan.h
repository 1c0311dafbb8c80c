// Searches in a range of characters: each gives the first one of a kind, or the end.
#pragma once

#include "xml/characters.h"

#include <cstdint>
#include <cstring>

namespace Xml::Scan {

inline const char16_t* NoBlank(const char16_t* from, const char16_t* to) noexcept
{
    while (from != to && IsBlank(*from))
        ++from;
    return from;
}

inline const char16_t* NoNameCharacter(const char16_t* from, const char16_t* to) noexcept
{
    while (from != to && IsNameCharacter(*from))
        ++from;
    return from;
}

// Four characters at a time: the usual test for a zero in one of the parts of a word.
template <char16_t... sought>
const char16_t* FirstOf(const char16_t* from, const char16_t* to) noexcept
{
    constexpr std::uint64_t ones = 0x0001000100010001;
    constexpr std::uint64_t highs = 0x8000800080008000;
    constexpr auto zeros = [](std::uint64_t word) { return (word - ones) & ~word & highs; };
    while (to - from >= 4) {
        std::uint64_t word = 0;
        std::memcpy(&word, from, sizeof word);
        if ((zeros(word ^ (ones * sought)) | ...) != 0)
            break;
        from += 4;
    }
    while (from != to && ((*from != sought) && ...))
        ++from;
    return from;
}

} // namespace Xml::Scan

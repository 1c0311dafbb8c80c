// Searches in a range of characters: each gives the first one of a kind, or the end.
#pragma once

#include "xml/block.h"
#include "xml/characters.h"

#include <algorithm>

namespace Xml::Scan {

inline std::size_t CountBlocks(const char16_t* from, const char16_t* to) noexcept
{
    return static_cast<std::size_t>(to - from) / blockUnits;
}

// The first one that is among those sought.
template <char16_t... sought>
const char16_t* FirstOf(const char16_t* from, const char16_t* to) noexcept
{
    constexpr auto match = [](const char16_t* at) {
        const Block block = LoadBlock(at);
        return (IsEqual<sought>(block) | ...);
    };
    std::size_t left = CountBlocks(from, to);
    while (left >= 2 && !IsAnySet(match(from) | match(from + blockUnits))) {
        from += 2 * blockUnits;
        left -= 2;
    }
    for (; left != 0 && !IsAnySet(match(from)); --left)
        from += blockUnits;
    while (from != to && ((*from != sought) && ...))
        ++from;
    return from;
}

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

// Behind the last line feed before `from`, or `to` if there is none.
inline const char16_t* LineBegin(const char16_t* from, const char16_t* to) noexcept
{
    while (CountBlocks(to, from) != 0 && !IsAnySet(IsEqual<u'\n'>(LoadBlock(from - blockUnits))))
        from -= blockUnits;
    while (from != to && from[-1] != u'\n')
        --from;
    return from;
}

inline std::size_t CountLineFeeds(const char16_t* from, const char16_t* to) noexcept
{
    constexpr std::size_t mostBlocks = 0xFFFF; // what one place of a block can count
    std::size_t count = 0;
    while (std::size_t left = std::min(CountBlocks(from, to), mostBlocks)) {
        Block counts{};
        for (; left >= 2; left -= 2, from += 2 * blockUnits)
            counts -= IsEqual<u'\n'>(LoadBlock(from)) + IsEqual<u'\n'>(LoadBlock(from + blockUnits));
        for (; left != 0; --left, from += blockUnits)
            counts -= IsEqual<u'\n'>(LoadBlock(from));
        for (std::size_t i = 0; i < blockUnits; ++i)
            count += counts[i];
    }
    return count + static_cast<std::size_t>(std::count(from, to, u'\n'));
}

} // namespace Xml::Scan

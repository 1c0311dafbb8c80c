// Block: eight characters in one step, in the vector types that both compilers have for every processor.
// Comparing blocks gives all ones where it holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Xml {

constexpr std::size_t blockUnits = 8;
using Block [[gnu::vector_size(16)]] = std::uint16_t;
using NarrowBlock [[gnu::vector_size(8)]] = std::uint8_t;

template <class AnyBlock = Block>
AnyBlock LoadBlock(const void* from) noexcept
{
    AnyBlock block;
    std::memcpy(&block, from, sizeof block);
    return block;
}

template <class AnyBlock>
void StoreBlock(void* to, AnyBlock block) noexcept
{
    std::memcpy(to, &block, sizeof block);
}

inline std::uint64_t LoadWord(const char16_t* from) noexcept
{
    std::uint64_t word = 0;
    std::memcpy(&word, from, sizeof word);
    return word;
}

// For short texts of one length: whole words, the last of which overlaps the one before.
inline bool IsSame(const char16_t* left, const char16_t* right, std::size_t length) noexcept
{
    constexpr std::size_t wordUnits = 4;
    if (length < wordUnits) {
        std::size_t i = 0;
        while (i < length && left[i] == right[i])
            ++i;
        return i == length;
    }
    for (std::size_t i = 0; i + wordUnits < length; i += wordUnits)
        if (LoadWord(left + i) != LoadWord(right + i))
            return false;
    return LoadWord(left + length - wordUnits) == LoadWord(right + length - wordUnits);
}

inline Block Fill(std::uint16_t unit) noexcept
{
    return Block{unit, unit, unit, unit, unit, unit, unit, unit};
}

template <char16_t sought>
Block IsEqual(Block block) noexcept
{
    return reinterpret_cast<Block>(block == Fill(sought));
}

inline bool IsAnySet(Block block) noexcept
{
    using Halves [[gnu::vector_size(16)]] = std::uint64_t;
    const auto halves = reinterpret_cast<Halves>(block);
    return (halves[0] | halves[1]) != 0;
}

} // namespace Xml

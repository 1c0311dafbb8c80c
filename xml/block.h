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

template <char16_t sought>
Block IsEqual(Block block) noexcept
{
    return reinterpret_cast<Block>(block == sought);
}

inline bool IsAnySet(Block block) noexcept
{
    using Halves [[gnu::vector_size(16)]] = std::uint64_t;
    const auto halves = reinterpret_cast<Halves>(block);
    return (halves[0] | halves[1]) != 0;
}

} // namespace Xml

#include "io/room.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace Io {

namespace {

// A block of so many undefined bytes; null for want of memory.
Binary RawBlock(std::uint32_t capacity) noexcept
{
    Binary block;
    block.SetSize(capacity, false);
    return block;
}

// With room beyond `size`, if it can be had.
Binary GrownBlock(std::uint32_t size, std::uint64_t wanted) noexcept
{
    if (wanted > size && wanted <= largestBlock)
        if (Binary block = RawBlock(static_cast<std::uint32_t>(wanted)); !block.IsEmpty())
            return block;
    return RawBlock(size);
}

} // namespace

Binary NewBlock(std::uint32_t size)
{
    Binary block = RawBlock(size);
    if (block.GetSize() != size)
        throw std::bad_alloc();
    return block;
}

Binary CopyOf(const unsigned char* bytes, std::uint32_t count)
{
    Binary block(bytes, count);
    if (block.GetSize() != count)
        throw std::bad_alloc();
    return block;
}

void GrowTo(Binary& block, std::uint32_t size, std::uint32_t expected)
{
    const std::uint32_t oldSize = block.GetSize();
    size = std::max(size, oldSize);
    if (size <= block.GetCapacity() && !block.IsShared()) {
        block.SetSize(size, true);
        return;
    }
    const std::uint64_t wanted = size > oldSize ? std::uint64_t{oldSize} + oldSize / 2 : 0;
    Binary fresh = GrownBlock(size, std::max<std::uint64_t>(wanted, expected));
    if (fresh.GetCapacity() < size)
        throw std::bad_alloc();
    block.CopyTo(fresh.GetWritableData(), oldSize);
    fresh.SetSize(size, true);
    block = std::move(fresh);
}

void Append(Binary& block, const unsigned char* bytes, std::uint32_t count, std::uint32_t expected)
{
    const std::uint32_t size = block.GetSize();
    if (count > largestBlock - size)
        throw std::bad_alloc();
    if (count == 0)
        return;
    GrowTo(block, size + count, expected);
    std::memcpy(block.GetWritableData() + size, bytes, count);
}

} // namespace Io

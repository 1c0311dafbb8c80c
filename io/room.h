// Blocks that grow. A Binary grows in small steps, keeps what it has only as long as there is memory, and
// says nothing when there is none; whoever collects bytes piece by piece wants none of this.
#pragma once

#include <tessel/base/binary.h>

#include <cstdint>

namespace Io {

constexpr std::uint32_t largestBlock = 0xFFFFFE00; // bytes that a Binary can have

// A Binary of so many bytes, which are undefined. Throws std::bad_alloc.
Binary NewBlock(std::uint32_t size);
// A copy of so many bytes. Throws std::bad_alloc.
Binary CopyOf(const unsigned char* bytes, std::uint32_t count);

// Makes the block private and at least so many bytes long, in amortised linear time: where it has to grow, it
// gets room for half as much again, or for so many bytes as are expected. New bytes are undefined. Throws
// std::bad_alloc, and leaves the block alone.
void GrowTo(Binary& block, std::uint32_t size, std::uint32_t expected = 0);

// Adds bytes from elsewhere, likewise. Throws std::bad_alloc also beyond largestBlock.
void Append(Binary& block, const unsigned char* bytes, std::uint32_t count, std::uint32_t expected);

} // namespace Io

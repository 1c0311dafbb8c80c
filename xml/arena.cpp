#include "xml/arena.h"

#include "base/zeroing.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Xml {

struct alignas(16) Arena::Chunk {
    Chunk* older;
    std::size_t bytes; // behind this header

    std::byte* Begin() noexcept { return reinterpret_cast<std::byte*>(this + 1); }
};

// A small document is a small block; a large one wastes no more than a quarter.
void Arena::Grow(std::size_t bytes)
{
    constexpr std::size_t smallest = 1024;
    constexpr std::size_t usual = 65536;
    const std::size_t wanted = std::max(std::clamp(total, smallest, usual), total / 4) - sizeof(Chunk);
    const std::size_t size = std::max(wanted, bytes);
    newest = ::new (::operator new(sizeof(Chunk) + size)) Chunk{newest, size};
    at = newest->Begin();
    end = at + size;
    total += sizeof(Chunk) + size;
}

void Arena::Wipe() noexcept
{
    for (Chunk* chunk = newest; chunk != nullptr; chunk = chunk->older) {
        const bool inUse = chunk == newest;
        ZeroForever(chunk->Begin(), inUse ? static_cast<std::size_t>(at - chunk->Begin()) : chunk->bytes);
    }
}

Arena::~Arena()
{
    for (Chunk* chunk = newest; chunk != nullptr;)
        ::operator delete(std::exchange(chunk, chunk->older));
}

} // namespace Xml

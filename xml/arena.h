// Arena: memory that is taken piece by piece and freed as a whole. RecordPool: the same with reuse.
#pragma once

#include <array>
#include <cstddef>

namespace Xml {

class Arena {
public:
    Arena() noexcept = default;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;
    ~Arena();

    // Memory not yet initialised, aligned as far as the sizes of all pieces, and at most to 16.
    void* Take(std::size_t bytes)
    {
        void* const piece = Reserve(bytes);
        at += bytes;
        return piece;
    }
    // Where the next piece will be, if it is not larger.
    void* Reserve(std::size_t bytes)
    {
        if (bytes > static_cast<std::size_t>(end - at))
            Grow(bytes);
        return at;
    }
    // Zeroes all that was taken, for good.
    void Wipe() noexcept;

private:
    struct Chunk;

    void Grow(std::size_t bytes);

    std::byte* at = nullptr; // the free part of the newest chunk
    std::byte* end = nullptr;
    Chunk* newest = nullptr;
    std::size_t total = 0; // bytes of all chunks
};

// Pieces of few different sizes, in multiples of 8, each given back with the size that it was taken with.
class RecordPool {
public:
    static constexpr std::size_t largest = 1032;

    void* Take(std::size_t bytes)
    {
        Freed*& first = freed[bytes / 8];
        if (first == nullptr)
            return arena.Take(bytes);
        Freed* const piece = first;
        first = piece->next;
        return piece;
    }
    void GiveBack(void* piece, std::size_t bytes) noexcept
    {
        Freed*& first = freed[bytes / 8];
        first = ::new (piece) Freed{first};
    }

private:
    struct Freed {
        Freed* next;
    };

    Arena arena;
    std::array<Freed*, largest / 8 + 1> freed{};
};

} // namespace Xml

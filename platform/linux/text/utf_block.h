// What both directions of the vector conversions share: the short names of a few instructions, and how the
// last units of a text, fewer than a block, are loaded and stored without touching what lies beside them.
//
// All of it is for functions that are compiled for SSSE3 and called only where the processor has it.
#pragma once

#ifdef __x86_64__

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <tmmintrin.h>

namespace Platform::Utf::Vector {

constexpr std::ptrdiff_t blockBytes = 16;

using Shuffle = std::array<unsigned char, blockBytes>;

inline bool IsSupported() noexcept
{
    // Before the start-up code of the compiler's library has run both are 0, and all goes the slow way.
    return __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("popcnt");
}

inline __m128i Load(const void* source) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(source));
}
inline void Store(void* target, __m128i block) noexcept
{
    _mm_storeu_si128(static_cast<__m128i*>(target), block);
}

inline __m128i LoadTable(const Shuffle& table) noexcept
{
    return _mm_load_si128(reinterpret_cast<const __m128i*>(table.data()));
}

inline __m128i FillBytes(unsigned byte) noexcept
{
    return _mm_set1_epi8(static_cast<char>(byte));
}
inline __m128i FillChars(unsigned unit) noexcept
{
    return _mm_set1_epi16(static_cast<short>(unit));
}

inline unsigned Mask(__m128i bytes) noexcept
{
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}
inline bool IsAllZero(__m128i bits) noexcept
{
    return Mask(_mm_cmpeq_epi8(bits, _mm_setzero_si128())) == 0xFFFF;
}

inline __m128i Choose(__m128i mask, __m128i yes, __m128i no) noexcept
{
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

template <class Word>
Word LoadWord(const unsigned char* source) noexcept
{
    Word word{};
    std::memcpy(&word, source, sizeof(word));
    return word;
}

// Fewer than 16 bytes, with zeros behind them; at least 1. Two loads that overlap in the middle cover
// every length that is between their size and twice that.
inline __m128i LoadShort(const unsigned char* source, std::size_t bytes) noexcept
{
    if (bytes >= 8)
        return _mm_set_epi64x(static_cast<long long>(
                                  LoadWord<std::uint64_t>(source + bytes - 8) >> 1 >> (8 * (16 - bytes) - 1)),
            LoadWord<long long>(source));
    std::uint64_t word = 0;
    if (bytes >= 4)
        word = LoadWord<std::uint32_t>(source)
            | static_cast<std::uint64_t>(LoadWord<std::uint32_t>(source + bytes - 4)) << 8 * (bytes - 4);
    else if (bytes >= 2)
        word = LoadWord<std::uint16_t>(source)
            | static_cast<std::uint64_t>(LoadWord<std::uint16_t>(source + bytes - 2)) << 8 * (bytes - 2);
    else
        word = *source;
    return _mm_set_epi64x(0, static_cast<long long>(word));
}

// The same for the last bytes of a text, from `source` to its end. One load of the block that ends there
// does it wherever the text is long enough: its length costs no branch.
[[gnu::target("ssse3,popcnt")]] inline __m128i LoadLast(
    const unsigned char* start, const unsigned char* source, const unsigned char* end) noexcept
{
    static constexpr unsigned char slide[2 * blockBytes] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14,
        15, //
        0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80};
    const std::ptrdiff_t left = end - source;
    if (end - start < blockBytes)
        return LoadShort(source, static_cast<std::size_t>(left));
    return _mm_shuffle_epi8(Load(end - blockBytes), Load(slide + blockBytes - left));
}

// Where four blocks begin that cover a text of one to four blocks, whatever its length: at the start and at
// these places. They overlap. Units are those of the text; the last block is given.
struct FourBlocks {
    FourBlocks(std::ptrdiff_t lastBlock, std::ptrdiff_t block) noexcept
        : second(lastBlock < block ? lastBlock : block),
          third(lastBlock > block ? lastBlock - block : 0),
          last(lastBlock)
    {
    }
    std::ptrdiff_t second;
    std::ptrdiff_t third;
    std::ptrdiff_t last;
};

template <std::size_t piece>
bool CopyInTwo(unsigned char* target, const unsigned char* source, std::size_t bytes) noexcept
{
    if (bytes < piece)
        return false;
    unsigned char last[piece];
    std::memcpy(last, source + bytes - piece, piece);
    std::memcpy(target, source, piece);
    std::memcpy(target + bytes - piece, last, piece);
    return true;
}

// Up to 32 bytes, from a buffer of that size.
inline void StoreShort(void* target, const void* buffer, std::size_t count) noexcept
{
    constexpr std::size_t most = 32;
    const std::size_t bytes = count < most ? count : most; // it is, but no compiler can know
    auto* const to = static_cast<unsigned char*>(target);
    const auto* const from = static_cast<const unsigned char*>(buffer);
    if (!CopyInTwo<16>(to, from, bytes) && !CopyInTwo<8>(to, from, bytes) && !CopyInTwo<4>(to, from, bytes)
        && !CopyInTwo<2>(to, from, bytes) && bytes == 1)
        *to = *from;
}

} // namespace Platform::Utf::Vector

#endif

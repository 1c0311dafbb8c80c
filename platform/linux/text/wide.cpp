// Length, comparison and search of wide text, sixteen bytes at a time where the processor has SSE2.
//
// A terminated text says nothing about the memory behind its terminator, so the loops below read only
// blocks of which at least one byte is known to belong to the text and which never reach into another
// page: memory is mapped by the page, so that such a read cannot fault. AddressSanitizer knows finer
// bounds than the processor, and ThreadSanitizer takes the bytes beside the text for used: both are told to
// look away in those functions only.
#include "platform/linux/text/wide.h"

#include "platform/text.h"

#include <bit>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Platform {

#ifdef __SSE2__

namespace {

constexpr std::uintptr_t blockBytes = 16;
constexpr std::uintptr_t pageBytes = 4096; // the smallest there is; larger ones are multiples
constexpr std::ptrdiff_t blockChars = 8;

// Of the aligned block at `text`: all ones in each char that is 0 or `sought`.
__attribute__((no_sanitize("address", "thread"))) inline __m128i Hits(
    const char16_t* text, __m128i sought) noexcept
{
    const __m128i block = _mm_load_si128(reinterpret_cast<const __m128i*>(text));
    return _mm_or_si128(_mm_cmpeq_epi16(block, _mm_setzero_si128()), _mm_cmpeq_epi16(block, sought));
}

// The same of the four blocks at `text` together.
__attribute__((no_sanitize("address", "thread"))) inline __m128i HitsOfFour(
    const char16_t* text, __m128i sought) noexcept
{
    return _mm_or_si128(_mm_or_si128(Hits(text, sought), Hits(text + blockChars, sought)),
        _mm_or_si128(Hits(text + 2 * blockChars, sought), Hits(text + 3 * blockChars, sought)));
}

// Two bits for each char.
inline unsigned Bits(__m128i hits) noexcept
{
    return static_cast<unsigned>(_mm_movemask_epi8(hits));
}

inline bool BlockStaysInPage(const char16_t* text) noexcept
{
    return reinterpret_cast<std::uintptr_t>(text) % pageBytes <= pageBytes - blockBytes;
}

// How many chars at the start are equal and not the terminator; whole blocks, so it may fall short.
__attribute__((no_sanitize("address", "thread"))) std::ptrdiff_t EqualBlocks(
    const char16_t* left, const char16_t* right) noexcept
{
    std::ptrdiff_t equal = 0;
    while (BlockStaysInPage(left + equal) && BlockStaysInPage(right + equal)) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(left + equal));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(right + equal));
        const __m128i ends = _mm_cmpeq_epi16(a, _mm_setzero_si128());
        const __m128i goesOn = _mm_andnot_si128(ends, _mm_cmpeq_epi16(a, b));
        const unsigned stops = static_cast<unsigned>(_mm_movemask_epi8(goesOn)) ^ 0xFFFFU;
        if (stops != 0)
            return equal + std::countr_zero(stops) / 2;
        equal += blockChars;
    }
    return equal;
}

} // namespace

__attribute__((no_sanitize("address", "thread"))) const char16_t* FindOrEnd(
    const char16_t* text, char16_t sought) noexcept
{
    const __m128i wanted = _mm_set1_epi16(static_cast<short>(sought));
    const std::uintptr_t before = reinterpret_cast<std::uintptr_t>(text) % blockBytes;
    const char16_t* block = text - before / sizeof(char16_t);
    unsigned hits = Bits(Hits(block, wanted)) >> before;
    if (hits != 0)
        return text + std::countr_zero(hits) / 2;
    for (;;) {
        block += blockChars;
        if (reinterpret_cast<std::uintptr_t>(block) % (4 * blockBytes) == 0)
            while (Bits(HitsOfFour(block, wanted)) == 0)
                block += 4 * blockChars;
        hits = Bits(Hits(block, wanted));
        if (hits != 0)
            return block + std::countr_zero(hits) / 2;
    }
}

#else

namespace {

std::ptrdiff_t EqualBlocks(const char16_t*, const char16_t*) noexcept
{
    return 0;
}

} // namespace

const char16_t* FindOrEnd(const char16_t* text, char16_t sought) noexcept
{
    while (*text != u'\0' && *text != sought)
        ++text;
    return text;
}

#endif

std::size_t wcslen(const char16_t* text) noexcept
{
    return static_cast<std::size_t>(FindOrEnd(text, u'\0') - text);
}

int wcscmp(const char16_t* left, const char16_t* right) noexcept
{
    for (;;) {
        const std::ptrdiff_t equal = EqualBlocks(left, right);
        left += equal;
        right += equal;
        // At the end of a page: a block's length in single steps leads over it.
        for (int step = 0; step < 8; ++step, ++left, ++right)
            if (*left != *right || *left == u'\0')
                return static_cast<int>(*left) - static_cast<int>(*right);
    }
}

const char16_t* wcschr(const char16_t* text, char16_t sought) noexcept
{
    const char16_t* const found = FindOrEnd(text, sought);
    return *found == sought ? found : nullptr;
}

const char16_t* wcsstr(const char16_t* text, const char16_t* sought) noexcept
{
    if (*sought == u'\0')
        return text;
    for (const char16_t* start = wcschr(text, *sought); start != nullptr;
         start = wcschr(start + 1, *sought)) {
        std::size_t equal = 1;
        while (sought[equal] != u'\0' && start[equal] == sought[equal])
            ++equal;
        if (sought[equal] == u'\0')
            return start;
        if (start[equal] == u'\0')
            return nullptr; // what is left is shorter than what is sought
    }
    return nullptr;
}

} // namespace Platform

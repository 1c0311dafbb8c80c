// The idea both ways: work out for every unit of a block what it contributes to the target, without a
// branch on what kind of character it belongs to, then press the contributions together with a byte
// shuffle from a table. The time does not depend on how scripts mix.
//
// From UTF-8, each byte that ends a character contributes the char: itself, with bits of the one to
// three bytes before it. Of the four bytes of a character beyond the basic plane, the third contributes
// the high surrogate and the fourth the low one. The other bytes contribute nothing.
//
// To UTF-8, each char contributes one to three bytes; each half of a surrogate pair two.
#include "platform/linux/text/utf_vector.h"

#include "platform/linux/text/utf_scalar.h"

#ifdef __x86_64__

#include <array>
#include <bit>
#include <cstdint>
#include <tmmintrin.h>

namespace Platform::Utf::Vector {

namespace {

constexpr std::ptrdiff_t blockBytes = 16;
constexpr std::ptrdiff_t blockChars = 8;

bool IsSupported() noexcept
{
    // Both are 0 until the start-up code of the compiler's library has run; then this is the slow road only.
    return __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("popcnt");
}

using Shuffle = std::array<unsigned char, blockBytes>;

// ---- From UTF-8

// For a mask of chars that are left out: the bytes of the other chars, moved together.
constexpr std::array<Shuffle, 256> MakeCharShuffles()
{
    std::array<Shuffle, 256> shuffles{};
    for (unsigned leftOut = 0; leftOut < 256; ++leftOut) {
        unsigned next = 0;
        for (unsigned place = 0; place < 8; ++place) {
            if ((leftOut >> place & 1) != 0)
                continue;
            shuffles[leftOut][next++] = static_cast<unsigned char>(2 * place);
            shuffles[leftOut][next++] = static_cast<unsigned char>(2 * place + 1);
        }
    }
    return shuffles;
}
alignas(blockBytes) constexpr std::array<Shuffle, 256> charShuffles = MakeCharShuffles();

// What is wrong with two neighbouring bytes shows in three of their four nibbles: each of the tables
// below tells which faults its nibble allows, and a fault that all three allow is there.
enum Fault : unsigned char {
    LeadWithoutContinuation = 0x01,
    ContinuationWithoutLead = 0x02,
    OverlongOfThree = 0x04, // E0 80..9F
    Surrogate = 0x08, // ED A0..BF
    OverlongOfTwo = 0x10, // C0, C1
    TooLarge = 0x20, // F4 90..BF, and F5..FF 90..BF
    OverlongOfFourOrTooLarge = 0x40, // F0 80..8F, and F5..FF 80..8F
    SecondContinuation = 0x80, // a fault unless a lead of three or four bytes stands before the two
};

using Nibbles = std::array<unsigned char, blockBytes>;

alignas(blockBytes) constexpr Nibbles faultsOfFirstHigh = [] {
    Nibbles faults{};
    for (unsigned nibble = 0; nibble < 16; ++nibble)
        faults[nibble] = nibble < 0x8 ? ContinuationWithoutLead
            : nibble < 0xC            ? SecondContinuation
                                      : LeadWithoutContinuation;
    faults[0xC] |= OverlongOfTwo;
    faults[0xE] |= OverlongOfThree | Surrogate;
    faults[0xF] |= TooLarge | OverlongOfFourOrTooLarge;
    return faults;
}();

alignas(blockBytes) constexpr Nibbles faultsOfFirstLow = [] {
    Nibbles faults{};
    for (unsigned nibble = 0; nibble < 16; ++nibble) {
        faults[nibble] = LeadWithoutContinuation | ContinuationWithoutLead | SecondContinuation;
        if (nibble > 0x4)
            faults[nibble] |= TooLarge | OverlongOfFourOrTooLarge;
    }
    faults[0x0] |= OverlongOfTwo | OverlongOfThree | OverlongOfFourOrTooLarge;
    faults[0x1] |= OverlongOfTwo;
    faults[0x4] |= TooLarge;
    faults[0xD] |= Surrogate;
    return faults;
}();

alignas(blockBytes) constexpr Nibbles faultsOfSecondHigh = [] {
    Nibbles faults{};
    for (unsigned nibble = 0; nibble < 16; ++nibble)
        faults[nibble] = nibble < 0x8 || nibble > 0xB
            ? LeadWithoutContinuation
            : ContinuationWithoutLead | OverlongOfTwo | SecondContinuation;
    faults[0x8] |= OverlongOfThree | OverlongOfFourOrTooLarge;
    faults[0x9] |= OverlongOfThree | TooLarge;
    faults[0xA] |= Surrogate | TooLarge;
    faults[0xB] |= Surrogate | TooLarge;
    return faults;
}();

template <class Table>
__m128i LoadTable(const Table& table) noexcept
{
    return _mm_load_si128(reinterpret_cast<const __m128i*>(table.data()));
}

__m128i Fill(unsigned byte) noexcept
{
    return _mm_set1_epi8(static_cast<char>(byte));
}

unsigned Mask(__m128i bytes) noexcept
{
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

__m128i Load(const void* source) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(source));
}
void Store(void* target, __m128i block) noexcept
{
    _mm_storeu_si128(static_cast<__m128i*>(target), block);
}

// A block of UTF-8, and the same moved by one, two and three places.
struct Bytes {
    __m128i here;
    __m128i before1;
    __m128i before2;
    __m128i before3;
};

[[gnu::target("ssse3,popcnt")]] inline Bytes WithNeighbours(__m128i block, __m128i previous) noexcept
{
    return {block, _mm_alignr_epi8(block, previous, 15), _mm_alignr_epi8(block, previous, 14),
        _mm_alignr_epi8(block, previous, 13)};
}

[[gnu::target("ssse3,popcnt")]] inline bool IsValid(const Bytes& bytes) noexcept
{
    const __m128i nibble = Fill(0x0F);
    const __m128i firstHigh = _mm_and_si128(_mm_srli_epi16(bytes.before1, 4), nibble);
    const __m128i firstLow = _mm_and_si128(bytes.before1, nibble);
    const __m128i secondHigh = _mm_and_si128(_mm_srli_epi16(bytes.here, 4), nibble);
    const __m128i faults =
        _mm_and_si128(_mm_and_si128(_mm_shuffle_epi8(LoadTable(faultsOfFirstHigh), firstHigh),
                          _mm_shuffle_epi8(LoadTable(faultsOfFirstLow), firstLow)),
            _mm_shuffle_epi8(LoadTable(faultsOfSecondHigh), secondHigh));
    // The top bit is set where a lead of three bytes stands two before, or one of four three before.
    const __m128i third = _mm_subs_epu8(bytes.before2, Fill(0xE0 - 0x80));
    const __m128i fourth = _mm_subs_epu8(bytes.before3, Fill(0xF0 - 0x80));
    const __m128i expected = _mm_and_si128(_mm_or_si128(third, fourth), Fill(SecondContinuation));
    return Mask(_mm_cmpeq_epi8(faults, expected)) == 0xFFFF;
}

// A bit for each byte that contributes no char: leads, and what follows a lead of three or four bytes.
inline unsigned WithoutChar(const Bytes& bytes) noexcept
{
    const __m128i lead = _mm_subs_epu8(bytes.here, Fill(0xC0 - 0x80));
    const __m128i second = _mm_subs_epu8(bytes.before1, Fill(0xE0 - 0x80));
    return Mask(_mm_or_si128(lead, second));
}

inline __m128i Choose(__m128i mask, __m128i yes, __m128i no) noexcept
{
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

inline __m128i IsAtLeast(__m128i bytes, unsigned limit) noexcept
{
    return _mm_cmpeq_epi8(_mm_max_epu8(bytes, Fill(limit)), bytes);
}

// The chars of a block, as their low and their high bytes.
struct SplitChars {
    __m128i low;
    __m128i high;
};

// x << 6, x >> 2 and so on of bytes, by way of shifts of 16 bits.
inline SplitChars BasicChars(const Bytes& bytes) noexcept
{
    const __m128i continues = _mm_cmplt_epi8(bytes.here, Fill(0xC0)); // as signed numbers 80..BF
    const __m128i six = _mm_and_si128(_mm_slli_epi16(bytes.before1, 6), Fill(0xC0));
    const __m128i four = _mm_and_si128(_mm_srli_epi16(bytes.before1, 2), Fill(0x0F));
    const __m128i top = _mm_and_si128(_mm_slli_epi16(bytes.before2, 4), Fill(0xF0));
    const __m128i isThird = IsAtLeast(bytes.before2, 0xE0);
    return {_mm_or_si128(_mm_and_si128(bytes.here, Fill(0x7F)), _mm_and_si128(continues, six)),
        _mm_and_si128(continues, _mm_or_si128(four, _mm_and_si128(isThird, top)))};
}

// Puts the surrogates of characters of four bytes in their places.
inline void AddSurrogates(const Bytes& bytes, SplitChars& chars) noexcept
{
    // The fourth byte: DC00 and ten bits, of which the low eight are there already.
    const __m128i isFourth = IsAtLeast(bytes.before3, 0xF0);
    const __m128i lowHigh = _mm_or_si128(_mm_and_si128(chars.high, Fill(0x03)), Fill(0xDC));
    chars.high = Choose(isFourth, lowHigh, chars.high);
    // The third byte: D7C0 plus the code's bits from the tenth on.
    const __m128i isThird = IsAtLeast(bytes.before2, 0xF0);
    const __m128i low = _mm_or_si128(_mm_and_si128(_mm_slli_epi16(bytes.before1, 2), Fill(0xFC)),
        _mm_and_si128(_mm_srli_epi16(bytes.here, 4), Fill(0x03)));
    const __m128i high = _mm_and_si128(bytes.before2, Fill(0x07));
    // Adding C0 to the low byte carries unless its upper two bits are 0.
    const __m128i carry = _mm_and_si128(IsAtLeast(low, 0x40), Fill(1));
    chars.low = Choose(isThird, _mm_add_epi8(low, Fill(0xC0)), chars.low);
    chars.high = Choose(isThird, _mm_add_epi8(_mm_add_epi8(high, Fill(0xD7)), carry), chars.high);
}

// Writes the chars that are not left out; up to 16 are overwritten whatever their number.
[[gnu::target("ssse3,popcnt")]] inline char16_t* WriteChars(
    const SplitChars& chars, unsigned leftOut, char16_t* target) noexcept
{
    const unsigned first = leftOut & 0xFF;
    const unsigned second = leftOut >> 8;
    Store(target, _mm_shuffle_epi8(_mm_unpacklo_epi8(chars.low, chars.high), LoadTable(charShuffles[first])));
    target += blockChars - std::popcount(first);
    Store(
        target, _mm_shuffle_epi8(_mm_unpackhi_epi8(chars.low, chars.high), LoadTable(charShuffles[second])));
    return target + blockChars - std::popcount(second);
}

[[gnu::target("ssse3,popcnt")]] inline char16_t* ConvertBlock(const Bytes& bytes, char16_t* target) noexcept
{
    SplitChars chars = BasicChars(bytes);
    if (Mask(_mm_or_si128(IsAtLeast(bytes.before2, 0xF0), IsAtLeast(bytes.before3, 0xF0))) != 0)
        AddSurrogates(bytes, chars);
    return WriteChars(chars, WithoutChar(bytes), target);
}

// How many bytes at the end of a block begin a character that goes on behind it.
int Unfinished(const unsigned char* end) noexcept
{
    return end[-1] >= 0xC0 ? 1 : end[-2] >= 0xE0 ? 2 : end[-3] >= 0xF0 ? 3 : 0;
}

[[gnu::target("ssse3,popcnt")]] Run<unsigned char, char16_t> ConvertToUtf16(const unsigned char* source,
    const unsigned char* const sourceEnd, char16_t* target, char16_t* const targetEnd) noexcept
{
    const unsigned char* const start = source;
    __m128i previous = _mm_setzero_si128();
    while (sourceEnd - source >= blockBytes && targetEnd - target >= blockBytes) {
        const __m128i block = Load(source);
        if (Mask(_mm_or_si128(block, previous)) == 0) {
            Store(target, _mm_unpacklo_epi8(block, _mm_setzero_si128()));
            Store(target + blockChars, _mm_unpackhi_epi8(block, _mm_setzero_si128()));
            target += blockBytes;
        } else {
            const Bytes bytes = WithNeighbours(block, previous);
            if (!IsValid(bytes))
                break;
            target = ConvertBlock(bytes, target);
        }
        source += blockBytes;
        previous = block;
    }
    if (source != start) {
        const int unfinished = Unfinished(source);
        source -= unfinished;
        target -= unfinished == 3 ? 1 : 0; // the high surrogate
    }
    return {source, target};
}

[[gnu::target("ssse3,popcnt")]] Count<unsigned char> CountUtf16(
    const unsigned char* source, const unsigned char* const sourceEnd) noexcept
{
    const unsigned char* const start = source;
    std::size_t units = 0;
    __m128i previous = _mm_setzero_si128();
    while (sourceEnd - source >= blockBytes) {
        const __m128i block = Load(source);
        if (Mask(_mm_or_si128(block, previous)) == 0) {
            units += blockBytes;
        } else {
            const Bytes bytes = WithNeighbours(block, previous);
            if (!IsValid(bytes))
                break;
            units += blockBytes - std::popcount(WithoutChar(bytes));
        }
        source += blockBytes;
        previous = block;
    }
    if (source != start) {
        const int unfinished = Unfinished(source);
        source -= unfinished;
        units -= unfinished == 3 ? 1 : 0;
    }
    return {source, units};
}

// ---- To UTF-8

// For a mask with two bits for each of four chars, 0 for one byte, 1 for two, 3 for three: the bytes of
// the chars, which lie backwards in four bytes each, moved together and put forwards.
constexpr std::array<Shuffle, 256> MakeByteShuffles()
{
    std::array<Shuffle, 256> shuffles{};
    for (unsigned sizes = 0; sizes < 256; ++sizes) {
        unsigned next = 0;
        for (unsigned place = 0; place < 4; ++place)
            for (int byte = std::popcount(sizes >> 2 * place & 3); byte >= 0; --byte)
                shuffles[sizes][next++] = static_cast<unsigned char>(4 * place + byte);
    }
    return shuffles;
}
alignas(blockBytes) constexpr std::array<Shuffle, 256> byteShuffles = MakeByteShuffles();

__m128i FillChars(unsigned unit) noexcept
{
    return _mm_set1_epi16(static_cast<short>(unit));
}

inline __m128i IsBelow(__m128i chars, unsigned limit) noexcept
{
    return _mm_cmpeq_epi16(_mm_subs_epu16(chars, FillChars(limit - 1)), _mm_setzero_si128());
}

inline __m128i HasTopBits(__m128i chars, unsigned mask, unsigned bits) noexcept
{
    return _mm_cmpeq_epi16(_mm_and_si128(chars, FillChars(mask)), FillChars(bits));
}

// What a block of chars contributes: two bytes, the later one first, and a third before them.
struct SplitBytes {
    __m128i lastTwo;
    __m128i top;
    unsigned sizes; // two bits for each char, see above
};

inline SplitBytes BasicBytes(__m128i chars, __m128i isSurrogate) noexcept
{
    const __m128i isOne = IsBelow(chars, 0x80);
    const __m128i isThree =
        _mm_andnot_si128(_mm_or_si128(IsBelow(chars, 0x800), isSurrogate), FillChars(0xFFFF));
    const __m128i six = _mm_or_si128(_mm_and_si128(chars, FillChars(0x3F)), FillChars(0x80));
    const __m128i last = Choose(isOne, chars, six);
    const __m128i middle = _mm_or_si128(_mm_and_si128(_mm_slli_epi16(chars, 2), FillChars(0x3F00)),
        Choose(isThree, FillChars(0x8000), FillChars(0xC000)));
    const __m128i sizes =
        _mm_or_si128(_mm_andnot_si128(isOne, FillChars(0x00FF)), _mm_and_si128(isThree, FillChars(0xFF00)));
    return {
        _mm_or_si128(last, middle), _mm_or_si128(_mm_srli_epi16(chars, 12), FillChars(0xE0)), Mask(sizes)};
}

// The two bytes of each half of a pair. What the low half needs of the high one are its last two bits.
inline void AddPairs(__m128i chars, __m128i before, __m128i isHigh, __m128i isLow, SplitBytes& bytes) noexcept
{
    const __m128i bits = _mm_sub_epi16(chars, FillChars(0xD7C0));
    const __m128i high = _mm_or_si128(_mm_and_si128(_mm_srli_epi16(bits, 2), FillChars(0x3F)),
        _mm_or_si128(_mm_and_si128(bits, FillChars(0x0700)), FillChars(0xF080)));
    const __m128i low = _mm_or_si128(_mm_or_si128(_mm_and_si128(chars, FillChars(0x3F)),
                                         _mm_and_si128(_mm_slli_epi16(chars, 2), FillChars(0x0F00))),
        _mm_or_si128(_mm_and_si128(_mm_slli_epi16(before, 12), FillChars(0x3000)), FillChars(0x8080)));
    bytes.lastTwo = Choose(isHigh, high, Choose(isLow, low, bytes.lastTwo));
}

// Writes the bytes of all chars; up to 28 are overwritten whatever their number.
[[gnu::target("ssse3,popcnt")]] inline char* WriteBytes(const SplitBytes& bytes, char* target) noexcept
{
    const unsigned first = bytes.sizes & 0xFF;
    const unsigned second = bytes.sizes >> 8;
    Store(target,
        _mm_shuffle_epi8(_mm_unpacklo_epi16(bytes.lastTwo, bytes.top), LoadTable(byteShuffles[first])));
    target += 4 + std::popcount(first);
    Store(target,
        _mm_shuffle_epi8(_mm_unpackhi_epi16(bytes.lastTwo, bytes.top), LoadTable(byteShuffles[second])));
    return target + 4 + std::popcount(second);
}

// A block of chars, and what of them is half of a pair.
struct Halves {
    __m128i before; // the chars moved by one place
    __m128i isHigh;
    __m128i isLow;
    bool areAny;
    bool arePaired;
};

[[gnu::target("ssse3,popcnt")]] inline Halves FindHalves(__m128i chars, __m128i previous) noexcept
{
    const __m128i before = _mm_alignr_epi8(chars, previous, 14);
    const __m128i isHigh = HasTopBits(chars, 0xFC00, 0xD800);
    const __m128i isLow = HasTopBits(chars, 0xFC00, 0xDC00);
    const __m128i followsHigh = HasTopBits(before, 0xFC00, 0xD800);
    return {before, isHigh, isLow, Mask(_mm_or_si128(isHigh, isLow)) != 0,
        Mask(_mm_cmpeq_epi16(isLow, followsHigh)) == 0xFFFF};
}

[[gnu::target("ssse3,popcnt")]] Run<char16_t, char> ConvertToUtf8(
    const char16_t* source, const char16_t* const sourceEnd, char* target, char* const targetEnd) noexcept
{
    constexpr std::ptrdiff_t overwritten = 28;
    const char16_t* const start = source;
    __m128i previous = _mm_setzero_si128();
    while (sourceEnd - source >= blockChars && targetEnd - target >= overwritten) {
        const __m128i chars = Load(source);
        if (Mask(_mm_cmpeq_epi16(
                _mm_and_si128(_mm_or_si128(chars, previous), FillChars(0xFF80)), _mm_setzero_si128()))
            == 0xFFFF) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(target), _mm_packus_epi16(chars, chars));
            target += blockChars;
        } else {
            const Halves halves = FindHalves(chars, previous);
            if (!halves.arePaired)
                break;
            SplitBytes bytes = BasicBytes(chars, _mm_or_si128(halves.isHigh, halves.isLow));
            if (halves.areAny)
                AddPairs(chars, halves.before, halves.isHigh, halves.isLow, bytes);
            target = WriteBytes(bytes, target);
        }
        source += blockChars;
        previous = chars;
    }
    if (source != start && IsHighSurrogate(source[-1])) {
        --source;
        target -= 2;
    }
    return {source, target};
}

[[gnu::target("ssse3,popcnt")]] Count<char16_t> CountUtf8(
    const char16_t* source, const char16_t* const sourceEnd) noexcept
{
    const char16_t* const start = source;
    std::size_t units = 0;
    __m128i previous = _mm_setzero_si128();
    while (sourceEnd - source >= blockChars) {
        const __m128i chars = Load(source);
        const Halves halves = FindHalves(chars, previous);
        if (!halves.arePaired)
            break;
        // Two bits are in the mask for each char that a byte less is needed for than three.
        const __m128i surrogates = _mm_or_si128(halves.isHigh, halves.isLow);
        const unsigned below80 = Mask(IsBelow(chars, 0x80));
        const unsigned below800 = Mask(_mm_or_si128(IsBelow(chars, 0x800), surrogates));
        units += 3 * blockChars - static_cast<unsigned>(std::popcount(below80 | below800 << 16)) / 2;
        source += blockChars;
        previous = chars;
    }
    if (source != start && IsHighSurrogate(source[-1])) {
        --source;
        units -= 2;
    }
    return {source, units};
}

} // namespace

Run<unsigned char, char16_t> ToUtf16(const unsigned char* source, const unsigned char* sourceEnd,
    char16_t* target, char16_t* targetEnd) noexcept
{
    return IsSupported() ? ConvertToUtf16(source, sourceEnd, target, targetEnd)
                         : Run<unsigned char, char16_t>{source, target};
}

Run<char16_t, char> ToUtf8(
    const char16_t* source, const char16_t* sourceEnd, char* target, char* targetEnd) noexcept
{
    return IsSupported() ? ConvertToUtf8(source, sourceEnd, target, targetEnd)
                         : Run<char16_t, char>{source, target};
}

Count<unsigned char> MeasureUtf16(const unsigned char* source, const unsigned char* sourceEnd) noexcept
{
    return IsSupported() ? CountUtf16(source, sourceEnd) : Count<unsigned char>{source, 0};
}

Count<char16_t> MeasureUtf8(const char16_t* source, const char16_t* sourceEnd) noexcept
{
    return IsSupported() ? CountUtf8(source, sourceEnd) : Count<char16_t>{source, 0};
}

} // namespace Platform::Utf::Vector

#endif

// From UTF-8. For every byte of a block it is worked out, without a branch, which char ends there: the
// byte itself with bits of the one to three before it. Of the four bytes of a character beyond the basic
// plane, the third gives the high surrogate and the fourth the low one. The other bytes give nothing; a
// shuffle from a table moves the chars together. So the time does not depend on how scripts mix.
#include "platform/linux/text/utf_block.h"
#include "platform/linux/text/utf_vector.h"

#ifdef __x86_64__

#include <bit>
#include <iterator>
#include <type_traits>

namespace Platform::Utf::Vector {

namespace {

constexpr std::ptrdiff_t strideBytes = 64; // what is looked at together for being ASCII, or for faults

// For a mask of chars that are left out: the bytes of the other chars, moved together.
alignas(blockBytes) constexpr auto charShuffles = [] {
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
}();

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

alignas(blockBytes) constexpr Shuffle faultsOfFirstHigh = [] {
    Shuffle faults{};
    for (unsigned nibble = 0; nibble < 16; ++nibble)
        faults[nibble] = nibble < 0x8 ? ContinuationWithoutLead
            : nibble < 0xC            ? SecondContinuation
                                      : LeadWithoutContinuation;
    faults[0xC] |= OverlongOfTwo;
    faults[0xE] |= OverlongOfThree | Surrogate;
    faults[0xF] |= TooLarge | OverlongOfFourOrTooLarge;
    return faults;
}();

alignas(blockBytes) constexpr Shuffle faultsOfFirstLow = [] {
    Shuffle faults{};
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

alignas(blockBytes) constexpr Shuffle faultsOfSecondHigh = [] {
    Shuffle faults{};
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

// The chars of a block as their low and their high bytes, with a bit for each byte that gives none, and
// not zero where something is wrong with a byte and those before it.
struct Chars {
    __m128i low;
    __m128i high;
    unsigned leftOut;
    __m128i faults;
};

// What a block holds, by its longest characters. Each kind includes those before, and each is cheaper to
// convert than the next.
enum class Kind {
    Ascii,
    TwoBytes,
    ThreeBytes,
    FourBytes,
};

inline __m128i IsAtLeast(__m128i bytes, unsigned limit) noexcept
{
    return _mm_cmpeq_epi8(_mm_max_epu8(bytes, FillBytes(limit)), bytes);
}

// Bytes are compared by what is above 7F after a subtraction that does not go below 0, where only the
// mask of their top bits is needed.
inline __m128i TopBitIfAtLeast(__m128i bytes, unsigned limit) noexcept
{
    return _mm_subs_epu8(bytes, FillBytes(limit - 0x80));
}

inline Kind KindOf(__m128i highest) noexcept
{
    if (Mask(highest) == 0)
        return Kind::Ascii;
    if (Mask(TopBitIfAtLeast(highest, 0xE0)) == 0)
        return Kind::TwoBytes;
    return Mask(TopBitIfAtLeast(highest, 0xF0)) == 0 ? Kind::ThreeBytes : Kind::FourBytes;
}

// As signed numbers, continuation bytes are those below C0.
inline __m128i IsContinuation(__m128i bytes) noexcept
{
    return _mm_cmplt_epi8(bytes, FillBytes(0xC0));
}

// The last char bits of a byte, together with two from the byte before it. Bytes are shifted by way of
// 16 bits, and what comes over from the neighbour is masked away.
inline __m128i LowByte(__m128i here, __m128i before1, __m128i continues) noexcept
{
    const __m128i handedDown = _mm_and_si128(_mm_slli_epi16(before1, 6), FillBytes(0xC0));
    return _mm_or_si128(_mm_and_si128(here, FillBytes(0x7F)), _mm_and_si128(continues, handedDown));
}

[[gnu::target("ssse3,popcnt")]] inline Chars TwoByteChars(__m128i here, __m128i previous) noexcept
{
    const __m128i before1 = _mm_alignr_epi8(here, previous, 15);
    const __m128i continues = IsContinuation(here);
    const __m128i isDisordered = _mm_xor_si128(continues, IsAtLeast(before1, 0xC0));
    const __m128i isOverlong = _mm_cmpeq_epi8(_mm_and_si128(here, FillBytes(0xFE)), FillBytes(0xC0));
    const __m128i high = _mm_and_si128(_mm_srli_epi16(before1, 2), FillBytes(0x07));
    return {LowByte(here, before1, continues), _mm_and_si128(continues, high),
        Mask(TopBitIfAtLeast(here, 0xC0)), _mm_or_si128(isDisordered, isOverlong)};
}

[[gnu::target("ssse3,popcnt")]] inline __m128i FaultsOf(
    __m128i here, __m128i before1, __m128i before2, __m128i before3) noexcept
{
    const __m128i nibble = FillBytes(0x0F);
    const __m128i firstHigh = _mm_and_si128(_mm_srli_epi16(before1, 4), nibble);
    const __m128i firstLow = _mm_and_si128(before1, nibble);
    const __m128i secondHigh = _mm_and_si128(_mm_srli_epi16(here, 4), nibble);
    const __m128i faults =
        _mm_and_si128(_mm_and_si128(_mm_shuffle_epi8(LoadTable(faultsOfFirstHigh), firstHigh),
                          _mm_shuffle_epi8(LoadTable(faultsOfFirstLow), firstLow)),
            _mm_shuffle_epi8(LoadTable(faultsOfSecondHigh), secondHigh));
    const __m128i follows = _mm_or_si128(TopBitIfAtLeast(before2, 0xE0), TopBitIfAtLeast(before3, 0xF0));
    return _mm_xor_si128(faults, _mm_and_si128(follows, FillBytes(SecondContinuation)));
}

// Puts the surrogates of characters of four bytes in their places.
inline void AddSurrogates(
    __m128i here, __m128i before1, __m128i before2, __m128i before3, Chars& chars) noexcept
{
    // The fourth byte: DC00 and ten bits, of which the low eight are there already.
    const __m128i lowHigh = _mm_or_si128(_mm_and_si128(chars.high, FillBytes(0x03)), FillBytes(0xDC));
    chars.high = Choose(IsAtLeast(before3, 0xF0), lowHigh, chars.high);
    // The third byte: D7C0 plus the code's bits from the tenth on.
    const __m128i isThird = IsAtLeast(before2, 0xF0);
    const __m128i low = _mm_or_si128(_mm_and_si128(_mm_slli_epi16(before1, 2), FillBytes(0xFC)),
        _mm_and_si128(_mm_srli_epi16(here, 4), FillBytes(0x03)));
    const __m128i high = _mm_and_si128(before2, FillBytes(0x07));
    // Adding C0 to the low byte carries unless its upper two bits are 0.
    const __m128i carry = _mm_and_si128(IsAtLeast(low, 0x40), FillBytes(1));
    chars.low = Choose(isThird, _mm_add_epi8(low, FillBytes(0xC0)), chars.low);
    chars.high = Choose(isThird, _mm_add_epi8(_mm_add_epi8(high, FillBytes(0xD7)), carry), chars.high);
}

template <Kind kind>
[[gnu::target("ssse3,popcnt")]] inline Chars LongerChars(__m128i here, __m128i previous) noexcept
{
    const __m128i before1 = _mm_alignr_epi8(here, previous, 15);
    const __m128i before2 = _mm_alignr_epi8(here, previous, 14);
    const __m128i before3 = _mm_alignr_epi8(here, previous, 13);
    const __m128i continues = IsContinuation(here);
    const __m128i four = _mm_and_si128(_mm_srli_epi16(before1, 2), FillBytes(0x0F));
    const __m128i top = _mm_and_si128(_mm_slli_epi16(before2, 4), FillBytes(0xF0));
    const __m128i topOfThird = _mm_and_si128(IsAtLeast(before2, 0xE0), top);
    // Leads give nothing, nor does what follows a lead of three or four bytes.
    const __m128i leftOut = _mm_or_si128(TopBitIfAtLeast(here, 0xC0), TopBitIfAtLeast(before1, 0xE0));
    Chars chars{LowByte(here, before1, continues), _mm_and_si128(continues, _mm_or_si128(four, topOfThird)),
        Mask(leftOut), FaultsOf(here, before1, before2, before3)};
    if constexpr (kind == Kind::FourBytes)
        AddSurrogates(here, before1, before2, before3, chars);
    return chars;
}

template <Kind kind>
[[gnu::target("ssse3,popcnt")]] inline Chars CharsOf(__m128i block, __m128i previous) noexcept
{
    if constexpr (kind == Kind::Ascii)
        return {block, _mm_setzero_si128(), 0, _mm_setzero_si128()};
    else if constexpr (kind == Kind::TwoBytes)
        return TwoByteChars(block, previous);
    else
        return LongerChars<kind>(block, previous);
}

// ---- Where the chars go

// Room is asked for by the char, before a block takes up to 16 places whatever number it gives.
class Writing {
public:
    Writing(char16_t* target, char16_t* targetEnd) noexcept : next(target), end(targetEnd) { }

    bool HasRoom(std::ptrdiff_t chars) const noexcept { return end - next >= chars; }
    char16_t* Next() const noexcept { return next; }
    void TakeBack(std::ptrdiff_t chars) noexcept { next -= chars; }
    bool Copy(const char16_t* chars, std::ptrdiff_t count) noexcept
    {
        if (!HasRoom(count))
            return false;
        StoreShort(next, chars, static_cast<std::size_t>(count) * sizeof(char16_t));
        next += count;
        return true;
    }

    void TakeAscii(const unsigned char* source, const FourBlocks& blocks) noexcept
    {
        const auto widen = [this, source](std::ptrdiff_t place) {
            const __m128i block = Load(source + place);
            Store(next + place, _mm_unpacklo_epi8(block, _mm_setzero_si128()));
            Store(next + place + 8, _mm_unpackhi_epi8(block, _mm_setzero_si128()));
        };
        widen(0);
        widen(blocks.second);
        widen(blocks.third);
        widen(blocks.last);
        next += blocks.last + blockBytes;
    }

    template <Kind kind>
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void Take(const Chars& chars) noexcept
    {
        const __m128i firstHalf = _mm_unpacklo_epi8(chars.low, chars.high);
        const __m128i secondHalf = _mm_unpackhi_epi8(chars.low, chars.high);
        if constexpr (kind == Kind::Ascii) {
            Store(next, firstHalf);
            Store(next + 8, secondHalf);
            next += 16;
        } else {
            const unsigned first = chars.leftOut & 0xFF;
            const unsigned second = chars.leftOut >> 8;
            Store(next, _mm_shuffle_epi8(firstHalf, LoadTable(charShuffles[first])));
            next += 8 - std::popcount(first);
            Store(next, _mm_shuffle_epi8(secondHalf, LoadTable(charShuffles[second])));
            next += 8 - std::popcount(second);
        }
    }

private:
    char16_t* next;
    char16_t* end;
};

class Counting {
public:
    bool HasRoom(std::ptrdiff_t) const noexcept { return true; }
    std::size_t Units() const noexcept { return units; }
    void TakeBack(std::ptrdiff_t chars) noexcept { units -= static_cast<std::size_t>(chars); }

    void TakeAscii(const unsigned char*, const FourBlocks& blocks) noexcept
    {
        units += static_cast<std::size_t>(blocks.last + blockBytes);
    }

    template <Kind kind>
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void Take(const Chars& chars) noexcept
    {
        units += blockBytes - static_cast<std::size_t>(std::popcount(chars.leftOut));
    }

private:
    std::size_t units = 0;
};

// ---- The walk through the source

template <class Sink>
class Reader {
public:
    Reader(const unsigned char* source, const unsigned char* sourceEnd, Sink& target) noexcept
        : start(source), next(source), end(sourceEnd), previous(_mm_setzero_si128()), sink(target)
    {
    }

    // Takes all that is valid and whole, and gives what is left.
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline const unsigned char* Read() noexcept
    {
        if (end - next >= blockBytes && end - next <= strideBytes)
            ReadShortText();
        while (end - next >= strideBytes && sink.HasRoom(strideBytes) && ReadStride()) { }
        while (end != next && ReadBlock()) { }
        StepBack();
        return next;
    }

private:
    // A text of one to four blocks, of which any number may be left over. What costs there are branches that
    // cannot be foretold: its kind is found without a loop, by four blocks that overlap and cover every
    // length; then there is one loop, and one look at the faults. Where it is not taken, nothing is.
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void ReadShortText() noexcept
    {
        const FourBlocks blocks(end - next - blockBytes, blockBytes);
        const __m128i highest = _mm_max_epu8(_mm_max_epu8(Load(next), Load(next + blocks.second)),
            _mm_max_epu8(Load(next + blocks.third), Load(next + blocks.last)));
        const Kind kind = KindOf(highest);
        if (kind == Kind::Ascii && sink.HasRoom(end - next)) {
            sink.TakeAscii(next, blocks);
            next = end;
        } else if (kind == Kind::TwoBytes && sink.HasRoom(strideBytes + blockBytes)) {
            ReadShortTextOf<Kind::TwoBytes>();
        } else if (kind > Kind::TwoBytes && sink.HasRoom(strideBytes + blockBytes)) {
            ReadShortTextOf<Kind::FourBytes>();
        }
    }

    template <Kind kind>
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void ReadShortTextOf() noexcept
    {
        const Sink before = sink;
        const unsigned char* place = next;
        __m128i earlier = _mm_setzero_si128();
        __m128i faults = _mm_setzero_si128();
        for (bool isLast = false; !isLast; place += blockBytes) {
            isLast = end - place < blockBytes; // it may hold nothing but the zeros behind the end
            const __m128i block = isLast ? LoadLast(start, place, end) : Load(place);
            const Chars chars = CharsOf<kind>(block, earlier);
            faults = _mm_or_si128(faults, chars.faults);
            sink.template Take<kind>(chars);
            earlier = block;
        }
        sink.TakeBack(place - end);
        if (IsAllZero(faults))
            next = end;
        else
            sink = before;
    }

    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline __m128i NextBlock() const noexcept
    {
        return end - next >= blockBytes ? Load(next) : LoadLast(start, next, end);
    }

    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool ReadStride() noexcept
    {
        const __m128i highest = _mm_max_epu8(_mm_max_epu8(Load(next), Load(next + 16)),
            _mm_max_epu8(_mm_max_epu8(Load(next + 32), Load(next + 48)), previous));
        switch (KindOf(highest)) {
        case Kind::Ascii:
            return ReadAsciiStrides();
        case Kind::TwoBytes:
            return ReadStrideOf<Kind::TwoBytes>();
        case Kind::ThreeBytes:
            return ReadStrideOf<Kind::ThreeBytes>();
        default:
            return ReadStrideOf<Kind::FourBytes>();
        }
    }

    // The first is known to be ASCII; those that follow are likely to be.
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool ReadAsciiStrides() noexcept
    {
        const unsigned char* place = next;
        do {
            for (int i = 0; i < strideBytes; i += blockBytes)
                sink.template Take<Kind::Ascii>(CharsOf<Kind::Ascii>(Load(place + i), previous));
            place += strideBytes;
        } while (end - place >= strideBytes && sink.HasRoom(strideBytes)
            && Mask(_mm_or_si128(_mm_or_si128(Load(place), Load(place + 16)),
                   _mm_or_si128(Load(place + 32), Load(place + 48))))
                == 0);
        next = place;
        previous = _mm_setzero_si128();
        return true;
    }

    // False, and nothing is taken, if there is a fault in one of the blocks.
    template <Kind kind>
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool ReadStrideOf() noexcept
    {
        const Sink before = sink;
        __m128i earlier = previous;
        __m128i faults = _mm_setzero_si128();
        for (int i = 0; i < strideBytes; i += blockBytes) {
            const __m128i block = Load(next + i);
            const Chars chars = CharsOf<kind>(block, earlier);
            faults = _mm_or_si128(faults, chars.faults);
            sink.template Take<kind>(chars);
            earlier = block;
        }
        if (!IsAllZero(faults)) {
            sink = before;
            return false;
        }
        next += strideBytes;
        previous = earlier;
        return true;
    }

    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool ReadBlock() noexcept
    {
        const __m128i block = NextBlock();
        switch (KindOf(_mm_max_epu8(block, previous))) {
        case Kind::Ascii:
            return ReadBlockOf<Kind::Ascii>(block);
        case Kind::TwoBytes:
            return ReadBlockOf<Kind::TwoBytes>(block);
        default:
            return ReadBlockOf<Kind::FourBytes>(block);
        }
    }

    // False if there is a fault in it, or no room for it. The last block has zeros behind the source's
    // end, each of which gives a char.
    template <Kind kind>
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool ReadBlockOf(__m128i block) noexcept
    {
        const Chars chars = CharsOf<kind>(block, previous);
        if (kind != Kind::Ascii && !IsAllZero(chars.faults))
            return false;
        const std::ptrdiff_t taken = end - next < blockBytes ? end - next : blockBytes;
        if (!TakeBlock<kind>(chars, blockBytes - taken))
            return false;
        next += taken;
        previous = block;
        return true;
    }

    // False if there is no room.
    template <Kind kind>
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool TakeBlock(
        const Chars& chars, std::ptrdiff_t zeros) noexcept
    {
        if (sink.HasRoom(blockBytes)) {
            sink.template Take<kind>(chars);
            sink.TakeBack(zeros);
            return true;
        }
        if constexpr (std::is_same_v<Sink, Writing>) {
            char16_t aside[blockBytes]{};
            Writing writing(aside, std::end(aside));
            writing.template Take<kind>(chars);
            return sink.Copy(aside, writing.Next() - aside - zeros);
        }
        return false;
    }

    // Gives back a character that has begun and not ended. Of one of four bytes three may have been taken:
    // then its high surrogate is there already.
    void StepBack() noexcept
    {
        const std::ptrdiff_t taken = next - start;
        if (taken >= 1 && next[-1] >= 0xC0) {
            next -= 1;
        } else if (taken >= 2 && next[-2] >= 0xE0) {
            next -= 2;
        } else if (taken >= 3 && next[-3] >= 0xF0) {
            next -= 3;
            sink.TakeBack(1);
        }
    }

    const unsigned char* start;
    const unsigned char* next;
    const unsigned char* end;
    __m128i previous; // the block before `next`: valid, but for what it begins and does not end
    Sink& sink;
};

[[gnu::target("ssse3,popcnt")]] Run<unsigned char, char16_t> Convert(const unsigned char* source,
    const unsigned char* sourceEnd, char16_t* target, char16_t* targetEnd) noexcept
{
    Writing writing(target, targetEnd);
    const unsigned char* const rest = Reader<Writing>(source, sourceEnd, writing).Read();
    return {rest, writing.Next()};
}

[[gnu::target("ssse3,popcnt")]] Count<unsigned char> Measure(
    const unsigned char* source, const unsigned char* sourceEnd) noexcept
{
    Counting counting;
    const unsigned char* const rest = Reader<Counting>(source, sourceEnd, counting).Read();
    return {rest, counting.Units()};
}

} // namespace

Run<unsigned char, char16_t> ToUtf16(const unsigned char* source, const unsigned char* sourceEnd,
    char16_t* target, char16_t* targetEnd) noexcept
{
    if (!IsSupported())
        return {source, target};
    return Convert(source, sourceEnd, target, targetEnd);
}

Count<unsigned char> MeasureUtf16(const unsigned char* source, const unsigned char* sourceEnd) noexcept
{
    if (!IsSupported())
        return {source, 0};
    return Measure(source, sourceEnd);
}

} // namespace Platform::Utf::Vector

#else // other processors take the portable road

namespace Platform::Utf::Vector {

Run<unsigned char, char16_t> ToUtf16(
    const unsigned char* source, const unsigned char*, char16_t* target, char16_t*) noexcept
{
    return {source, target};
}

Count<unsigned char> MeasureUtf16(const unsigned char* source, const unsigned char*) noexcept
{
    return {source, 0};
}

} // namespace Platform::Utf::Vector

#endif

// To UTF-8. Each char gives one to three bytes, each half of a surrogate pair two: they are worked out
// for a block of eight without a branch, and a shuffle from a table moves them together.
#include "platform/linux/text/utf_block.h"
#include "platform/linux/text/utf_scalar.h"
#include "platform/linux/text/utf_vector.h"

#ifdef __x86_64__

#include <bit>
#include <iterator>
#include <type_traits>

namespace Platform::Utf::Vector {

namespace {

constexpr std::ptrdiff_t blockChars = 8;
constexpr std::ptrdiff_t strideChars = 32; // what is looked at together for what it holds
constexpr std::ptrdiff_t overwrittenByBlock = 28; // the second store begins at most 12 bytes behind the first
constexpr std::ptrdiff_t overwrittenByStride = 3 * (strideChars - blockChars) + overwrittenByBlock;

// For a mask of chars of one byte: the two bytes of each other char, which lie backwards, and the one of
// those, moved together.
alignas(blockBytes) constexpr auto pairShuffles = [] {
    std::array<Shuffle, 256> shuffles{};
    for (unsigned ones = 0; ones < 256; ++ones) {
        unsigned next = 0;
        for (unsigned place = 0; place < 8; ++place) {
            if ((ones >> place & 1) == 0)
                shuffles[ones][next++] = static_cast<unsigned char>(2 * place + 1);
            shuffles[ones][next++] = static_cast<unsigned char>(2 * place);
        }
    }
    return shuffles;
}();

// For a mask with two bits for each of four chars, 0 for one byte, 1 for two, 3 for three: the bytes of
// the chars, which lie backwards in four bytes each, moved together.
alignas(blockBytes) constexpr auto tripleShuffles = [] {
    std::array<Shuffle, 256> shuffles{};
    for (unsigned sizes = 0; sizes < 256; ++sizes) {
        unsigned next = 0;
        for (unsigned place = 0; place < 4; ++place)
            for (int byte = std::popcount(sizes >> 2 * place & 3); byte >= 0; --byte)
                shuffles[sizes][next++] = static_cast<unsigned char>(4 * place + static_cast<unsigned>(byte));
    }
    return shuffles;
}();

inline __m128i IsBelow(__m128i chars, unsigned limit) noexcept
{
    return _mm_cmpeq_epi16(_mm_subs_epu16(chars, FillChars(limit - 1)), _mm_setzero_si128());
}

inline __m128i HasTopBits(__m128i chars, unsigned mask, unsigned bits) noexcept
{
    return _mm_cmpeq_epi16(_mm_and_si128(chars, FillChars(mask)), FillChars(bits));
}

// What a block holds, by its longest characters. Each kind includes those before, and each is cheaper to
// convert than the next.
enum class Kind {
    Ascii,
    TwoBytes,
    ThreeBytes,
    Pairs, // of surrogates, or halves of them
};

inline __m128i IsSurrogate(__m128i chars) noexcept
{
    return HasTopBits(chars, 0xF800, 0xD800);
}

// `all` has the bits of all chars, `surrogates` is not zero where one of them is half of a pair.
inline Kind KindOf(__m128i all, __m128i surrogates) noexcept
{
    if (IsAllZero(_mm_and_si128(all, FillChars(0xFF80))))
        return Kind::Ascii;
    if (IsAllZero(_mm_and_si128(all, FillChars(0xF800))))
        return Kind::TwoBytes;
    return Mask(surrogates) == 0 ? Kind::ThreeBytes : Kind::Pairs;
}

// The bytes that the chars of a block give: two each, the later one below the earlier, and one that
// stands before them. `sizes` has two bits for each char, as the shuffles have them. `unpaired` is not
// zero where half of a pair lacks the other.
struct SplitBytes {
    __m128i lastTwo;
    __m128i top;
    unsigned sizes;
    __m128i unpaired;
};

// The last byte of each char and, above it, the one before.
inline __m128i LastTwoBytes(__m128i chars, __m128i isOne, __m128i middleMark) noexcept
{
    const __m128i six = _mm_or_si128(_mm_and_si128(chars, FillChars(0x3F)), FillChars(0x80));
    const __m128i middle = _mm_and_si128(_mm_slli_epi16(chars, 2), FillChars(0x3F00));
    return _mm_or_si128(Choose(isOne, chars, six), _mm_or_si128(middle, middleMark));
}

inline SplitBytes BytesOf(__m128i chars, __m128i isOne, __m128i isUpToTwo) noexcept
{
    const __m128i middleMark = Choose(isUpToTwo, FillChars(0xC000), FillChars(0x8000));
    const __m128i sizes = _mm_or_si128(
        _mm_andnot_si128(isOne, FillChars(0x00FF)), _mm_andnot_si128(isUpToTwo, FillChars(0xFF00)));
    return {LastTwoBytes(chars, isOne, middleMark), _mm_or_si128(_mm_srli_epi16(chars, 12), FillChars(0xE0)),
        Mask(sizes), _mm_setzero_si128()};
}

// The same where halves of pairs are among the chars: each gives two bytes, and what the low half needs of
// the high one before it are its last two bits.
[[gnu::target("ssse3,popcnt")]] inline SplitBytes BytesWithPairs(__m128i chars, __m128i previous) noexcept
{
    const __m128i before = _mm_alignr_epi8(chars, previous, 14);
    const __m128i isHigh = HasTopBits(chars, 0xFC00, 0xD800);
    const __m128i isLow = HasTopBits(chars, 0xFC00, 0xDC00);
    const __m128i fromTenth = _mm_sub_epi16(chars, FillChars(0xD7C0));
    const __m128i high = _mm_or_si128(_mm_and_si128(_mm_srli_epi16(fromTenth, 2), FillChars(0x3F)),
        _mm_or_si128(_mm_and_si128(fromTenth, FillChars(0x0700)), FillChars(0xF080)));
    const __m128i own = _mm_or_si128(
        _mm_and_si128(chars, FillChars(0x3F)), _mm_and_si128(_mm_slli_epi16(chars, 2), FillChars(0x0F00)));
    const __m128i handedDown = _mm_and_si128(_mm_slli_epi16(before, 12), FillChars(0x3000));
    const __m128i low = _mm_or_si128(_mm_or_si128(own, handedDown), FillChars(0x8080));
    SplitBytes bytes =
        BytesOf(chars, IsBelow(chars, 0x80), _mm_or_si128(IsBelow(chars, 0x800), IsSurrogate(chars)));
    bytes.lastTwo = Choose(isHigh, high, Choose(isLow, low, bytes.lastTwo));
    bytes.unpaired = _mm_xor_si128(isLow, HasTopBits(before, 0xFC00, 0xD800));
    return bytes;
}

template <Kind kind>
[[gnu::target("ssse3,popcnt")]] inline SplitBytes BytesOfKind(__m128i chars, __m128i previous) noexcept
{
    if constexpr (kind == Kind::Pairs)
        return BytesWithPairs(chars, previous);
    else
        return BytesOf(chars, IsBelow(chars, 0x80), IsBelow(chars, 0x800));
}

// ---- Where the bytes go

// Room is asked for before a block takes up to 28 places, whatever number of bytes it gives.
class Writing {
public:
    Writing(char* target, char* targetEnd) noexcept : next(target), end(targetEnd) { }

    bool HasRoom(std::ptrdiff_t bytes) const noexcept { return end - next >= bytes; }
    char* Next() const noexcept { return next; }
    void TakeBack(std::ptrdiff_t bytes) noexcept { next -= bytes; }
    bool Copy(const char* bytes, std::ptrdiff_t count) noexcept
    {
        if (!HasRoom(count))
            return false;
        StoreShort(next, bytes, static_cast<std::size_t>(count));
        next += count;
        return true;
    }

    void TakeAscii(__m128i chars, __m128i following) noexcept
    {
        Store(next, _mm_packus_epi16(chars, following));
        next += 2 * blockChars;
    }

    void TakeAscii(const char16_t* source, const FourBlocks& blocks) noexcept
    {
        const auto narrow = [this, source](std::ptrdiff_t place) {
            const __m128i block = Load(source + place);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(next + place), _mm_packus_epi16(block, block));
        };
        narrow(0);
        narrow(blocks.second);
        narrow(blocks.third);
        narrow(blocks.last);
        next += blocks.last + blockChars;
    }

    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void TakeTwoBytes(__m128i chars) noexcept
    {
        const __m128i isOne = IsBelow(chars, 0x80);
        const unsigned ones = Mask(_mm_packs_epi16(isOne, _mm_setzero_si128()));
        Store(next,
            _mm_shuffle_epi8(LastTwoBytes(chars, isOne, FillChars(0xC000)), LoadTable(pairShuffles[ones])));
        next += 2 * blockChars - std::popcount(ones);
    }

    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void Take(const SplitBytes& bytes) noexcept
    {
        const unsigned first = bytes.sizes & 0xFF;
        const unsigned second = bytes.sizes >> 8;
        Store(next,
            _mm_shuffle_epi8(_mm_unpacklo_epi16(bytes.lastTwo, bytes.top), LoadTable(tripleShuffles[first])));
        next += 4 + std::popcount(first);
        Store(next,
            _mm_shuffle_epi8(
                _mm_unpackhi_epi16(bytes.lastTwo, bytes.top), LoadTable(tripleShuffles[second])));
        next += 4 + std::popcount(second);
    }

private:
    char* next;
    char* end;
};

class Counting {
public:
    bool HasRoom(std::ptrdiff_t) const noexcept { return true; }
    std::size_t Units() const noexcept { return units; }
    void TakeBack(std::ptrdiff_t bytes) noexcept { units -= static_cast<std::size_t>(bytes); }

    void TakeAscii(__m128i, __m128i) noexcept { units += 2 * blockChars; }
    void TakeAscii(const char16_t*, const FourBlocks& blocks) noexcept
    {
        units += static_cast<std::size_t>(blocks.last + blockChars);
    }

    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void TakeTwoBytes(__m128i chars) noexcept
    {
        units += 2 * blockChars - static_cast<std::size_t>(std::popcount(Mask(IsBelow(chars, 0x80)))) / 2;
    }
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void Take(const SplitBytes& bytes) noexcept
    {
        units += blockChars + static_cast<std::size_t>(std::popcount(bytes.sizes));
    }

private:
    std::size_t units = 0;
};

// ---- The walk through the source

template <class Sink>
class Reader {
public:
    Reader(const char16_t* source, const char16_t* sourceEnd, Sink& target) noexcept
        : start(source), next(source), end(sourceEnd), previous(_mm_setzero_si128()), sink(target)
    {
    }

    // Takes all that is valid and whole, and gives what is left.
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline const char16_t* Read() noexcept
    {
        if (end - next >= blockChars && end - next <= strideChars)
            ReadShortText();
        while (end - next >= strideChars && sink.HasRoom(overwrittenByStride) && ReadStride()) { }
        while (end != next && ReadBlock()) { }
        if (next != start && IsHighSurrogate(next[-1])) { // it has given its two bytes
            --next;
            sink.TakeBack(2);
        }
        return next;
    }

private:
    // A text of one to four blocks, of which any number may be left over. Its kind is found without a loop:
    // four blocks that overlap cover every length.
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void ReadShortText() noexcept
    {
        const FourBlocks blocks(end - next - blockChars, blockChars);
        const __m128i all = _mm_or_si128(_mm_or_si128(Load(next), Load(next + blocks.second)),
            _mm_or_si128(Load(next + blocks.third), Load(next + blocks.last)));
        const Kind kind = KindOf(all, FillBytes(0xFF)); // surrogates are dealt with where they may be
        if (kind == Kind::Ascii && sink.HasRoom(end - next)) {
            sink.TakeAscii(next, blocks);
            next = end;
        } else if (kind == Kind::TwoBytes) {
            while (next != end && ReadBlockOf<Kind::TwoBytes>()) { }
        } else if (kind == Kind::Pairs) {
            while (next != end && ReadBlockOf<Kind::Pairs>()) { }
        }
    }

    // Half a pair at the end of the block before must be followed by the other half.
    bool EndsInHalf() const noexcept
    {
        return IsHighSurrogate(static_cast<std::uint32_t>(_mm_extract_epi16(previous, 7)));
    }

    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool ReadStride() noexcept
    {
        const __m128i a = Load(next);
        const __m128i b = Load(next + blockChars);
        const __m128i c = Load(next + 2 * blockChars);
        const __m128i d = Load(next + 3 * blockChars);
        const Kind kind = KindOf(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d)),
            _mm_or_si128(
                _mm_or_si128(IsSurrogate(a), IsSurrogate(b)), _mm_or_si128(IsSurrogate(c), IsSurrogate(d))));
        if (kind == Kind::Pairs)
            return ReadStrideOf<Kind::Pairs>();
        if (EndsInHalf())
            return false;
        if (kind == Kind::ThreeBytes)
            return ReadStrideOf<Kind::ThreeBytes>();
        if (kind == Kind::Ascii) {
            sink.TakeAscii(a, b);
            sink.TakeAscii(c, d);
        } else {
            sink.TakeTwoBytes(a);
            sink.TakeTwoBytes(b);
            sink.TakeTwoBytes(c);
            sink.TakeTwoBytes(d);
        }
        next += strideChars;
        previous = d;
        return true;
    }

    // False, and nothing is taken, if there is half a pair.
    template <Kind kind>
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool ReadStrideOf() noexcept
    {
        const Sink before = sink;
        __m128i earlier = previous;
        __m128i unpaired = _mm_setzero_si128();
        for (std::ptrdiff_t i = 0; i < strideChars; i += blockChars) {
            const __m128i chars = Load(next + i);
            const SplitBytes bytes = BytesOfKind<kind>(chars, earlier);
            unpaired = _mm_or_si128(unpaired, bytes.unpaired);
            sink.Take(bytes);
            earlier = chars;
        }
        if (kind == Kind::Pairs && !IsAllZero(unpaired)) {
            sink = before;
            return false;
        }
        next += strideChars;
        previous = earlier;
        return true;
    }

    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline __m128i NextBlock() const noexcept
    {
        const auto bytes = [](const char16_t* at) { return reinterpret_cast<const unsigned char*>(at); };
        return end - next >= blockChars ? Load(next) : LoadLast(bytes(start), bytes(next), bytes(end));
    }

    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool ReadBlock() noexcept
    {
        const Kind kind = KindOf(NextBlock(), FillBytes(0xFF)); // surrogates are dealt with where they may be
        if (kind == Kind::Pairs)
            return ReadBlockOf<Kind::Pairs>();
        if (EndsInHalf())
            return false;
        return kind == Kind::Ascii ? ReadBlockOf<Kind::Ascii>() : ReadBlockOf<Kind::TwoBytes>();
    }

    // False if half a pair is in it, or no room for it. The last block has zeros behind the source's end,
    // each of which gives a byte.
    template <Kind kind>
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool ReadBlockOf() noexcept
    {
        const __m128i chars = NextBlock();
        const std::ptrdiff_t taken = end - next < blockChars ? end - next : blockChars;
        const std::ptrdiff_t zeros = blockChars - taken;
        if (sink.HasRoom(overwrittenByBlock)) {
            if (!TakeBlock<kind>(chars, sink))
                return false;
            sink.TakeBack(zeros);
        } else if constexpr (std::is_same_v<Sink, Writing>) {
            char aside[overwrittenByBlock + 4]{};
            Writing writing(aside, std::end(aside));
            if (!TakeBlock<kind>(chars, writing) || !sink.Copy(aside, writing.Next() - aside - zeros))
                return false;
        }
        next += taken;
        previous = chars;
        return true;
    }

    template <Kind kind>
    [[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool TakeBlock(
        __m128i chars, Sink& target) noexcept
    {
        if constexpr (kind == Kind::Ascii) {
            target.TakeAscii(chars, chars);
            target.TakeBack(blockChars);
        } else if constexpr (kind == Kind::TwoBytes) {
            target.TakeTwoBytes(chars);
        } else {
            const SplitBytes bytes = BytesWithPairs(chars, previous);
            if (!IsAllZero(bytes.unpaired))
                return false;
            target.Take(bytes);
        }
        return true;
    }

    const char16_t* start;
    const char16_t* next;
    const char16_t* end;
    __m128i previous; // the block before `next`
    Sink& sink;
};

[[gnu::target("ssse3,popcnt")]] Run<char16_t, char> Convert(
    const char16_t* source, const char16_t* sourceEnd, char* target, char* targetEnd) noexcept
{
    Writing writing(target, targetEnd);
    const char16_t* const rest = Reader<Writing>(source, sourceEnd, writing).Read();
    return {rest, writing.Next()};
}

[[gnu::target("ssse3,popcnt")]] Count<char16_t> Measure(
    const char16_t* source, const char16_t* sourceEnd) noexcept
{
    Counting counting;
    const char16_t* const rest = Reader<Counting>(source, sourceEnd, counting).Read();
    return {rest, counting.Units()};
}

} // namespace

Run<char16_t, char> ToUtf8(
    const char16_t* source, const char16_t* sourceEnd, char* target, char* targetEnd) noexcept
{
    if (!IsSupported())
        return {source, target};
    return Convert(source, sourceEnd, target, targetEnd);
}

Count<char16_t> MeasureUtf8(const char16_t* source, const char16_t* sourceEnd) noexcept
{
    if (!IsSupported())
        return {source, 0};
    return Measure(source, sourceEnd);
}

} // namespace Platform::Utf::Vector

#else // other processors take the portable road

namespace Platform::Utf::Vector {

Run<char16_t, char> ToUtf8(const char16_t* source, const char16_t*, char* target, char*) noexcept
{
    return {source, target};
}

Count<char16_t> MeasureUtf8(const char16_t* source, const char16_t*) noexcept
{
    return {source, 0};
}

} // namespace Platform::Utf::Vector

#endif

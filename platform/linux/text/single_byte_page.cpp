// The code pages in which each character is one byte, and the lower half is ASCII.
#include "platform/linux/text/code_page.h"
#include "platform/linux/text/single_byte_tables.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace Platform::CodePages {

namespace {

using namespace SingleByteTables;

constexpr char16_t undefined = 0xFFFD;

struct Pair {
    char16_t unit;
    unsigned char byte;
};
using PairsByUnit = std::array<Pair, 128>;

constexpr std::array<PairsByUnit, std::size(upperHalves)> MakePairs()
{
    std::array<PairsByUnit, std::size(upperHalves)> pages{};
    for (std::size_t page = 0; page < pages.size(); ++page) {
        for (std::size_t i = 0; i < 128; ++i)
            pages[page][i] = {upperHalves[page][i], static_cast<unsigned char>(0x80 + i)};
        std::sort(pages[page].begin(), pages[page].end(), [](Pair a, Pair b) { return a.unit < b.unit; });
    }
    return pages;
}

constexpr auto pairsByUnit = MakePairs();

// The byte of a char, -1 if the page has none.
int ByteOf(const PairsByUnit& pairs, char16_t unit) noexcept
{
    if (unit < 0x80)
        return unit;
    const auto* const found = std::lower_bound(
        pairs.begin(), pairs.end(), unit, [](Pair pair, char16_t sought) { return pair.unit < sought; });
    return found != pairs.end() && found->unit == unit && unit != undefined ? found->byte : -1;
}

} // namespace

bool IsSingleBytePage(std::uint32_t codePage) noexcept
{
    return codePage >= firstPage && codePage - firstPage < std::size(upperHalves);
}

Conversion FromSingleBytePage(std::uint32_t codePage, Bytes source, Target<char16_t> target) noexcept
{
    const char16_t* const upperHalf = upperHalves[codePage - firstPage];
    if (target.start != nullptr && source.count > target.capacity)
        return {Outcome::TooSmall, 0};
    for (std::size_t i = 0; i < source.count; ++i) {
        const auto byte = static_cast<unsigned char>(source.start[i]);
        const char16_t unit = byte < 0x80 ? byte : upperHalf[byte - 0x80];
        if (target.strict && unit == undefined)
            return {Outcome::Untranslatable, 0};
        if (target.start != nullptr)
            target.start[i] = unit;
    }
    return {Outcome::Done, source.count};
}

Conversion ToSingleBytePage(std::uint32_t codePage, Chars source, Target<char> target) noexcept
{
    const PairsByUnit& pairs = pairsByUnit[codePage - firstPage];
    std::size_t written = 0;
    for (std::size_t i = 0; i < source.count; ++i) {
        const char16_t unit = source.start[i];
        const int byte = ByteOf(pairs, unit);
        if (target.strict && byte < 0)
            return {Outcome::Untranslatable, 0};
        const bool isPair =
            (unit & 0xFC00) == 0xD800 && i + 1 < source.count && (source.start[i + 1] & 0xFC00) == 0xDC00;
        i += isPair ? 1 : 0; // one '?' for the two
        if (target.start != nullptr) {
            if (written == target.capacity)
                return {Outcome::TooSmall, 0};
            target.start[written] = static_cast<char>(byte < 0 ? '?' : byte);
        }
        ++written;
    }
    return {Outcome::Done, written};
}

} // namespace Platform::CodePages

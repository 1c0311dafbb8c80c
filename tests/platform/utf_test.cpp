#include "platform/linux/text/utf.h"
#include "platform/text.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <memory>
#include <random>

using namespace Platform;
using namespace std::string_literals;

namespace {

// ---- The judge: well-formed sequences as the Unicode Standard lists them (table 3-7), one row a line: the
// ranges of the first byte and of the second, and how many follow the first.

struct WellFormed {
    int first[2], second[2];
    std::size_t following;
};
constexpr WellFormed wellFormed[] = {{{0x00, 0x7F}, {}, 0}, {{0xC2, 0xDF}, {0x80, 0xBF}, 1},
    {{0xE0, 0xE0}, {0xA0, 0xBF}, 2}, {{0xE1, 0xEC}, {0x80, 0xBF}, 2}, {{0xED, 0xED}, {0x80, 0x9F}, 2},
    {{0xEE, 0xEF}, {0x80, 0xBF}, 2}, {{0xF0, 0xF0}, {0x90, 0xBF}, 3}, {{0xF1, 0xF3}, {0x80, 0xBF}, 3},
    {{0xF4, 0xF4}, {0x80, 0x8F}, 3}};

std::u32string Decoded(const std::string& text)
{
    std::u32string codes;
    std::size_t place = 0;
    const auto isNext = [&](const int(&range)[2]) {
        const int byte = place < text.size() ? static_cast<unsigned char>(text[place]) : -1;
        return byte >= range[0] && byte <= range[1];
    };
    while (place < text.size()) {
        const auto* const row = std::find_if(std::begin(wellFormed), std::end(wellFormed),
            [&](const WellFormed& candidate) { return isNext(candidate.first); });
        const std::size_t following = row == std::end(wellFormed) ? 0 : row->following;
        char32_t code =
            static_cast<unsigned char>(text[place++]) & (following == 0 ? 0x7F : 0x3F >> following);
        std::size_t found = 0;
        for (; found < following && isNext(found == 0 ? row->second : wellFormed[1].second); ++found)
            code = code << 6 | (text[place++] & 0x3F);
        codes += row == std::end(wellFormed) || found < following ? U'\xFFFD' : code;
    }
    return codes;
}

std::u32string Decoded(const std::u16string& text)
{
    std::u32string codes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPair = text[i] >= 0xD800 && text[i] < 0xDC00 && i + 1 < text.size()
            && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
        const bool isHalf = text[i] >= 0xD800 && text[i] < 0xE000;
        if (isPair)
            codes += static_cast<char32_t>(0x10000 + (text[i] - 0xD800) * 0x400 + (text[i + 1] - 0xDC00));
        else
            codes += isHalf ? U'\xFFFD' : static_cast<char32_t>(text[i]);
        i += isPair ? 1 : 0;
    }
    return codes;
}

// The C library's encoder, which knows nothing of what is invalid here.
template <class Text>
Text Encoded(const std::u32string& codes)
{
    static const iconv_t descriptor = iconv_open(sizeof(Text{}[0]) == 1 ? "UTF-8" : "UTF-16LE", "UTF-32LE");
    Text text(4 * codes.size() + 1, 0);
    char* source = const_cast<char*>(reinterpret_cast<const char*>(codes.data()));
    char* target = reinterpret_cast<char*>(text.data());
    std::size_t sourceBytes = 4 * codes.size();
    std::size_t room = text.size() * sizeof(text[0]);
    EXPECT_NE(iconv(descriptor, &source, &sourceBytes, &target, &room), static_cast<std::size_t>(-1));
    text.resize(text.size() - room / sizeof(text[0]));
    return text;
}

// ---- The code under test, on a source that ends where its memory ends

template <class To, class From>
Utf::Conversion Convert(const From* source, std::size_t units, To* target, std::size_t room, Utf::Road road)
{
    if constexpr (sizeof(From) == 1)
        return target == nullptr ? Utf::MeasureUtf16(source, units, road)
                                 : Utf::ToUtf16(source, units, target, room, road);
    else
        return target == nullptr ? Utf::MeasureUtf8(source, units, road)
                                 : Utf::ToUtf8(source, units, target, room, road);
}

// By the road of the library's own strings, which grow as they go.
template <class To, class From>
std::basic_string<To> Whole(const std::basic_string<From>& text)
{
    std::basic_string<To> converted;
    const auto grow = [&converted](std::size_t units, std::size_t kept) {
        std::basic_string<To> larger(units, '?');
        std::copy_n(converted.begin(), kept, larger.begin());
        converted = larger;
        return converted.data();
    };
    converted.resize(ConvertUtfWhole<To>(text.data(), text.size(), grow));
    return converted;
}

// Converts the text by both roads, into all the room that it needs, into more, and into less by so much.
template <class To, class From>
void ExpectConversion(const std::basic_string<From>& text, std::size_t less)
{
    const auto expected = Encoded<std::basic_string<To>>(Decoded(text));
    const std::size_t rooms[] = {
        expected.size(), expected.size() + 40, expected.size() - std::min(less, expected.size())};
    ASSERT_TRUE(Whole<To>(text) == expected) << testing::PrintToString(text);
    const auto source = std::make_unique<From[]>(text.size());
    std::copy(text.begin(), text.end(), source.get());
    for (const Utf::Road road : {Utf::Road::Fastest, Utf::Road::Portable}) {
        ASSERT_EQ(Convert<To>(source.get(), text.size(), nullptr, 0, road).written, expected.size())
            << testing::PrintToString(text);
        for (const std::size_t room : rooms) {
            const auto target = std::make_unique<To[]>(room);
            const Utf::Conversion done = Convert(source.get(), text.size(), target.get(), room, road);
            ASSERT_EQ(expected.compare(0, done.written, target.get(), done.written), 0)
                << testing::PrintToString(text);
            ASSERT_EQ(done.read == text.size(), room >= expected.size()) << testing::PrintToString(text);
            if (room < expected.size()) { // what is left is what did not fit: the next character, whole
                ASSERT_TRUE(Encoded<std::basic_string<To>>(Decoded(text.substr(done.read)))
                    == expected.substr(done.written))
                    << testing::PrintToString(text);
                ASSERT_LT(room - done.written, 4U) << testing::PrintToString(text);
            }
        }
    }
}

constexpr char32_t edges[] = {0, 'a', 'z', 0x7F, 0x80, 0xE9, 0x3B1, 0x7FF, 0x800, 0x4E2D, 0xD7FF, 0xE000,
    0xFFFD, 0xFFFF, 0x10000, 0x1F600, 0x10FFFF};

// Characters mostly of one length, as in real text, with some of another.
std::u32string RandomText(std::mt19937& random)
{
    const std::size_t first = random() % std::size(edges);
    std::u32string text;
    for (unsigned left = random() % (random() % 16 == 0 ? 1500 : 200); left > 0; --left)
        text += edges[random() % 8 == 0 ? random() % std::size(edges)
                                        : (first + random() % 3) % std::size(edges)];
    return text;
}

// Puts, inserts or takes out at most three times.
template <class Text>
void Spoil(Text& text, const Text& units, std::mt19937& random)
{
    for (unsigned left = random() % 4; left > 0 && !text.empty(); --left)
        text.replace(random() % text.size(), random() % 3, random() % 2, units[random() % units.size()]);
}

} // namespace

TEST(Utf8, KnowsEverySequenceOfUpToFourBytes)
{
    // Every byte at which a rule changes, in all orders.
    constexpr unsigned char bytes[] = {0x00, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2, 0xDF,
        0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFF};
    std::string packed; // what only differs in its surroundings, in one long text
    for (const unsigned char a : bytes)
        for (const unsigned char b : bytes)
            for (const unsigned char c : bytes)
                for (const unsigned char d : bytes)
                    packed.append({static_cast<char>(a), static_cast<char>(b), static_cast<char>(c),
                        static_cast<char>(d), 'x', 'y', 'z'});
    ExpectConversion<char16_t>(packed, 1);
}

TEST(Utf, IsConvertedLikeByTheJudgeWhateverItHolds)
{
    const std::string bytes = "a\x80\xBF\xC3\xE4\xED\xF0\xF4\xFF\xA0";
    const std::u16string units = {u'a', 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE9, 0x4E2D};
    std::mt19937 random(1);
    for (int i = 0; i < 10'000; ++i) {
        const std::u32string text = RandomText(random);
        std::string narrow = Encoded<std::string>(text);
        Spoil(narrow, bytes, random);
        ExpectConversion<char16_t>(narrow, 1 + random() % 80);
        std::u16string wide = Encoded<std::u16string>(text);
        Spoil(wide, units, random);
        ExpectConversion<char>(wide, 1 + random() % 80);
    }
}

TEST(Utf, GivesEveryCharacterBack)
{
    std::u32string text;
    for (char32_t code = 0; code <= 0x10FFFF; code += code == 0xD7FF ? 0x801 : 1)
        text += code;
    ExpectConversion<char16_t>(Encoded<std::string>(text), 1);
    ExpectConversion<char>(Encoded<std::u16string>(text), 1);
    EXPECT_EQ(Decoded(Encoded<std::string>(text)), text);
    for (const std::size_t length : {256U, 257U}) // what the stack holds, and one more
        ExpectConversion<char>(std::u16string(length, u'\x4E2D'), 1);
    EXPECT_EQ(_mbslen("a\xC3\xA9\xF0\x9F\x98\x80\xFF"), 5U); // the char and both halves, and U+FFFD
}

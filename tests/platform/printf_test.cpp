#include "platform/text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>

using namespace Platform;
using namespace std::string_literals;

namespace {

constexpr const char* refused = "(refused)";

// Measures, then formats into exactly that much room, and into half of it.
template <class Char>
std::basic_string<Char> Formatted(const Char* format, std::va_list arguments)
{
    const int length = FormatPrintf(static_cast<Char*>(nullptr), 0, format, arguments);
    if (length < 0)
        return std::basic_string<Char>(refused, refused + std::strlen(refused));
    std::basic_string<Char> texts[2];
    for (std::size_t i = 0; i < 2; ++i) {
        const std::size_t room = static_cast<std::size_t>(length) / (2 - i) + 1;
        const auto buffer = std::make_unique<Char[]>(room);
        EXPECT_EQ(FormatPrintf(buffer.get(), room, format, arguments), length);
        EXPECT_EQ(buffer[room - 1], Char{});
        texts[i].assign(buffer.get(), room - 1);
    }
    EXPECT_TRUE(texts[1].starts_with(texts[0]));
    return texts[1];
}

std::string Narrow(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = Formatted(format, arguments);
    va_end(arguments);
    return text;
}

std::string Wide(const char16_t* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const std::u16string text = Formatted(format, arguments);
    va_end(arguments);
    std::string narrow(Utf16ToUtf8Length(text.data(), text.size()), '\0');
    Utf16ToUtf8(text.data(), text.size(), narrow.data(), narrow.size());
    return narrow;
}

// The same conversion by the C library, by the narrow engine, and by the wide one.
template <class Argument>
void ExpectAsInC(const std::string& format, Argument argument)
{
    char expected[4000];
    const int length = std::snprintf(expected, sizeof(expected), format.c_str(), argument);
    ASSERT_LT(length, static_cast<int>(sizeof(expected)));
    EXPECT_EQ(Narrow(format.c_str(), argument), expected) << format;
    EXPECT_EQ(Wide(std::u16string(format.begin(), format.end()).c_str(), argument), expected) << format;
}

// Any flags, width and precision.
std::string RandomPart(std::mt19937& random)
{
    std::string part = "%";
    for (unsigned left = random() % 4; left > 0; --left)
        part += "-+ 0#"[random() % 5];
    if (random() % 2 == 0)
        part += std::to_string(1 + random() % 40);
    if (random() % 2 == 0)
        part += "." + (random() % 8 == 0 ? ""s : std::to_string(random() % 40));
    return part;
}

} // namespace

TEST(Printf, ConvertsIntegersAsCDoes)
{
    const char* const longPrefixes[] = {"ll", "j", "z", "t"};
    std::mt19937_64 random(1);
    std::mt19937 shape(1);
    for (int i = 0; i < 20000; ++i) {
        const auto value = static_cast<long long>(random() >> random() % 64) * (i % 3 - 1);
        const char type = "diuoxX"[shape() % 6];
        const std::string part = RandomPart(shape);
        ExpectAsInC(part + longPrefixes[shape() % 4] + type, value);
        ExpectAsInC(part + std::string(shape() % 3, 'h') + type, static_cast<int>(value));
    }
    for (const char* const format : {"%lld", "%llu", "%llx", "%.0lld", "%#llo"})
        for (const long long value : {LLONG_MIN, LLONG_MAX, -1LL, 0LL})
            ExpectAsInC(format, value);
}

TEST(Printf, ConvertsFloatingPointAsCDoes)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double limits[] = {0.0, -0.0, 0.5, 1.5, 2.5, 9.5, 9.9999995, 99999.95, 1e-5, 0.0001, 123456789.0,
        1e22, 1e23, 5e-324, 2.2250738585072014e-308, std::numeric_limits<double>::max(), infinity, -infinity};
    std::mt19937_64 random(2);
    std::mt19937 shape(2);
    for (int i = 0; i < 20000; ++i) {
        double value = limits[static_cast<std::size_t>(i) % std::size(limits)];
        const std::uint64_t bits = random();
        if (i % 3 == 1)
            value = static_cast<double>(static_cast<std::int64_t>(bits)) / std::pow(10.0, shape() % 40);
        if (i % 3 == 2)
            std::memcpy(&value, &bits, sizeof(value));
        if (std::isnan(value))
            continue;
        ExpectAsInC(RandomPart(shape) + "eEfFgG"[shape() % 6], value);
        if (std::isnormal(value))
            ExpectAsInC("%+#30." + std::to_string(shape() % 20) + "aA"[shape() % 2], value);
    }
    for (const char* const format : {"%.1074f", "%.800e", "%.1100g", "%#.1100g", "%.2000f", "%#.1500e"})
        for (const double value : {5e-324, 1.0 / 3, std::numeric_limits<double>::max()})
            ExpectAsInC(format, value);
}

TEST(Printf, DiffersFromCWhereTheDialectDoes)
{
    const double indefinite = -std::numeric_limits<double>::quiet_NaN();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::pair<std::string, const char*> cases[] = {// l is 32 bits, I 64
        {Narrow("%ld %lx", 0x1'0000'0002LL, 0x1'0000'000FLL), "2 f"},
        {Narrow("%I32d %I64d %Id %Iu", -1, 0x1'0000'0000LL, -1LL, 1LL), "-1 4294967296 -1 1"},
        // a pointer is 16 digits
        {Narrow("%p|%20p|%-20p|", reinterpret_cast<void*>(0xAB), nullptr, nullptr),
            "00000000000000AB|    0000000000000000|0000000000000000    |"},
        // zeros fill up texts too
        {Narrow("%05s|%-05s|%05c", "ab", "ab", 'c'), "000ab|ab   |0000c"},
        // what is no number
        {Narrow("%f %F %5.1e %05g", nan, nan, indefinite, nan), "nan NAN -nan(ind)   nan"},
        {Narrow("%a %A %.0a %#.0a", 1.0, -0.1, 1.5, 1.0),
            "0x1.0000000000000p+0 -0X1.999999999999AP-4 0x2p+0 0x1.p+0"},
        {Narrow("%a %.3a", 5e-324, 0.0), "0x0.0000000000001p-1022 0x0.000p+0"},
        {Narrow("%Lf %.3Lg", 0.5L, 1e100L), "0.500000 1e+100"},
        // what there is not
        {Narrow("%n", nullptr), refused}, {Narrow("%y"), refused}, {Narrow("%-5"), refused},
        {Narrow("%99999999999d", 1), refused}, {Narrow("%.2147483648d", 1), refused}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(text, expected);
}

TEST(Printf, TakesTextOfBothWidths)
{
    const COUNTED_STRING narrowCounted{3, 3, "\u00E9x!"};
    const COUNTED_STRING wideCounted{4, 4, u"\u00E9x!"};
    const COUNTED_STRING empty{0, 0, nullptr};
    const std::pair<std::string, const char*> cases[] = {
        {Narrow("%s %S %hs %ls %ws", "a", u"\u00E9", "b", u"\u4E2D", u"c"), "a \u00E9 b \u4E2D c"},
        {Wide(u"%s %S %hs %ls %ws", u"a", "\u00E9", "b", u"\u4E2D", u"c"), "a \u00E9 b \u4E2D c"},
        {Narrow("%c%C%hc%lc%C", 'a', u'\u00E9', 'b', u'\u4E2D', 0xD800), "a\u00E9b\u4E2D\uFFFD"},
        {Wide(u"%c%C%hc%lc%C", u'\u00E9', 'a', 'b', u'\u4E2D', 0xE9), "\u00E9ab\u4E2D\uFFFD"},
        {Narrow("%Z|%wZ|%.2wZ|%Z|%5Z", &narrowCounted, &wideCounted, &wideCounted, &empty, nullptr),
            "\u00E9x|\u00E9x|\u00E9x|(null)|(null)"},
        {Wide(u"%Z|%lZ", &narrowCounted, &wideCounted), "\u00E9x|\u00E9x"},
        {Narrow("%s|%S|%.3s|%8ls", nullptr, nullptr, nullptr, nullptr), "(null)|(null)|(nu|  (null)"},
        // widths count the units of the result
        {Narrow("%4S|%-4S|%4ls|", u"\u00E9", u"\u00E9", u"\u4E2Dab"), "  \u00E9|\u00E9  |\u4E2Dab|"},
        {Wide(u"%4S|%-4S|", "\u00E9", "\U0001F600"), "   \u00E9|\U0001F600  |"},
        // precisions count units of the source, and what is converted is never cut in half
        {Narrow("%.1S|%.1S|%.2S|%.0S|", u"\U0001F600", u"\u4E2Da", u"\U0001F600", u"a"),
            "|\u4E2D|\U0001F600||"},
        {Wide(u"%.3S|%.4S|%.2S|%.4S|%.1S|", "\U0001F600", "\U0001F600", "a\u00E9", "a\u4E2Db", "\xFF"),
            "|\U0001F600|a|a\u4E2D|\uFFFD|"},
        {Narrow("%.*s|%*d|%-*d|%*d|%.*d", -1, "abc", 4, 1, 4, 1, -4, 1, -7, 5), "abc|   1|1   |1   |5"},
        {Narrow("100%% %d", 5), "100% 5"}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(text, expected);
}

TEST(Printf, ReadsNoTextBeyondItsPrecision)
{
    const std::vector<char> narrow(300, 'a');
    const std::vector<char16_t> wide(300, u'a');
    EXPECT_EQ(Narrow("%.300s%.*ls", narrow.data(), 300, wide.data()).size(), 600U);
    EXPECT_EQ(Wide(u"%.300s%.300hs%.0s", wide.data(), narrow.data(), nullptr).size(), 600U);
}

TEST(Printf, CountsHostileWidthsAndWritesNone)
{
    const auto length = [](const char* format, ...) {
        std::va_list arguments;
        va_start(arguments, format);
        char text[8] = "unknown";
        const int result = FormatPrintf(text, sizeof(text), format, arguments);
        va_end(arguments);
        EXPECT_EQ(std::strlen(text), result < 0 ? 0U : 7U);
        return result;
    };
    EXPECT_EQ(length("%2147483647d", 1), INT_MAX);
    EXPECT_EQ(length("%2147483647d%d", 1, 1), -1);
    EXPECT_EQ(length("%.2147483647d", 1), INT_MAX);
    EXPECT_EQ(length("%.2147483647f", 1e3), -1);
    EXPECT_EQ(length("%.2147483600f", 1e-300), INT_MAX - 45);
    EXPECT_EQ(length("%*d", INT_MIN, 1), -1);
    EXPECT_EQ(length("%2147483647s%2147483647s%2147483647s%2147483647s", "", "", "", ""), -1);
    EXPECT_EQ(length("%-2147483647.1S", u"ab"), INT_MAX);
}

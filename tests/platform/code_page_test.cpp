#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/linux/seam.h"
#include "platform/text.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <cerrno>
#include <climits>
#include <string>

using namespace Platform;
using namespace std::string_literals;

namespace {

std::u16string ToWide(std::uint32_t codePage, const std::string& text)
{
    const int bytes = static_cast<int>(text.size());
    const int chars = MultiByteToWideChar(codePage, 0, text.data(), bytes, nullptr, 0);
    std::u16string wide(static_cast<std::size_t>(chars), u'\0');
    EXPECT_EQ(MultiByteToWideChar(codePage, 0, text.data(), bytes, wide.data(), chars), chars);
    return wide;
}

std::string ToBytes(std::uint32_t codePage, const std::u16string& text)
{
    const int chars = static_cast<int>(text.size());
    const int bytes = WideCharToMultiByte(codePage, 0, text.data(), chars, nullptr, 0);
    std::string narrow(static_cast<std::size_t>(bytes), '\0');
    EXPECT_EQ(WideCharToMultiByte(codePage, 0, text.data(), chars, narrow.data(), bytes), bytes);
    return narrow;
}

} // namespace

TEST(CodePage, OfOneByteAgreesWithTheLibraryInEachByte)
{
    for (std::uint32_t page = 1250; page <= 1258; ++page) {
        EXPECT_TRUE(IsValidCodePage(page));
        const iconv_t descriptor = iconv_open("UTF-16LE", ("CP" + std::to_string(page)).c_str());
        for (int byte = 0; byte < 256; ++byte) {
            std::string text(1, static_cast<char>(byte));
            std::u16string expected = u"\xFFFD"; // for none
            char* ends[] = {text.data(), reinterpret_cast<char*>(expected.data())};
            std::size_t lefts[] = {1, 2};
            iconv(descriptor, &ends[0], &lefts[0], &ends[1], &lefts[1]);
            iconv(descriptor, nullptr, nullptr, &ends[1], &lefts[1]); // what it puts back behind a shift
            EXPECT_EQ(ToWide(page, text), expected) << page << " " << byte;
            EXPECT_EQ(ToBytes(page, expected), expected == u"\xFFFD" ? "?" : text) << page << " " << byte;
        }
        iconv_close(descriptor);
    }
}

TEST(CodePage, IsFoundUnderTheSystemsNumber)
{
    const std::tuple<std::uint32_t, const char16_t*, std::string> cases[] = {
        {0, u"a\xE9\x4E2D\xD83D\xDE00", "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80"},
        {65001, u"a\xE9", "a\xC3\xA9"}, {1252, u"\x20AC\xE9", "\x80\xE9"}, {437, u"\xE9", "\x82"},
        {932, u"\x65E5\xFF71", "\x93\xFA\xB1"}, {936, u"\x4E2D", "\xD6\xD0"}, {949, u"\xD55C", "\xC7\xD1"},
        {950, u"\x4E2D", "\xA4\xA4"}, {20127, u"a", "a"}, {20866, u"\x430", "\xC1"},
        {28605, u"\x20AC", "\xA4"},
        {50220, u"a\x65E5", "a\x1B$BF|\x1B(B"}, // it ends in the shift state in which it began
        {54936, u"\xD83D\xDE00", "\x94\x39\xFC\x36"}, {37, u"A", "\xC1"}};
    for (const auto& [page, wide, bytes] : cases) {
        EXPECT_TRUE(IsValidCodePage(page)) << page;
        EXPECT_EQ(ToBytes(page, wide), bytes) << page;
        EXPECT_EQ(ToWide(page, bytes), wide) << page;
    }
    for (const std::uint32_t page : {1U, 1200U, 1201U, 1249U, 1259U, 12000U, 99999U, UINT_MAX})
        EXPECT_FALSE(IsValidCodePage(page)) << page;
}

TEST(CodePage, PutsAReplacementForWhatItLacks)
{
    const std::tuple<std::uint32_t, std::u16string, const char*> toBytes[] = {
        {1252, u"\x4E2D\xD83D\xDE00x\xD83D", "??x?"}, // one for a pair, one for half of it
        {932, u"\xE9\x65E5\xD83D\xDE00\xDE00", "?\x93\xFA??"},
        {50220, u"\x65E5\xD55Cz", "\x1B$BF|\x1B(B?z"}, // in the shift state of ASCII
        {65001, u"\xD83Dx\xDE00", "\xEF\xBF\xBDx\xEF\xBF\xBD"}};
    for (const auto& [page, wide, bytes] : toBytes)
        EXPECT_EQ(ToBytes(page, wide), bytes) << page;
    EXPECT_EQ(ToWide(1253, "a\xD2z"), u"a\xFFFDz");
    EXPECT_EQ(ToWide(932, "a\x93"), u"a\xFFFD"); // only the first of two bytes
    EXPECT_EQ(ToWide(65001, "a\xE4\xB8z"), u"a\xFFFDz");
    char bytes[4];
    EXPECT_EQ(WideCharToMultiByte(932, 0, u"abc", -1, bytes, 4), 4) << "with the terminator";
}

TEST(CodePage, ConvertsTextsLongerThanItsOwnBlocks)
{
    for (const std::uint32_t page : {932U, 50220U, 54936U, 1251U, 65001U}) {
        std::u16string wide;
        for (int i = 0; i < 5000; ++i)
            wide += i % 7 == 0 ? u"a" : u"\x434";
        const std::string bytes = ToBytes(page, wide);
        EXPECT_TRUE(ToWide(page, bytes) == wide) << page;
        std::string room(bytes.size(), '\0');
        const int less = static_cast<int>(room.size()) - 1;
        SetLastError(0);
        EXPECT_EQ(WideCharToMultiByte(page, 0, wide.data(), 5000, room.data(), less), 0);
        EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER) << page;
    }
}

TEST(CodePage, SaysWhyNothingWasConverted)
{
    char16_t wide[2];
    const std::tuple<std::uint32_t, std::uint32_t, const char*, int, char16_t*, int, std::uint32_t> cases[] =
        {{0, 0, "abc", 3, wide, 2, ERROR_INSUFFICIENT_BUFFER},
            {932, 0, "abc", 3, wide, 2, ERROR_INSUFFICIENT_BUFFER},
            {0, 0, "\xF0\x9F\x98\x80", 4, wide, 1, ERROR_INSUFFICIENT_BUFFER}, // no half of a pair
            {0, MB_ERR_INVALID_CHARS, "a\xFF", 2, wide, 2, ERROR_NO_UNICODE_TRANSLATION},
            {0, MB_ERR_INVALID_CHARS, "a\xFF", 2, nullptr, 0, ERROR_NO_UNICODE_TRANSLATION},
            {932, MB_ERR_INVALID_CHARS, "\x93", 1, wide, 2, ERROR_NO_UNICODE_TRANSLATION},
            {0, 1, "a", 1, wide, 2, ERROR_INVALID_FLAGS}, {1200, 0, "a", 1, wide, 2, ERROR_INVALID_PARAMETER},
            {0, 0, nullptr, 1, wide, 2, ERROR_INVALID_PARAMETER},
            {0, 0, "a", 0, wide, 2, ERROR_INVALID_PARAMETER},
            {0, 0, "a", 1, nullptr, 2, ERROR_INVALID_PARAMETER},
            {0, 0, "a", 1, wide, -1, ERROR_INVALID_PARAMETER}};
    for (const auto& [page, flags, source, bytes, target, room, error] : cases) {
        SetLastError(0);
        EXPECT_EQ(MultiByteToWideChar(page, flags, source, bytes, target, room), 0);
        EXPECT_EQ(GetLastError(), error) << "code page " << page << ", bytes " << bytes;
    }
    char bytes[4];
    for (const std::uint32_t page : {0U, 1252U, 932U}) {
        EXPECT_EQ(WideCharToMultiByte(page, WC_ERR_INVALID_CHARS, u"\xD800", 1, bytes, 4), 0);
        EXPECT_EQ(GetLastError(), ERROR_NO_UNICODE_TRANSLATION) << page;
    }
}

#ifdef TESSEL_SEAMS
TEST(CodePage, FailsWithoutMemoryForAConverter)
{
    char16_t wide[4];
    Seam::FailNth(1, ENOMEM);
    EXPECT_EQ(MultiByteToWideChar(932, 0, "abc", 3, wide, 4), 0);
    EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(MultiByteToWideChar(932, 0, "abc", 3, wide, 4), 3);
}
#endif

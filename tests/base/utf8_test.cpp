#include "tests/base/bytes.h"
#include <tessel/base/utf8.h>

#include <gtest/gtest.h>

namespace {

TEST(Utf8, NeverTakesABrokenLastCharacter)
{
    const std::tuple<const char*, std::uint32_t, const char16_t*> cases[] = {{"a\xE2\x82\xAC", 4, u"a€"},
        {"a\xE2\x82\xAC", 3, u"a"}, {"ab\0cd", 5, u"ab"}, {"\xF0\x9F\x98\x80", 3, u""},
        {"\xE2\x82\xAC", 0xFFFFFFFF, u"€"},
        // a first byte that announces five bytes or more is cut off, whatever follows
        {"a\xF8\x88", 3, u"a"},
        // inside the text, what is no UTF-8 is replaced
        {"\xFFz", 2, u"\uFFFDz"},
        // a lone continuation byte at the end announces nothing
        {"a\x80", 2, u"a\uFFFD"}};
    for (const auto& [source, bytes, text] : cases)
        EXPECT_EQ(StringFromUtf8(source, bytes), text) << source << " " << bytes;
}

TEST(Utf8, LimitCountsTheTerminator)
{
    const std::tuple<const char16_t*, int, const char*> cases[] = {{u"", 0, "00"}, {u"a€", 0, "61 E282AC 00"},
        {u"abc", 1, "00"}, {u"€€", 4, "E282AC 00"}, {u"€€", 6, "E282AC 00"}, {u"€€", 7, "E282AC E282AC 00"},
        {u"a😀", 3, "61 00"}, {u"\xD83D", 0, "EFBFBD 00"}};
    for (const auto& [text, limit, bytes] : cases)
        EXPECT_EQ(StringToUtf8(text, limit), Bytes(bytes)) << limit;
}

} // namespace

#include <tessel/base/utf8.h>

#include <gtest/gtest.h>
#include <string>

namespace {

std::string Bytes(const Binary& binary)
{
    return {reinterpret_cast<const char*>(binary.GetData()), binary.GetSize()};
}

TEST(Utf8, NeverTakesABrokenLastCharacter)
{
    const struct {
        const char* source;
        std::uint32_t bytes;
        const char16_t* text;
    } cases[] = {{"a\xE2\x82\xAC", 4, u"a€"}, {"a\xE2\x82\xAC", 3, u"a"}, {"ab\0cd", 5, u"ab"},
        {"\xF0\x9F\x98\x80", 3, u""}, {"\xE2\x82\xAC", 0xFFFFFFFF, u"€"},
        // a first byte that announces five bytes or more is cut off, whatever follows
        {"a\xF8\x88", 3, u"a"},
        // inside the text, what is no UTF-8 is replaced
        {"\xFFz", 2, u"\uFFFDz"},
        // a lone continuation byte at the end announces nothing
        {"a\x80", 2, u"a\uFFFD"}};
    for (const auto& c : cases)
        EXPECT_EQ(StringFromUtf8(c.source, c.bytes), c.text) << c.source << " " << c.bytes;
}

TEST(Utf8, LimitCountsTheTerminator)
{
    const struct {
        const char16_t* text;
        int limit;
        std::string bytes;
    } cases[] = {{u"", 0, std::string("\0", 1)}, {u"a€", 0, std::string("a\xE2\x82\xAC\0", 5)},
        {u"abc", 1, std::string("\0", 1)}, {u"€€", 4, std::string("\xE2\x82\xAC\0", 4)},
        {u"€€", 6, std::string("\xE2\x82\xAC\0", 4)},
        {u"€€", 7, std::string("\xE2\x82\xAC\xE2\x82\xAC\0", 7)}, {u"a😀", 3, std::string("a\0", 2)},
        {u"\xD83D", 0, std::string("\xEF\xBF\xBD\0", 4)}};
    for (const auto& c : cases)
        EXPECT_EQ(Bytes(StringToUtf8(c.text, c.limit)), c.bytes) << c.limit;
}

} // namespace

#include "platform/text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <sys/mman.h>

using namespace Platform;

namespace {

// Two pages, behind which lies one that may not be touched; texts are put so that they end there.
class GuardedPages {
public:
    GuardedPages()
        : pages(static_cast<char*>(
            mmap(nullptr, 3 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        mprotect(pages + 2 * page, page, PROT_NONE);
    }
    ~GuardedPages() { munmap(pages, 3 * page); }

    char16_t* AtEnd(const std::u16string& text)
    {
        const std::size_t bytes = 2 * (text.size() + 1);
        return static_cast<char16_t*>(std::memcpy(pages + 2 * page - bytes, text.c_str(), bytes));
    }

private:
    static constexpr std::size_t page = 4096;
    char* pages;
};

} // namespace

TEST(WideText, IsReadToItsTerminatorAndNotIntoTheNextPage)
{
    GuardedPages left;
    GuardedPages right;
    for (std::size_t length = 0; length < 60; ++length) {
        std::u16string text(length, u'x');
        char16_t* const at = left.AtEnd(text);
        EXPECT_EQ(wcslen(at), length);
        EXPECT_EQ(wcschr(at, u'y'), nullptr);
        EXPECT_EQ(wcschr(at, u'\0'), at + length);
        EXPECT_EQ(wcscmp(at, right.AtEnd(text)), 0);
        for (std::size_t place = 0; place < length; ++place) {
            text[place] = u'y';
            const char16_t* const other = right.AtEnd(text.substr(0, place + 1 + (length - place) / 2));
            EXPECT_EQ(wcschr(other, u'y'), other + place);
            EXPECT_LT(wcscmp(at, other), 0);
            EXPECT_GT(wcscmp(other, at), 0);
            text[place] = u'x';
        }
    }
}

TEST(WideText, IsComparedAndSearchedByUnits)
{
    EXPECT_GT(wcscmp(u"\xFFFF", u"\xD83D\xDE00"), 0);
    const char16_t* const text = u"aabaabaac";
    EXPECT_EQ(wcsstr(text, u""), text);
    EXPECT_EQ(wcsstr(text, u"aabaac"), text + 3);
    EXPECT_EQ(wcsstr(text, u"aacx"), nullptr);
}

TEST(Case, IsOfOneToOnePairsWithoutLocale)
{
    const std::pair<char16_t, char16_t> cases[] = {{u'A', u'a'}, {u'Z', u'z'}, {u'@', u'@'}, {u'[', u'['},
        {u'a', u'a'}, {u'\0', u'\0'},
        // Latin-1 but for the multiplication sign
        {0xC0, 0xE0}, {0xD7, 0xD7}, {0xDE, 0xFE}, {0x178, 0xFF},
        // other alphabets, capitals and title forms
        {0x391, 0x3B1}, {0x410, 0x430}, {0x10A0, 0x2D00}, {0x1C90, 0x10D0}, {0x1C4, 0x1C6}, {0x1C5, 0x1C6},
        {0x1F88, 0x1F80}, {0xFF21, 0xFF41},
        // no pairs
        {0x1E9E, 0x1E9E}, {0x130, 0x130}, {0x212A, 0x212A}, {0x2126, 0x2126}, {0x3F4, 0x3F4},
        {0xD801, 0xD801}, {0xFFFF, 0xFFFF}};
    for (const auto& [unit, lower] : cases)
        EXPECT_EQ(ToLower(unit), lower) << static_cast<unsigned>(unit);
    for (unsigned unit = 0x80; unit <= 0xFFFF; ++unit) {
        const char16_t lower = ToLower(static_cast<char16_t>(unit));
        EXPECT_TRUE(lower >= 0x80 && ToLower(lower) == lower) << unit;
    }
    char16_t text[] = u"StraSSE \x411\x410";
    EXPECT_EQ(_wcslwr(text), text);
    EXPECT_EQ(wcscmp(text, u"strasse \x431\x430"), 0);
}

TEST(Case, IsBlindInComparisonAndOrdersByLowerCase)
{
    const std::tuple<const char16_t*, const char16_t*, int> cases[] = {{u"", u"", 0}, {u"ABC", u"abc", 0},
        {u"\xC4", u"\xE4", 0}, {u"abc", u"ABD", -1}, {u"ab", u"ABC", -1},
        {u"_", u"A", -1}, // it lies above A, and below a
        {u"K", u"\x212A", -1}}; // the Kelvin sign
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    for (const auto& [left, right, expected] : cases) {
        EXPECT_EQ(sign(_wcsicmp(left, right)), expected);
        EXPECT_EQ(sign(_wcsicmp(right, left)), -expected);
    }
}

#include "tests/allocation_plan.h"
#include <tessel/base/binary.h>
#include <tessel/base/hash.h>
#include <tessel/base/string.h>

#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace {

TEST(String, SharesUntilOneIsWritten)
{
    WideString first = u"shared text";
    WideString second = first;
    EXPECT_EQ(first.c_str(), second.c_str());
    second.PrepareWriting(0, true)[0] = u'S';
    EXPECT_EQ(second, u"Shared text");
    EXPECT_EQ(second.GetCapacity(), second.GetSize()) << "a private copy without growth takes no step";
    const char16_t* const own = first.c_str();
    EXPECT_EQ(first.PrepareWriting(0, true), own) << "the other holder is gone, so nothing changes";
    EXPECT_EQ(first, u"shared text");
    EXPECT_NE(WideString().PrepareWriting(0, true), WideString().c_str()) << "which all empty texts share";
}

TEST(String, ClearKeepsAPrivateBufferAndLetsGoASharedOne)
{
    WideString text = u"secret";
    {
        const WideString shared = text;
        text.Clear();
        EXPECT_EQ(text.c_str(), WideString().c_str());
        EXPECT_EQ(shared, u"secret");
    }
    text = u"secret";
    const char16_t* const buffer = text.c_str();
    text.Clear();
    EXPECT_TRUE(text.c_str() == buffer && buffer[1] == u'e') << "only the first character is gone";
}

TEST(String, TakesTextsOutOfItself)
{
    WideString text = u"abcdef";
    text = text.c_str() + 2;
    text += text.c_str();
    EXPECT_EQ(text, u"cdefcdef");
    text += text; // now a new buffer is needed
    text += text.c_str() + 12;
    EXPECT_EQ(text, u"cdefcdefcdefcdefcdef");
    const WideString keeper = text;
    text = text.c_str() + 16; // shared, so the old buffer is let go
    text.Printf(u"<%s|%s>", text, text);
    text.Format(u"%1 and %1", text);
    EXPECT_EQ(text, u"<cdef|cdef> and <cdef|cdef>");
    text = WideString().Append(u'x', 500);
    text.Printf(u"%s%s", text, text);
    text.Format(u"%1%1", text);
    text = *&text;
    EXPECT_EQ(text, WideString().Append(u'x', 2000));
}

TEST(String, ConvertsBetweenItsFlavours)
{
    WideString text("gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80");
    EXPECT_EQ(text, u"grüß 😀");
    EXPECT_STREQ(NarrowString(text.c_str()).c_str(), "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80");
    text = static_cast<const char*>(nullptr);
    EXPECT_TRUE(text.IsEmpty());
}

TEST(String, FormatsAnythingHoweverLong)
{
    WideString text;
    text.Printf(u"%d|%5s|%-4x|%hs|%I64d", -7, u"ab", 0xBEEFU, "narrow", 1LL << 40);
    EXPECT_EQ(text, u"-7|   ab|beef|narrow|1099511627776");
    for (const std::size_t length : {0U, 254U, 255U, 256U, 257U, 511U, 512U, 1U << 20}) {
        const WideString piece = WideString().Append(u'y', length);
        text.Printf(u"%s", piece);
        EXPECT_EQ(text, piece) << length;
        text.Format(u"%1", piece);
        EXPECT_EQ(text, piece) << length;
    }
}

TEST(String, FormatFailuresClear)
{
    for (const char16_t* const format : {u"%1!d", u"", u"%2"}) {
        WideString text = u"before";
        text.Format(format, u"no end of the format", u"");
        EXPECT_TRUE(text.IsEmpty());
    }
    WideString text;
    text.SystemError(2, u"Open: ");
    EXPECT_EQ(text, u"Open: No such file or directory");
    text.SystemError(0x7FFFFFFF, u"Open: ");
    EXPECT_TRUE(text.IsEmpty());
}

TEST(String, WithoutMemoryIsEmptyAndUsable)
{
    const WideString big = WideString().Append(u'm', 1000);
    const std::function<void(WideString&)> acts[] = {
        [](WideString& text) { EXPECT_EQ(text.PrepareWriting(100, true), nullptr); },
        [](WideString& text) {
            AllocationPlan::FailNth(0); // too much in any case
            EXPECT_EQ(text.PrepareWriting(0xFFFFFFFF, true), nullptr);
        },
        [&](WideString& text) { text += big; }, [&](WideString& text) { text.Append(u'c', 1000); },
        [&](WideString& text) { text = big.c_str(); }, [&](WideString& text) { text.Printf(u"%s", big); },
        [&](WideString& text) { text.Format(u"%1", big); }};
    for (const auto& act : acts) {
        WideString text = u"some text";
        AllocationPlan::FailNth(1);
        act(text);
        AllocationPlan::FailNth(0);
        EXPECT_TRUE(text.IsEmpty()) << "act " << &act - acts;
        text += u"usable";
        EXPECT_EQ(text, u"usable");
    }
}

TEST(StringAndBinary, AreZeroedWholeByTheirLastRelease)
{
    static bool found;
    static bool seen;
    for (void (*const act)() : {+[] {
                                    WideString text = WideString().Append(u'\x7A7A', 60);
                                    text = u"a"; // the old characters are still behind it
                                },
             +[] {
                 Binary binary("zzzzzzzzzzzzzzzzzzzzzzzz", 24);
                 binary.SetSize(1, true);
             }}) {
        found = seen = false;
        AllocationPlan::ObserveFrees([](const void* block, unsigned long bytes) {
            const std::string_view all(static_cast<const char*>(block), bytes);
            found = found || all.find("zzzz") != all.npos;
            seen = true;
        });
        act();
        AllocationPlan::ObserveFrees(nullptr);
        EXPECT_TRUE(seen && !found);
    }
}

TEST(String, StoredFormIsReadBackAndChecked)
{
    const WideString text = u"a";
    std::string stored(text.GetSerializedSize(), '\0');
    EXPECT_EQ(text.Serialize(stored.data()), 12U);
    EXPECT_EQ(stored, std::string("\4\0\0\0\xB0\4\0\0a\0\0\0", 12));
    const std::tuple<const char*, std::string, std::uint32_t, std::uint32_t, const char16_t*> cases[] = {
        {"empty, whatever follows", std::string("\0\0\0\0\xFF\xFF", 6), 6, 4, u""},
        {"own order", std::string("\6\0\0\0\xB0\4\0\0a\0b\0\0\0", 14), 14, 14, u"ab"},
        {"the numbers turned, the text not", std::string("\0\0\0\6\0\0\4\xB0\141\0b\0\0\0", 14), 14, 14,
            u"ab"},
        {"ending before its size does", std::string("\6\0\0\0\xB0\4\0\0\0\0b\0\0\0", 14), 14, 14, u""},
        {"another code page", std::string("\5\0\0\0\xE4\4\0\0caf\xE9\0", 13), 13, 13, u"café"},
        {"a converter that knows no terminator", std::string("\3\0\0\0\xE8\xFD\0\0ab\0", 11), 11, 11, u"ab"},
        {"more than there is", std::string("\7\0\0\0\xB0\4\0\0a\0b\0\0\0", 14), 14, 0, u""},
        {"no room for the numbers", std::string("\6\0\0\0\xB0\4\0", 7), 7, 0, u""},
        {"a size that would wrap", std::string("\xF8\xFF\xFF\xFF\xB0\4\0\0", 8), 0xFFFFFFFF, 0, u""},
        {"no terminator within its size", std::string("\4\0\0\0\xB0\4\0\0a\0b\0\0\0", 14), 14, 0, u""},
        {"no terminator, narrow", std::string("\2\0\0\0\xE4\4\0\0abc\0", 12), 12, 0, u""},
        {"an unknown code page", std::string("\4\0\0\0\xFF\xFE\0\0abc\0", 12), 12, 0, u""}};
    for (const auto& [what, bytes, available, used, expected] : cases) {
        WideString read = u"old";
        EXPECT_EQ(read.Deserialize(bytes.data(), available), used) << what;
        EXPECT_EQ(read, expected) << what;
    }
}

TEST(Hash, IsSumAndLengthAtEveryAlignment)
{
    EXPECT_EQ(GetSimpleStringHash(u"IID_BaseFace"), 0x041F000CU);
    EXPECT_EQ(GetSimpleStringHash(u"IID_BaseFace"), HashOfLiteral(u"IID_BaseFace"));
    for (const std::size_t length : {0U, 1U, 2U, 3U, 7U, 8U, 9U, 15U, 16U, 17U, 31U, 33U, 70'000U})
        for (std::size_t offset = 0; offset < 8; ++offset) {
            std::u16string text(length + 9, u'\xFFFE');
            text[offset + length] = 0;
            EXPECT_EQ(GetSimpleStringHash(text.c_str() + offset),
                static_cast<std::uint32_t>((length * 0xFFFE << 16) + length));
        }
}

} // namespace

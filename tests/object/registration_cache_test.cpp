#include "object/registration_cache.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

namespace Object {

TEST(RegistrationCache, IsReadIntoItsOneFormOrIsDamagedAsAWhole)
{
    const std::pair<const char16_t*, const char16_t*> cases[] = {{u" \r\n", u""},
        {u" { a| b}\r\n ", u"{a|b}\n"}, {u"{a|b||}", u"{a|b||}\n"}, {u"{|}", u"{|}\n"},
        {u"{a|b|,,T,|;;C,,;}", u"{a|b|T|C}\n"}, {u"{a|b||,}", u"{a|b||}\n"},
        {u"{a|b|A,B|C,I,J;D}{c|0}", u"{a|b|A,B|C,I,J;D}\n{c|0}\n"},
        // blanks in front of a token go, those behind it stay
        {u"{ name |  stamp\t|\n T |\rC , I ; D}", u"{name |stamp\t|T |C ,I ;D}\n"}};
    for (const auto& [text, form] : cases) {
        const auto records = ParseCache(text);
        ASSERT_TRUE(records) << NarrowString(text).c_str();
        EXPECT_EQ(FormatCache(*records), form);
    }
    for (const char16_t* const text : {u"", u"\t", u"{a|b}x", u"{a", u"{a|", u"{a|b", u"{a|b|", u"{a|b|T",
             u"{a|b|T}", u"{a|b|T|", u"{a|b|T|C", u"{a|b|T|C,I", u"{a}",
             // a class that begins with an interface
             u"{a|b||,I}", u"{a|b||;,I}"})
        EXPECT_FALSE(ParseCache(text)) << NarrowString(text).c_str();
}

TEST(RegistrationCache, WhatIsStorableReadsBackTheSame)
{
    std::mt19937 random(7);
    const auto token = [&] {
        static constexpr std::u16string_view letters = u"ab|,;{} \n\tC";
        std::u16string text;
        for (auto n = random() % 4; n != 0; --n)
            text += letters[random() % letters.size()];
        return WideString(text.c_str());
    };
    EXPECT_FALSE(IsStorable({u"a", u"0", true, {u"T"}, {{u"", {u"I"}, {}}}})) << "a class without a name";
    unsigned storable = 0;
    for (int i = 0; i < 20000; ++i) {
        CacheRecord record{token(), u"5", i % 4 != 0, {}, {}};
        for (auto n = record.isModule ? random() % 3 : 0; n != 0; --n) {
            record.types.insert(token());
            record.classes.push_back({token(), {token()}, {}});
        }
        if (!IsStorable(record))
            continue;
        ++storable;
        const WideString text = FormatCache({record});
        const auto read = ParseCache(text);
        ASSERT_TRUE(read) << NarrowString(text.c_str()).c_str();
        ASSERT_EQ(FormatCache(*read), text);
        ASSERT_EQ(read->front().name, record.name);
        ASSERT_EQ(read->front().types, record.types);
    }
    EXPECT_GT(storable, 100U);
}

TEST(RegistrationCache, AMillionRecordsAreRead)
{
    std::u16string text;
    for (int i = 0; i < 1000000; ++i)
        text += u"{a|b|T|C,I}\n";
    EXPECT_EQ(ParseCache(text.c_str())->size(), 1000000U);
    text = u"{a|" + std::u16string(10000000, u'x');
    EXPECT_FALSE(ParseCache(text.c_str()));
}

} // namespace Object

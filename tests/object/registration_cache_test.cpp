#include "object/registration_cache.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

namespace Object {

TEST(RegistrationCache, AnyDamageIsDamageToAll)
{
    const std::pair<const char16_t*, bool> cases[] = {{u"", false}, {u" \r\n", true}, {u"\t", false},
        {u" { a| b}\r\n ", true}, {u"{a|b}x", false}, {u"{a", false}, {u"{a|", false}, {u"{a|b", false},
        {u"{a|b|", false}, {u"{a|b|T", false}, {u"{a|b|T}", false}, {u"{a|b|T|", false}, {u"{a|b|T|C", false},
        {u"{a|b|T|C,I", false}, {u"{a|b||}", true}, {u"{a|b|,,T,|;;C,,;}", true}, {u"{|}", true},
        {u"{a}", false},
        // a class that begins with an interface
        {u"{a|b||,I}", false}, {u"{a|b||;,I}", false}, {u"{a|b||,}", true}};
    for (const auto& [text, isSound] : cases)
        EXPECT_EQ(ParseCache(text).has_value(), isSound) << NarrowString(text).c_str();
}

TEST(RegistrationCache, TokensKeepTheirTrailingBlanks)
{
    const auto records = ParseCache(u"{ name |  stamp\t|\n T |\rC , I ; D}");
    ASSERT_TRUE(records);
    EXPECT_EQ(records->front().name, u"name ");
    EXPECT_EQ(records->front().stamp, u"stamp\t");
    EXPECT_EQ(*records->front().types.begin(), u"T ");
    EXPECT_EQ(records->front().classes.front().clsid, u"C ");
    EXPECT_EQ(records->front().classes.front().interfaces.front(), u"I ");
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
        CacheRecord record{token(), u"5", random() % 4 != 0, {}, {}};
        if (record.isModule) {
            for (auto n = random() % 3; n != 0; --n)
                record.types.insert(token());
            for (auto n = random() % 3; n != 0; --n)
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
        ASSERT_EQ(read->front().classes.size(), record.classes.size());
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

#include "platform/locale.h"

#include <cstdlib>
#include <gtest/gtest.h>

using namespace Platform;

namespace {

std::uint32_t LanguageFor(const char* all, const char* messages, const char* lang)
{
    const auto set = [](const char* name, const char* value) {
        value ? ::setenv(name, value, 1) : ::unsetenv(name);
    };
    set("LC_ALL", all);
    set("LC_MESSAGES", messages);
    set("LANG", lang);
    return GetUserDefaultLangID();
}

} // namespace

TEST(UsersLanguage, ComesFromTheFirstVariableThatIsNotEmpty)
{
    EXPECT_EQ(LanguageFor("de_DE.UTF-8", "fr_FR", "it_IT"), 0x407U);
    EXPECT_EQ(LanguageFor("", "fr_FR", "it_IT"), 0x40CU);
    EXPECT_EQ(LanguageFor(nullptr, "", "it_IT"), 0x410U);
    EXPECT_EQ(LanguageFor("C", "fr_FR", "it_IT"), 0x409U) << "the first decides, even for none";
    EXPECT_EQ(LanguageFor(nullptr, nullptr, nullptr), 0x409U);
}

TEST(UsersLanguage, IsReadInEverySpelling)
{
    const struct {
        const char* locale;
        std::uint32_t id;
    } cases[] = {// the languages that have texts
        {"en_US", 0x409}, {"zh_TW", 0x404}, {"da_DK", 0x406}, {"de_DE", 0x407}, {"el_GR", 0x408},
        {"it_IT", 0x410}, {"ja_JP", 0x411}, {"ko_KR", 0x412}, {"nl_NL", 0x413}, {"nb_NO", 0x414},
        {"pt_BR", 0x416}, {"ru_RU", 0x419}, {"sv_SE", 0x41D}, {"tr_TR", 0x41F}, {"fi_FI", 0x40B},
        {"fr_FR", 0x40C}, {"zh_CN", 0x804}, {"pt_PT", 0x816}, {"es_ES", 0xC0A},
        // their varieties, other spellings, and languages without texts
        {"en_GB", 0x809}, {"de_AT", 0xC07}, {"zh_HK", 0xC04}, {"es_MX", 0x80A}, {"no_NO", 0x414},
        {"nn_NO", 0x814}, {"pt", 0x416}, {"es", 0xC0A}, {"de_DE@euro", 0x407}, {"de.UTF-8", 0x407},
        {"fr_XX.utf8", 0x40C}, {"sk_SK.UTF-8", 0x41B},
        // nothing that is known
        {"C.UTF-8", 0x409}, {"POSIX", 0x409}, {"tlh_KX", 0x409}, {"e", 0x409}, {"_US", 0x409}, {".", 0x409}};
    for (const auto& c : cases)
        EXPECT_EQ(LanguageFor(c.locale, nullptr, nullptr), c.id) << c.locale;
}

TEST(Locale, IsInstalledWhereItsLanguageHasTexts)
{
    for (const std::uint32_t installed :
        {0x409, 0x404, 0x406, 0x407, 0x408, 0x410, 0x411, 0x412, 0x413, 0x414, 0x416, 0x419, 0x41D, 0x41F,
            0x40B, 0x40C, 0x804, 0x816, 0xC0A, 0x809, 0xC04, 0x1404, 0x1004, 0x40A})
        EXPECT_TRUE(IsValidLocale(installed, LCID_INSTALLED)) << std::hex << installed;
    EXPECT_FALSE(IsValidLocale(0x41B, LCID_INSTALLED));
    EXPECT_TRUE(IsValidLocale(0x41B, LCID_SUPPORTED));
    for (const std::uint32_t unknown : {0x0, 0x9, 0x400, 0xFFFF, 0xFC09, 0x10409})
        for (const std::uint32_t flags : {LCID_INSTALLED, LCID_SUPPORTED})
            EXPECT_FALSE(IsValidLocale(unknown, flags)) << std::hex << unknown;
}

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
    const std::pair<const char*, std::uint32_t> cases[] = {{"de_DE", 0x407}, {"zh_TW", 0x404},
        {"zh_CN", 0x804}, {"pt", 0x416}, {"de_DE@euro", 0x407}, {"de.UTF-8", 0x407}, {"fr_XX.utf8", 0x40C},
        {"no_NO", 0x414}, {"sk_SK.UTF-8", 0x41B},
        // nothing that is known
        {"C.UTF-8", 0x409}, {"POSIX", 0x409}, {"tlh_KX", 0x409}, {"e", 0x409}, {"_US", 0x409}, {".", 0x409}};
    for (const auto& [locale, id] : cases)
        EXPECT_EQ(LanguageFor(locale, nullptr, nullptr), id) << locale;
}

TEST(Locale, IsInstalledWhereItsLanguageHasTexts)
{
    for (const std::uint32_t installed : {0x409, 0x407, 0x1404, 0x40A})
        EXPECT_TRUE(IsValidLocale(installed, LCID_INSTALLED)) << std::hex << installed;
    EXPECT_FALSE(IsValidLocale(0x41B, LCID_INSTALLED));
    EXPECT_TRUE(IsValidLocale(0x41B, LCID_SUPPORTED));
    for (const std::uint32_t unknown : {0x0, 0x9, 0x400, 0xFFFF, 0xFC09, 0x10409})
        EXPECT_FALSE(IsValidLocale(unknown, LCID_SUPPORTED)) << std::hex << unknown;
}

#include "platform/locale.h"

#include <cstdlib>
#include <gtest/gtest.h>

using namespace Platform;

TEST(UsersLanguage, ComesFromTheFirstVariableThatIsNotEmptyInEverySpelling)
{
    const struct {
        const char* values[3]; // of LC_ALL, LC_MESSAGES and LANG
        std::uint32_t id;
    } cases[] = {{{"de_DE.UTF-8", "fr_FR", "it_IT"}, 0x407}, {{"", "fr_FR", "it_IT"}, 0x40C},
        {{nullptr, "", "it_IT"}, 0x410}, {{"C", "fr_FR", "it_IT"}, 0x409}, // the first decides, even for none
        {{}, 0x409}, {{"de_DE"}, 0x407}, {{"zh_TW"}, 0x404}, {{"zh_CN"}, 0x804}, {{"pt"}, 0x416},
        {{"de_DE@euro"}, 0x407}, {{"de.UTF-8"}, 0x407}, {{"fr_XX.utf8"}, 0x40C}, {{"no_NO"}, 0x414},
        {{"sk_SK.UTF-8"}, 0x41B},
        // nothing that is known
        {{"C.UTF-8"}, 0x409}, {{"POSIX"}, 0x409}, {{"tlh_KX"}, 0x409}, {{"e"}, 0x409}, {{"_US"}, 0x409},
        {{"."}, 0x409}};
    for (const auto& c : cases) {
        const char* const names[] = {"LC_ALL", "LC_MESSAGES", "LANG"};
        for (int i = 0; i < 3; ++i)
            c.values[i] ? ::setenv(names[i], c.values[i], 1) : ::unsetenv(names[i]);
        EXPECT_EQ(GetUserDefaultLangID(), c.id) << (c.values[0] ? c.values[0] : "");
    }
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

// Which language is meant, and which ones there are.
#include "nls/factory_impl.h"
#include "nls/nearest_language.h"
#include "nls/supported_languages.h"
#include "tests/platform/registry_store.h"
#include <tessel/tessel.h>

namespace {
using List = std::vector<std::uint32_t>;
const List all = {0x409, 0x404, 0x406, 0x407, 0x408, 0x410, 0x411, 0x412, 0x413, 0x414, 0x416, 0x419, 0x41D,
    0x41F, 0x40B, 0x40C, 0x804, 0x816, 0xC0A};
} // namespace

TEST(NearestLanguage, IsFoundStepByStep)
{
    const std::tuple<std::uint32_t, List, std::uint32_t> cases[] = {{0x407, all, 0x407}, {0x816, all, 0x816},
        // the group, in its own order, before a candidate of the same language that stands in front
        {0xC04, {0x804, 0x1404, 0x404}, 0x404}, {0x404, {0x804, 0x1404}, 0x1404},
        {0x804, {0x404, 0x1004}, 0x1004},
        // the same language, in the order of the candidates
        {0x804, {0x409, 0x404}, 0x404}, {0x809, {0x407, 0xC09, 0x409}, 0xC09}, {0x80C, all, 0x40C},
        {0x40A, all, 0xC0A},
        // nothing like it
        {0x41B, all, 0x409}, {0x409, {0x407, 0x40C}, 0x407}};
    for (const auto& [wanted, candidates, expected] : cases)
        EXPECT_EQ(Nls::NearestLanguage(wanted, candidates), expected) << std::hex << wanted;
}

TEST(SupportedLanguages, AreThoseNamedAndInstalledInTheOrderOfTheFullList)
{
    const Nls::InstalledTest every = [](std::uint32_t) { return true; };
    const Nls::InstalledTest none = [](std::uint32_t) { return false; };
    const Nls::InstalledTest two = [](std::uint32_t locale) { return locale == 0x407 || locale == 0xC0A; };
    const std::tuple<const char16_t*, Nls::InstalledTest, List> cases[] = {{u"", every, all},
        {u"0407,0409", every, {0x409, 0x407}}, {u"x04070409", every, {0x409, 0x407}}, {u"0c0a", two, {0xC0A}},
        {u"0C0A; 041f", every, {0x41F, 0xC0A}}, {u"", two, {0x407, 0xC0A}},
        // none is left: English, or all if that is not there either
        {u"0436 407", every, {0x409}}, {u"0407", none, all}, {u"0409", two, all}};
    for (const auto& [langList, isInstalled, expected] : cases)
        EXPECT_EQ(Nls::SupportedLanguages(langList, isInstalled), expected) << NarrowString(langList).c_str();
}

TEST(SupportedLanguages, AreReadFromTheRegistryOnceForEachFactory)
{
    const TemporaryRegistry registry;
    const auto make = [] { return MakeFace<Impl<Nls::FactoryImpl, Module>>(); };
    PersistentProperties machine;
    machine.Open(u"Palisade", false);
    machine.SetString(u"LangList", u"0411\t040C");
    const auto factory = make();
    machine.SetNumber(u"LangList", 0x407); // no text
    EXPECT_EQ(factory->GetSupported(), (List{0x411, 0x40C}));
    EXPECT_EQ(make()->GetSupported(), all);
}

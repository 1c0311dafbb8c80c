#include "tests/allocation_plan.h"
#include "tests/base/bytes.h"
#include "tests/platform/registry_store.h"
#include <tessel/base/memory_properties.h>
#include <tessel/base/persistent_properties.h>

#include <atomic>
#include <sys/resource.h>
#include <thread>

namespace {

using Type = Properties::PropertyType;
using Names = std::vector<WideString>;

struct PersistentPropertiesTest : testing::Test {
    PersistentPropertiesTest() { bag.Open(u"Client\\Settings", true); }

    TemporaryRegistry registry;
    const std::u16string path = u"SOFTWARE\\Client\\Settings"; // the bag's key, for looks behind its back
    const std::string at = "('HKEY_CURRENT_USER\\SOFTWARE\\Client\\Settings";
    PersistentProperties bag;
};

TEST_F(PersistentPropertiesTest, KeepWhatWasSetInTheRegistrysOwnForms)
{
    bag.SetNumber(u"n", 0x01020304);
    bag.SetString(u"s", u"aß");
    bag.SetString(u"empty", u"");
    bag.SetBinary(u"b", Bytes("AA00BB"));
    bag.SetBinary(u"none", Binary());
    const std::tuple<const char16_t*, std::uint32_t, std::string> cases[] = {{u"n", 4, "\x04\x03\x02\x01"},
        {u"s", 1, std::string("a\0\xDF\0\0\0", 6)}, {u"empty", 1, std::string(2, '\0')},
        {u"b", 3, std::string("\xAA\0\xBB", 3)}, {u"none", 3, ""}};
    for (const auto& [name, expected, bytes] : cases) {
        std::uint32_t type = 0;
        EXPECT_EQ(Key(path).Get(name, &type), bytes);
        EXPECT_EQ(type, expected);
    }
    PersistentProperties other;
    other.Open(u"client\\SETTINGS", true);
    EXPECT_EQ(other.GetNumber(u"N"), 0x01020304U);
    EXPECT_EQ(other.Export(), bag.Export());
    EXPECT_EQ(other.GetType(u"none"), Type::binary);
}

TEST_F(PersistentPropertiesTest, OfABagThatIsMissingFindNothingAndMakeNothing)
{
    EXPECT_TRUE(bag.IsBagNew() && bag.EnumProperties().empty() && bag.EnumBags().empty());
    EXPECT_EQ(bag.GetType(u"n"), Type::none);
    bag.Delete(u"n");
    bag.Clear();
    bag.DeleteBag();
    EXPECT_EQ(bag.GetString(u"n", u"d"), u"d");
    EXPECT_EQ(FailureOf([&] { static_cast<void>(bag.GetNumber(u"n")); }), "reg-open-key" + at + "') err=2");
    EXPECT_EQ(OpenCode(Platform::HKEY_CURRENT_USER, u"SOFTWARE"), Platform::ERROR_FILE_NOT_FOUND);
    bag.SetNumber(u"n", 1);
    EXPECT_FALSE(bag.IsBagNew());
    EXPECT_EQ(Platform::RegDeleteKeyW(Platform::HKEY_CURRENT_USER, path.c_str()), 0U);
    EXPECT_EQ(
        FailureOf([&] { static_cast<void>(bag.GetNumber(u"n")); }), "reg-query-val" + at + "\\n') err=1018");
}

TEST_F(PersistentPropertiesTest, TellWhatIsMissingAndWhatHasAnotherType)
{
    const Key key(path);
    key.Set(u"long", "12345678", Platform::REG_DWORD);
    key.Set(u"short", "12", Platform::REG_DWORD);
    key.Set(u"s", std::string("a\0\0\0", 4), Platform::REG_SZ);
    key.Set(u"large", std::string(5000, 'x'), Platform::REG_BINARY);
    const auto number = [&](const char16_t* name) { static_cast<void>(bag.GetNumber(name)); };
    const auto text = [&](const char16_t* name) { static_cast<void>(bag.GetString(name)); };
    const auto binary = [&](const char16_t* name) { static_cast<void>(bag.GetBinary(name)); };
    const struct {
        std::function<void(const char16_t*)> act;
        const char16_t* name;
        std::string front, back;
    } cases[] = {{text, u"x", "reg-query-val", "x') err=2"},
        {text, u"large", "reg-val-badtype", "large') REG_SZ expected"},
        {binary, u"s", "reg-val-badtype", "s') REG_BINARY expected"},
        {number, u"s", "reg-val-badtype", "s') REG_DWORD expected"},
        {number, u"long", "reg-val-badtype", "long') REG_DWORD expected"},
        {number, u"short", "reg-val-badtype", "short') REG_DWORD expected"},
        {[&](auto) { bag.SetNumber(WideString().Append(u'n', 16384), 1); }, u"", "reg-set-value",
            std::string(16384, 'n') + "') err=87"}};
    for (const auto& c : cases)
        EXPECT_EQ(FailureOf([&] { c.act(c.name); }), c.front + at + "\\" + c.back);
    EXPECT_EQ(FailureOf([&] { static_cast<void>(bag.GetHandle(u"h")); }), "pprop-gethandle-notsupp");
    EXPECT_EQ(bag.GetHandle(u"s", Handle{3}), Handle{3});
    EXPECT_EQ(bag.GetString(u"short", u"d"), u"d");
    EXPECT_EQ(bag.GetBinary(u"s", Bytes("AA")), Bytes("AA"));
    EXPECT_EQ(bag.GetNumber(u"long", 5), 5U);
    EXPECT_EQ(bag.GetNumber(u"short", 5), 0x3231U) << "the type alone counts";
}

TEST_F(PersistentPropertiesTest, TerminateWhateverTextIsStored)
{
    const std::pair<std::string, std::u16string> cases[] = {{"", u""}, {"a", u""},
        {std::string("a\0b", 3), u"a"}, {std::string("a\0\0\0b\0\0\0", 8), u"a"},
        {std::string(513, 'x'), std::u16string(256, u'\x7878')},
        {std::string(100'001, 'x'), std::u16string(50'000, u'\x7878')}};
    for (const auto& [bytes, text] : cases) {
        Key(path).Set(u"s", bytes, Platform::REG_SZ);
        EXPECT_EQ(bag.GetString(u"s"), text.c_str()) << bytes.size();
    }
}

TEST_F(PersistentPropertiesTest, PassForeignTypesOverAndClearThem)
{
    bag.SetNumber(u"n", 1);
    bag.SetString(WideString().Append(u'x', 5000), u"long name");
    Key(path).Set(u"multi", "", Platform::REG_MULTI_SZ);
    Key(path + u"\\Sub\\Deep");
    EXPECT_EQ(bag.EnumProperties().size(), 2U);
    EXPECT_EQ(bag.GetType(u"multi"), Type::none);
    bag.Clear();
    EXPECT_TRUE(Key(path).Values().empty());
    EXPECT_EQ(bag.EnumBags(), Names{u"Sub"});
    bag.DeleteBag();
    EXPECT_TRUE(bag.IsBagNew());
}

// As deep as keys can lie, and with hardly more descriptors than levels.
TEST_F(PersistentPropertiesTest, DeleteTheDeepestBag)
{
    EXPECT_EQ(InAnotherProcess([this] {
        const rlimit descriptors{600, 600};
        ::setrlimit(RLIMIT_NOFILE, &descriptors);
        WideString levels = u"d";
        for (int level = 3; level <= 512; ++level) // SOFTWARE is level 1
            levels += u"\\d";
        bag.Open(levels, true);
        bag.SetNumber(u"n", 1);
        bag.Open(u"d", true);
        bag.DeleteBag();
        return bag.IsBagNew();
    }),
        1);
}

TEST_F(PersistentPropertiesTest, OfOthersAreReadOrRefused)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "takes an administrator and a user";
    Key(u"SOFTWARE\\Shared", Platform::HKEY_LOCAL_MACHINE).Set(u"n", "1234", Platform::REG_DWORD);
    bag.SetNumber(u"n", 1);
    EXPECT_EQ(AsOrdinaryUser([this] {
        PersistentProperties shared;
        shared.Open(u"Shared", false);
        EXPECT_EQ(shared.EnumProperties(), Names{u"n"});
        const std::string machine = "('HKEY_LOCAL_MACHINE\\SOFTWARE\\Shared') err=5";
        EXPECT_EQ(FailureOf([&] { shared.SetNumber(u"n", 1); }), "reg-open-key" + machine);
        EXPECT_EQ(FailureOf([&] { shared.DeleteBag(); }), "reg-delete-key" + machine);
        EXPECT_EQ(shared.GetNumber(u"n", 5), 0x34333231U) << "opened again, for reading";
        // A user's hive gives defaults to others, and fails where there is none.
        PersistentProperties others;
        others.Open(u"Client\\Settings", true);
        EXPECT_EQ(others.GetNumber(u"n", 5), 5U);
        EXPECT_EQ(
            FailureOf([&] { static_cast<void>(others.GetType(u"n")); }), "reg-open-key" + at + "') err=5");
        return HasFailure();
    }),
        0);
}

// A text that grows and shrinks between the two looks at it comes out as one that was set.
TEST_F(PersistentPropertiesTest, ReadWholeTextsWhileAnotherWrites)
{
    std::vector<WideString> texts;
    for (const unsigned length : {3, 300, 3000, 30})
        texts.push_back(WideString().Append(u'a', length));
    std::atomic<bool> done{false};
    bag.SetString(u"s", texts[0]);
    std::jthread writer([&] {
        PersistentProperties other;
        other.Open(u"Client\\Settings", true);
        for (unsigned i = 0; i < 2000; ++i)
            other.SetString(u"s", texts[i % 4]);
        done = true;
    });
    while (!done)
        EXPECT_EQ(std::count(texts.begin(), texts.end(), bag.GetString(u"s")), 1);
}

TEST_F(PersistentPropertiesTest, WithoutMemoryLeakNothingAndLoseNothing)
{
    const WideString text = WideString().Append(u't', 400);
    const WideString name = u"text"; // made beforehand: a literal becomes the empty name without memory
    const WideString bagPath = u"Client\\Settings";
    bag.SetString(name, text);
    AllocationPlan::FailEach(
        [&] {
            PersistentProperties fresh;
            fresh.Open(bagPath, true);
            EXPECT_EQ(fresh.GetString(name), text);
            EXPECT_EQ(fresh.EnumProperties().size(), 1U);
            fresh.SetString(name, text);
            MemoryProperties().Merge(fresh, {}, true);
        },
        [&] { EXPECT_EQ(bag.GetString(name), text); });
}

} // namespace

#include "tests/allocation_plan.h"
#include "tests/base/bytes.h"
#include "tests/platform/registry_store.h"
#include <tessel/base/memory_properties.h>
#include <tessel/base/persistent_properties.h>
#include <tessel/base/utf8.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <sys/resource.h>
#include <thread>

namespace {

using Type = Properties::PropertyType;

std::string TokenOf(const std::function<void()>& act)
{
    try {
        act();
    } catch (const Error& error) {
        const Binary text = StringToUtf8(error.Format());
        const std::string message(reinterpret_cast<const char*>(text.GetData()));
        const std::string front = "An internal error occured (tessel: ";
        EXPECT_EQ(message.substr(0, front.size()), front);
        return message.substr(front.size(), message.size() - front.size() - 2);
    }
    return "nothing thrown";
}

class PersistentPropertiesTest : public ::testing::Test {
protected:
    PersistentPropertiesTest() { bag.Open(u"Client\\Settings", true); }

    // The bag's key, behind its back.
    static std::u16string Path() { return u"SOFTWARE\\Client\\Settings"; }
    static void Store(const char16_t* name, std::uint32_t type, const std::string& bytes)
    {
        ASSERT_EQ(Key(Path()).Set(name, bytes, type), 0U);
    }

    TemporaryRegistry registry;
    PersistentProperties bag;
};

TEST_F(PersistentPropertiesTest, KeepWhatWasSetInTheRegistrysOwnForms)
{
    bag.SetNumber(u"n", 0x01020304);
    bag.SetString(u"s", u"aß");
    bag.SetString(u"empty", u"");
    bag.SetBinary(u"b", Bytes("AA00BB"));
    bag.SetBinary(u"none", Binary());
    const Key key(Path());
    std::uint32_t type = 0;
    EXPECT_EQ(key.Get(u"n", &type), std::string("\x04\x03\x02\x01"));
    EXPECT_EQ(type, Platform::REG_DWORD);
    EXPECT_EQ(key.Get(u"s", &type), std::string("a\0\xDF\0\0\0", 6));
    EXPECT_EQ(type, Platform::REG_SZ);
    EXPECT_EQ(key.Get(u"empty"), std::string("\0\0", 2));
    EXPECT_EQ(key.Get(u"b", &type), std::string("\xAA\0\xBB", 3));
    EXPECT_EQ(type, Platform::REG_BINARY);
    PersistentProperties other;
    other.Open(u"client\\SETTINGS", true);
    EXPECT_EQ(other.GetNumber(u"N"), 0x01020304U);
    EXPECT_EQ(other.GetString(u"S"), u"aß");
    EXPECT_TRUE(other.GetString(u"empty").IsEmpty());
    EXPECT_EQ(other.GetBinary(u"B"), Bytes("AA00BB"));
    EXPECT_TRUE(other.GetBinary(u"none").IsEmpty());
    EXPECT_EQ(other.GetType(u"none"), Type::binary);
}

TEST_F(PersistentPropertiesTest, OfABagThatIsMissingFindNothingAndMakeNothing)
{
    EXPECT_TRUE(bag.IsBagNew());
    EXPECT_EQ(bag.GetType(u"n"), Type::none);
    EXPECT_TRUE(bag.EnumProperties().empty());
    EXPECT_TRUE(bag.EnumBags().empty());
    bag.Delete(u"n");
    bag.Clear();
    bag.DeleteBag();
    EXPECT_EQ(bag.GetNumber(u"n", 5), 5U);
    EXPECT_EQ(bag.GetString(u"n", u"d"), u"d");
    EXPECT_EQ(bag.GetBinary(u"n", Bytes("AA")), Bytes("AA"));
    const std::string missing = "reg-open-key('HKEY_CURRENT_USER\\SOFTWARE\\Client\\Settings') err=2";
    EXPECT_EQ(TokenOf([&] { static_cast<void>(bag.GetNumber(u"n")); }), missing);
    EXPECT_EQ(TokenOf([&] { static_cast<void>(bag.GetString(u"n")); }), missing);
    EXPECT_EQ(OpenCode(Platform::HKEY_CURRENT_USER, u"SOFTWARE"), Platform::ERROR_FILE_NOT_FOUND);
    bag.SetNumber(u"n", 1);
    EXPECT_FALSE(bag.IsBagNew());
}

TEST_F(PersistentPropertiesTest, TellWhatIsMissingAndWhatHasAnotherType)
{
    Store(u"n", Platform::REG_DWORD, "1234");
    Store(u"long", Platform::REG_DWORD, "12345678");
    Store(u"short", Platform::REG_DWORD, "12");
    Store(u"s", Platform::REG_SZ, std::string("a\0\0\0", 4));
    Store(u"large", Platform::REG_BINARY, std::string(5000, 'x'));
    const std::string at = "('HKEY_CURRENT_USER\\SOFTWARE\\Client\\Settings\\";
    const struct {
        std::function<void()> act;
        std::string token;
    } cases[] = {{[&] { static_cast<void>(bag.GetNumber(u"x")); }, "reg-query-val" + at + "x') err=2"},
        {[&] { static_cast<void>(bag.GetString(u"x")); }, "reg-query-val" + at + "x') err=2"},
        {[&] { static_cast<void>(bag.GetBinary(u"x")); }, "reg-query-val" + at + "x') err=2"},
        {[&] { static_cast<void>(bag.GetString(u"n")); }, "reg-val-badtype" + at + "n') REG_SZ expected"},
        {[&] { static_cast<void>(bag.GetString(u"large")); },
            "reg-val-badtype" + at + "large') REG_SZ expected"},
        {[&] { static_cast<void>(bag.GetBinary(u"s")); }, "reg-val-badtype" + at + "s') REG_BINARY expected"},
        {[&] { static_cast<void>(bag.GetNumber(u"s")); }, "reg-val-badtype" + at + "s') REG_DWORD expected"},
        {[&] { static_cast<void>(bag.GetNumber(u"large")); },
            "reg-val-badtype" + at + "large') REG_DWORD expected"},
        {[&] { static_cast<void>(bag.GetNumber(u"long")); },
            "reg-val-badtype" + at + "long') REG_DWORD expected"},
        {[&] { static_cast<void>(bag.GetNumber(u"short")); },
            "reg-val-badtype" + at + "short') REG_DWORD expected"},
        {[&] { static_cast<void>(bag.GetHandle(u"n")); }, "pprop-gethandle-notsupp"},
        {[&] { bag.SetHandle(u"h", Handle{1}); }, "pprop-sethandle-notimpl"},
        {[&] { bag.SetNumber(WideString().Append(u'n', 16384), 1); },
            "reg-set-value" + at + std::string(16384, 'n') + "') err=87"}};
    for (const auto& c : cases)
        EXPECT_EQ(TokenOf(c.act), c.token);
    EXPECT_EQ(bag.GetHandle(u"n", Handle{3}), Handle{3});
    EXPECT_EQ(bag.GetString(u"n", u"d"), u"d");
    EXPECT_EQ(bag.GetBinary(u"s", Bytes("AA")), Bytes("AA"));
    EXPECT_EQ(bag.GetNumber(u"s", 5), 5U);
    EXPECT_EQ(bag.GetNumber(u"long", 5), 5U);
    EXPECT_EQ(bag.GetNumber(u"short", 5), 0x3231U) << "the type alone counts";
}

TEST_F(PersistentPropertiesTest, TerminateWhateverTextIsStored)
{
    const struct {
        std::string bytes;
        std::u16string text;
    } cases[] = {{"", u""}, {"a", u""}, {std::string("a\0b", 3), u"a"},
        {std::string("a\0\0\0b\0\0\0", 8), u"a"}, {std::string(512, 'x'), std::u16string(256, u'\x7878')},
        {std::string(513, 'x'), std::u16string(256, u'\x7878')},
        {std::string(100'001, 'x'), std::u16string(50'000, u'\x7878')}};
    for (const auto& c : cases) {
        Store(u"s", Platform::REG_SZ, c.bytes);
        EXPECT_EQ(bag.GetString(u"s"), c.text.c_str()) << c.bytes.size();
        EXPECT_EQ(bag.GetString(u"s", u"d"), c.text.c_str()) << c.bytes.size();
    }
}

TEST_F(PersistentPropertiesTest, PassForeignTypesOverAndClearThem)
{
    bag.SetNumber(u"n", 1);
    bag.SetString(WideString().Append(u'x', 5000), u"long name");
    Store(u"multi", Platform::REG_MULTI_SZ, "");
    Key(Path() + u"\\Sub\\Deep");
    EXPECT_EQ(bag.EnumProperties().size(), 2U);
    EXPECT_EQ(bag.GetType(u"multi"), Type::none);
    EXPECT_EQ(Key(Path()).Values().size(), 3U);
    bag.Clear();
    EXPECT_TRUE(Key(Path()).Values().empty());
    EXPECT_EQ(bag.EnumBags(), std::vector<WideString>{u"Sub"});
    bag.Delete(u"missing");
    bag.DeleteBag();
    EXPECT_TRUE(bag.IsBagNew());
    EXPECT_EQ(Key(u"SOFTWARE\\Client").Subkeys().size(), 0U);
    bag.DeleteBag();
}

// As deep as keys can lie, and with hardly more descriptors than levels.
TEST_F(PersistentPropertiesTest, DeleteTheDeepestBag)
{
    EXPECT_EQ(InAnotherProcess([] {
        const rlimit descriptors{600, 600};
        ::setrlimit(RLIMIT_NOFILE, &descriptors);
        WideString path = u"d";
        for (int level = 3; level <= 512; ++level) // SOFTWARE is level 1
            path += u"\\d";
        PersistentProperties deepest;
        deepest.Open(path, true);
        deepest.SetNumber(u"n", 1);
        PersistentProperties top;
        top.Open(u"d", true);
        top.DeleteBag();
        deepest.Open(path + u"\\d", true);
        const std::string denied = TokenOf([&] { deepest.SetNumber(u"n", 1); });
        return top.IsBagNew() && denied.ends_with("err=87") ? 0 : 1;
    }),
        0);
}

TEST_F(PersistentPropertiesTest, KeepTheKeyOpenForTheSameBagOnly)
{
    bag.SetNumber(u"n", 1);
    EXPECT_EQ(Platform::RegDeleteKeyW(Platform::HKEY_CURRENT_USER, Path().c_str()), 0U);
    const std::string deleted = "reg-query-val('HKEY_CURRENT_USER\\SOFTWARE\\Client\\Settings\\n') err=1018";
    EXPECT_EQ(TokenOf([&] { static_cast<void>(bag.GetNumber(u"n")); }), deleted);
    bag.Open(u"Client\\Settings", true);
    EXPECT_EQ(TokenOf([&] { static_cast<void>(bag.GetNumber(u"n")); }), deleted) << "still the same key";
    EXPECT_EQ(bag.GetNumber(u"n", 5), 5U);
}

TEST_F(PersistentPropertiesTest, OfTheMachineAreReadByEverybodyAndWrittenByTheAdministrator)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "takes an administrator and a user";
    Key(u"SOFTWARE\\Shared", Platform::HKEY_LOCAL_MACHINE).Set(u"n", "1234", Platform::REG_DWORD);
    bag.SetNumber(u"n", 1);
    const int failedAt = AsOrdinaryUser([] {
        PersistentProperties shared;
        shared.Open(u"Shared", false);
        if (shared.GetNumber(u"n") != 0x34333231 || shared.EnumProperties().size() != 1)
            return 1;
        const std::string denied = "reg-open-key('HKEY_LOCAL_MACHINE\\SOFTWARE\\Shared') err=5";
        if (TokenOf([&] { shared.SetNumber(u"n", 1); }) != denied
            || TokenOf([&] { shared.Clear(); }) != denied || TokenOf([&] { shared.Delete(u"n"); }) != denied)
            return 2;
        if (shared.GetNumber(u"n", 5) != 0x34333231 || shared.IsBagNew()) // opened again, for reading
            return 3;
        const std::string kept = "reg-delete-key('HKEY_LOCAL_MACHINE\\SOFTWARE\\Shared') err=5";
        if (TokenOf([&] { shared.DeleteBag(); }) != kept)
            return 4;
        // A hive that is another's gives defaults, and fails where there is none.
        PersistentProperties others;
        others.Open(u"Client\\Settings", true);
        if (!others.IsBagNew() || others.GetNumber(u"n", 5) != 5 || others.GetString(u"n", u"d") != u"d")
            return 5;
        const std::string secret = "reg-open-key('HKEY_CURRENT_USER\\SOFTWARE\\Client\\Settings') err=5";
        return TokenOf([&] { static_cast<void>(others.GetType(u"n")); }) == secret
                && TokenOf([&] { static_cast<void>(others.EnumBags()); }) == secret
                && TokenOf([&] { others.Delete(u"n"); }) == secret
            ? 0
            : 6;
    });
    EXPECT_EQ(failedAt, 0);
}

TEST_F(PersistentPropertiesTest, ImportUpToTheHandle)
{
    MemoryProperties source;
    source.SetNumber(u"a", 1);
    source.SetHandle(u"b", Handle{2});
    source.SetNumber(u"c", 3);
    EXPECT_EQ(TokenOf([&] { bag.Import(source.Export()); }), "pprop-sethandle-notimpl");
    EXPECT_EQ(bag.EnumProperties(), std::vector<WideString>{u"a"});
    source.Delete(u"b");
    bag.Import(source.Export());
    EXPECT_TRUE(source.IsSubsetOf(bag, true) && bag.IsSubsetOf(source, true));
    EXPECT_EQ(bag.Export(), source.Export());
}

// A text that grows and shrinks between the two looks at it comes out as one that was set.
TEST_F(PersistentPropertiesTest, ReadWholeTextsWhileAnotherWrites)
{
    const WideString texts[] = {WideString().Append(u'a', 3), WideString().Append(u'b', 300),
        WideString().Append(u'c', 3000), WideString().Append(u'd', 30)};
    bag.SetString(u"s", texts[0]);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        PersistentProperties other;
        other.Open(u"Client\\Settings", true);
        for (unsigned i = 0; i < 2000; ++i)
            other.SetString(u"s", texts[i % 4]);
        done = true;
    });
    while (!done) {
        const WideString read = bag.GetString(u"s");
        EXPECT_TRUE(std::find(std::begin(texts), std::end(texts), read) != std::end(texts))
            << read.GetLength();
    }
    writer.join();
}

TEST_F(PersistentPropertiesTest, WithoutMemoryLeakNothingAndLoseNothing)
{
    const WideString text = WideString().Append(u't', 400);
    bag.SetString(u"text", text);
    bag.SetNumber(u"n", 1);
    const WideString path = u"Client\\Settings";
    const WideString name = u"text"; // made beforehand: a literal becomes the empty name without memory
    const auto act = [&] {
        PersistentProperties fresh;
        fresh.Open(path, true);
        EXPECT_EQ(fresh.GetString(name), text);
        EXPECT_EQ(fresh.EnumProperties().size(), 2U);
        fresh.SetString(name, text);
        MemoryProperties().Merge(fresh, {}, true);
    };
    act();
    for (unsigned n = 1, count = n; n <= count; ++n) {
        const long before = AllocationPlan::Living();
        AllocationPlan::FailNth(n);
        try {
            act();
        } catch (const std::bad_alloc&) {
        } catch (const Error&) {
        }
        count = AllocationPlan::Count();
        AllocationPlan::FailNth(0);
        EXPECT_LE(AllocationPlan::Living(), before) << "allocation " << n;
    }
    act();
}

} // namespace

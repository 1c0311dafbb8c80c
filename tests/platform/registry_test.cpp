#include "tests/platform/registry_store.h"

#include <thread>

using namespace Platform;
using namespace std::string_literals;

namespace {

using Names = std::vector<std::u16string>;

TEST(RegistryValue, ComesBackAsItWasSet)
{
    const TemporaryRegistry registry;
    const Key key(u"SOFTWARE\\a");
    const Key other(u"software\\A");
    const std::pair<std::uint32_t, std::string> cases[] = {// every type, known or not, whatever the bytes
        {REG_SZ, "a\0b\0\0\0"s}, {REG_SZ, "odd"}, {REG_DWORD, "1234"}, {REG_NONE, ""},
        {0xFFFFFFFF, "foreign"},
        // sizes around the room that the first one was given, then far beyond, and small again
        {3, std::string(24, 'a')}, {3, std::string(25, 'b')}, {3, std::string(1400, 'c')},
        {3, std::string(1401, 'd')}, {3, std::string(3'000'000, 'f')}, {3, std::string(2'000'000, 'g')},
        {3, std::string(9, 'h')}, {3, std::string(70'000, 'i')}, {3, ""}};
    for (const auto& [type, bytes] : cases) {
        for (const std::u16string& name : {u"one"s, Numbered(u"fresh", bytes.size()), u""s}) {
            EXPECT_EQ(key.Set(name, bytes, type), 0U);
            std::uint32_t found = 12345;
            EXPECT_TRUE(other.Get(name, &found) == bytes) << bytes.size() << " bytes of type " << type;
            EXPECT_EQ(found, type);
            EXPECT_TRUE(key.Get(name) == bytes) << "also where it was set";
        }
    }
    EXPECT_LT(registry.Content("user/keys/software/keys/a/=one").size(), 200'000U) << "room is given back";
    EXPECT_EQ(other.Delete(u"ONE"), 0U);
    EXPECT_EQ(key.Get(u"one"), std::nullopt);
    EXPECT_EQ(key.Delete(u"one"), ERROR_FILE_NOT_FOUND);
}

TEST(RegistryValue, TellsWhatDoesNotFit)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    const Key subkey(u"Subkey", key);
    key.Set(u"name", "12345678", REG_QWORD);
    char16_t name[7];
    char data[8];
    std::uint32_t chars = 6;
    EXPECT_EQ(RegEnumKeyExW(key, 0, name, &chars, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
    for (const auto [room, bytes, code] :
        {std::array{4U, 8U, ERROR_MORE_DATA}, {5, 7, ERROR_MORE_DATA}, {5, 8, 0}}) {
        chars = room;
        std::uint32_t size = bytes;
        EXPECT_EQ(RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, data, &size), code);
        EXPECT_TRUE(chars == 4 && size == 8);
        size = bytes;
        EXPECT_EQ(RegQueryValueExW(key, u"NAME", nullptr, nullptr, data, &size), bytes < 8 ? code : 0);
        EXPECT_EQ(size, 8U);
    }
    EXPECT_EQ(key.Measures(), (std::array{1U, 6U, 1U, 4U}));
}

TEST(RegistryName, IsFoundInAnyCaseAndKeptAsFirstWritten)
{
    const TemporaryRegistry registry;
    const std::pair<std::u16string, std::u16string> cases[] = {{u"Straße", u"sTRAßE"}, {u"ÄÖÜ", u"äöü"},
        // what no file system takes, or what the store could take for its own
        {u".", u"."}, {u"..", u".."}, {u"/", u"/"}, {u"A/../b", u"a/../B"}, {u"%2E", u"%2e"}, {u"%", u"%"},
        {u"%~0001", u"%~0001"}, {u"%uD800", u"%ud800"}, {u"\x01\x1F\x7F", u"\x01\x1F\x7F"},
        {u"Keys", u"keys"}, {u"name", u"NAME"}, {u".new", u".NEW"}, {u"=Lock", u"=lock"}, {u"a. ", u"A. "},
        // pairs of surrogates, half of one, either half, and both in the wrong order
        {u"\xD83D\xDE00 A", u"\xD83D\xDE00 a"}, {u"\xD800", u"\xD800"}, {u"x\xDC00Y", u"X\xDC00y"},
        {u"\xDE00\xD83D", u"\xDE00\xD83D"},
        // names that only a digest makes short enough
        {std::u16string(255, u'X'), std::u16string(255, u'x')},
        {std::u16string(254, u'x'), std::u16string(254, u'X')},
        {std::u16string(255, u'€'), std::u16string(255, u'€')}};
    const Key key(u"names");
    Names expected;
    for (const auto& [first, again] : cases) {
        expected.push_back(first);
        EXPECT_EQ(Key(first, key).Set(u"", "found"), 0U);
        EXPECT_EQ(key.Set(first, "first") | key.Set(again, "again"), 0U);
        EXPECT_EQ(key.Get(again), "again");
        EXPECT_EQ(Key(again, key).Get(u""), "found") << testing::PrintToString(again);
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(key.Subkeys(), expected);
    EXPECT_EQ(key.Values(), expected);
    for (const auto& [first, again] : cases)
        EXPECT_EQ(RegDeleteKeyW(key, again.c_str()) | key.Delete(again), 0U);
    EXPECT_EQ(key.Measures(), (std::array{0U, 0U, 0U, 0U}));
    const std::u16string longest(16383, u'ü');
    EXPECT_EQ(key.Set(longest, "v"), 0U);
    EXPECT_EQ(key.Values(), Names{longest});
    EXPECT_EQ(key.Ask(longest + u"x"), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(OpenCode(key, std::u16string(256, u'x')), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(registry.Names(), std::set<std::string>{"user"}) << "nothing went astray";
}

TEST(RegistryKey, IsMadeWithAllLevelsAndDeletedWithItsValues)
{
    const TemporaryRegistry registry;
    EXPECT_EQ(OpenCode(HKEY_CURRENT_USER, u""), ERROR_FILE_NOT_FOUND) << "nothing was written yet";
    EXPECT_EQ(registry.Names(), std::set<std::string>()) << "asking makes nothing";
    for (const char16_t* const path : {u"a\\b\\c", u"\\A\\\\B\\", u""}) { // empty levels count for nothing
        std::uint32_t found = 0;
        Handle made;
        RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_READ, nullptr, &made, &found);
        EXPECT_EQ(found, path[0] == u'a' ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY);
        EXPECT_EQ(RegCloseKey(made), 0U);
    }
    EXPECT_EQ(OpenCode(HKEY_LOCAL_MACHINE, u"a"), ERROR_FILE_NOT_FOUND) << "the hives are apart";
    Key(u"a\\b").Set(u"v", "1");
    const Key reading(Opened(HKEY_CURRENT_USER, u"a", KEY_READ)); // enough for it
    const std::pair<const char16_t*, std::uint32_t> deletions[] = {{u"b", ERROR_ACCESS_DENIED},
        {u"b\\c\\none", ERROR_FILE_NOT_FOUND}, {u"", ERROR_INVALID_PARAMETER}, {u"B\\C", 0}, {u"b", 0},
        {u"b", ERROR_FILE_NOT_FOUND}};
    for (const auto& [path, code] : deletions)
        EXPECT_EQ(RegDeleteKeyW(reading, path), code) << testing::PrintToString(path);
}

TEST(RegistryKey, HandleOfADeletedKeyAnswersSo)
{
    const TemporaryRegistry registry;
    const Key key(u"p\\k");
    key.Set(u"v", "1");
    EXPECT_EQ(key.Get(u"v"), "1");
    const Key unused(u"p\\k");
    EXPECT_EQ(InAnotherProcess([] { return RegDeleteKeyW(HKEY_CURRENT_USER, u"p\\k") != 0; }), 0);
    const Key namesake(u"p\\k");
    namesake.Set(u"v", "2");
    std::u16string name;
    for (const Key* dead : {&key, &unused})
        for (const std::uint32_t code : {dead->Ask(u"v"), dead->Ask(u"none"), dead->Set(u"v", "3"),
                 dead->Delete(u"v"), OpenCode(*dead, u""), OpenCode(*dead, u"s"), RegDeleteKeyW(*dead, u"s"),
                 MakeCode(*dead, u"s"), NameAt(RegEnumKeyExW, *dead, 0, name),
                 NameAt(RegEnumValueW, *dead, 0, name)})
            EXPECT_EQ(code, ERROR_KEY_DELETED);
    EXPECT_EQ(namesake.Get(u"v"), "2");
}

TEST(RegistryKey, HandleDoesWhatItsRightsSayAndNoMore)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    const Key reading(Opened(key, u"", KEY_READ));
    const Key writing(Opened(key, u"", KEY_SET_VALUE));
    std::u16string name;
    for (const std::uint32_t code : {reading.Set(u"v", "x"), reading.Delete(u"v"), MakeCode(reading, u"s"),
             writing.Ask(u"v"), NameAt(RegEnumKeyExW, writing, 0, name)})
        EXPECT_EQ(code, ERROR_ACCESS_DENIED);
    EXPECT_EQ(writing.Set(u"v", "x"), 0U);
    EXPECT_EQ(RegCloseKey(writing), 0U);
    EXPECT_EQ(writing.Set(u"v", "x"), ERROR_INVALID_HANDLE);
}

TEST(RegistryEnumeration, GivesEachNameOnceWhileOthersDelete)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    const Key deleting(u"k");
    for (unsigned i = 0; i < 40; ++i) {
        key.Set(Numbered(u"v", i), "x");
        const Key made(Numbered(u"s", i), key);
    }
    std::set<std::u16string> found;
    std::u16string name;
    const auto add = [&](auto next, std::uint32_t index) {
        return NameAt(next, key, index, name) == 0 && found.insert(name).second;
    };
    for (unsigned index = 0; add(RegEnumValueW, index); ++index) {
        deleting.Delete(Numbered(u"v", (index * 7 + 3) % 40));
        deleting.Set(Numbered(u"w", index), "x"); // later than the list
        add(RegEnumKeyExW, index);
        RegDeleteKeyW(deleting, Numbered(u"s", (index * 7 + 3) % 40).c_str());
    }
    for (const Names& names : {Key(u"k").Subkeys(), Key(u"k").Values()})
        for (const std::u16string& left : names)
            EXPECT_TRUE(found.contains(left) || left.starts_with(u"w")) << "was there all the time";
    EXPECT_EQ(key.Values(), Key(u"k").Values()) << "a new enumeration is up to date";
    EXPECT_EQ(key.Subkeys(), Key(u"k").Subkeys());
}

TEST(RegistryEnumeration, FirstIndexAgainAndAgainEmptiesAKey)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    const Key other(u"k");
    for (unsigned i = 0; i < 2000; ++i)
        key.Set(Numbered(u"v", i), "x");
    // Were each call linear, this would take minutes.
    std::u16string name;
    unsigned deleted = 0;
    while (NameAt(RegEnumValueW, key, 0, name) == 0) {
        EXPECT_EQ((deleted % 2 != 0 ? key : other).Delete(name), 0U);
        if (++deleted == 1000)
            other.Set(u"a new", "x");
    }
    EXPECT_EQ(deleted, 2001U) << "what comes meanwhile is found too";
}

TEST(RegistryHive, OfTheUserLetsNobodyElseIn)
{
    const TemporaryRegistry registry;
    const mode_t mask = ::umask(0);
    EXPECT_EQ(Key(u"secret").Set(u"v", "1"), 0U);
    ::umask(mask);
    for (const char* name : {"", "/keys", "/keys/secret", "/keys/secret/=v", "/keys/secret/stamp"})
        EXPECT_EQ(registry.Mode("user"s + name) & 0077U, 0U) << name;
    const int asAnother = AsOrdinaryUser([] { return OpenCode(HKEY_CURRENT_USER, u"secret"); });
    EXPECT_EQ(asAnother, ::getuid() == 0 ? static_cast<int>(ERROR_ACCESS_DENIED) : 0);
    for (const mode_t writable : {0770, 0702}) {
        ::chmod(registry.Path("user").c_str(), writable);
        EXPECT_EQ(OpenCode(HKEY_CURRENT_USER, u"secret"), ERROR_ACCESS_DENIED) << "not to be believed";
    }
}

TEST(RegistryHive, OfTheMachineIsReadByAllAndWrittenByTheAdministrator)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "takes an administrator and a user";
    const TemporaryRegistry registry;
    const mode_t mask = ::umask(0077);
    EXPECT_EQ(Key(u"SOFTWARE", HKEY_LOCAL_MACHINE).Set(u"v", "1"), 0U);
    // as if the process had been killed before it could give them their modes
    ::chmod(registry.Path("machine/keys/software/stamp").c_str(), 0600);
    ::chmod(registry.Path("machine/keys").c_str(), 0700);
    EXPECT_EQ(Key(u"SOFTWARE", HKEY_LOCAL_MACHINE).Set(u"LangList", "0409"), 0U);
    EXPECT_EQ(Key(u"more", HKEY_LOCAL_MACHINE).Set(u"v", "1"), 0U);
    ::umask(mask);
    EXPECT_EQ(registry.Mode("machine/keys/software/lock") & 0077U, 0U) << "no reader can lock it";
    EXPECT_EQ(registry.Mode("machine/keys/software/stamp"), 0644U);
    EXPECT_EQ(AsOrdinaryUser([&] {
        const Key reading(Opened(HKEY_LOCAL_MACHINE, u"SOFTWARE", KEY_READ));
        EXPECT_EQ(reading.Get(u"LangList"), "0409");
        EXPECT_EQ(reading.Values(), (Names{u"LangList", u"v"}));
        for (const std::uint32_t code : {OpenCode(HKEY_LOCAL_MACHINE, u"SOFTWARE", KEY_READ | KEY_WRITE),
                 MakeCode(HKEY_LOCAL_MACHINE, u"n"), RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"more")})
            EXPECT_EQ(code, ERROR_ACCESS_DENIED);
        return HasFailure();
    }),
        0);
    ASSERT_EQ(::chown(registry.Path("machine").c_str(), 65534, 65534), 0);
    EXPECT_EQ(OpenCode(HKEY_LOCAL_MACHINE, u"SOFTWARE"), ERROR_ACCESS_DENIED) << "no administrator's";
}

TEST(RegistryHive, LiesWhereTheUserKeepsSettings)
{
    const TemporaryRegistry registry;
    EXPECT_EQ(InAnotherProcess([&] {
        ::unsetenv("TESSEL_REGISTRY");
        ::setenv("HOME", registry.Path("home").c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", "relative", 1);
        Key(u"k").Set(u"v", "1");
        ::setenv("XDG_CONFIG_HOME", registry.Path("x").c_str(), 1);
        Key(u"l").Set(u"v", "1");
        ::setenv("TESSEL_REGISTRY", "relative", 1);
        return OpenCode(HKEY_CURRENT_USER, u"l") != ERROR_INVALID_PARAMETER;
    }),
        0);
    EXPECT_TRUE(
        registry.Has("home/.config/tessel/registry/keys/k") && registry.Has("x/tessel/registry/keys/l"));
}

TEST(RegistryStore, RefusesWhatIsNotItsOwnAndWritesOverIt)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    key.Set(u"good", "good");
    const std::string good = registry.Content("user/keys/k/=good");
    const std::string place = "user/keys/k/=v";
    const std::function<void()> plantings[] = {[&] { registry.MakeFile(place, "", 0600); },
        [&] { registry.MakeFile(place, std::string(5000, 'x'), 0600); },
        [&] { registry.MakeFile(place, good, 0600); },
        [&] { registry.MakeLink(registry.Path("outside"), place); },
        [&] { ::mkfifo(registry.Path(place).c_str(), 0600); }};
    for (const auto& plant : plantings) {
        plant();
        const Key fresh(u"k");
        EXPECT_EQ(fresh.Ask(u"v"), &plant == plantings ? ERROR_FILE_NOT_FOUND : ERROR_INVALID_DATA);
        EXPECT_EQ(fresh.Values(), Names{u"good"});
        EXPECT_EQ(fresh.Set(u"v", "new"), 0U);
        EXPECT_EQ(fresh.Get(u"v"), "new");
        EXPECT_EQ(fresh.Delete(u"v"), 0U);
    }
    EXPECT_FALSE(registry.Has("outside"));
    ASSERT_EQ(::link(registry.Path("user/keys/k/=good").c_str(), registry.Path("backup").c_str()), 0);
    EXPECT_EQ(key.Set(u"good", "new"), 0U);
    EXPECT_EQ(key.Get(u"good"), "new");
    EXPECT_EQ(registry.Content("backup"), good) << "what has a second link is not written into";
}

TEST(RegistryStore, DoesNotFollowLinksOutOfItself)
{
    const TemporaryRegistry registry;
    const Key parent(u"k");
    Key(u"k\\s").Set(u"v", "1");
    Key(u"other\\inner").Set(u"v", "1");
    // The link leads to a folder that would pass for a key.
    registry.MakeLink(registry.Path("user/keys/other"), "user/keys/k/keys/linked");
    EXPECT_EQ(OpenCode(parent, u"linked\\inner"), ERROR_INVALID_DATA);
    EXPECT_EQ(RegDeleteKeyW(parent, u"linked\\inner"), ERROR_INVALID_DATA);
    EXPECT_EQ(parent.Subkeys(), Names{u"s"});
    ASSERT_EQ(::rename(registry.Path("user/keys/k/keys").c_str(), registry.Path("moved").c_str()), 0);
    registry.MakeLink(registry.Path("moved"), "user/keys/k/keys");
    EXPECT_EQ(OpenCode(parent, u"s"), ERROR_INVALID_DATA);
    EXPECT_NE(RegDeleteKeyW(HKEY_CURRENT_USER, u"k"), 0U);
    EXPECT_TRUE(registry.Has("moved/s/=v") && registry.Has("user/keys/other/keys/inner"));
}

// One byte of a good file is spoilt, or the file is cut off, at every place: the value is what it was before
// the last set, or is refused; it is never anything else.
TEST(RegistryStore, DamageOfAFileIsNoticed)
{
    const TemporaryRegistry registry;
    for (const std::size_t size : {20, 2000}) {
        const std::string older(size, 'o');
        const std::string newer(size, 'n');
        const std::u16string path = Numbered(u"k", size);
        EXPECT_EQ(Key(path).Set(u"v", older) | Key(path).Set(u"v", newer), 0U);
        const std::string file = "user/keys/k" + std::to_string(size) + "/=v";
        const std::string good = registry.Content(file);
        unsigned outcomes[3] = {};
        // in the bytes of the value themselves only here and there
        for (std::size_t at = 0; at < 2 * good.size(); at += at % good.size() < 200 ? 1 : 19) {
            std::string bad = good.substr(0, std::min(at, good.size()));
            if (at >= good.size())
                bad[at - good.size()] ^= 0x10;
            registry.MakeFile(file, bad, 0600);
            std::uint32_t type = 3;
            const auto found = Key(path).Get(u"v", &type);
            EXPECT_TRUE(!found || ((found == older || found == newer) && type == 3)) << "at " << at;
            ++outcomes[!found ? 0 : found == older ? 1 : 2];
        }
        EXPECT_GT(*std::min_element(outcomes, outcomes + 3), 10U) << "each happens";
    }
}

TEST(RegistryStore, ThreadsMayShareAHandle)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < 4; ++i)
        threads.emplace_back([&key, i] {
            for (unsigned round = 0; round < 200; ++round) {
                const std::string bytes(round % 40, static_cast<char>('a' + i));
                EXPECT_EQ(key.Set(Numbered(u"own", i), bytes) | key.Set(u"shared", bytes), 0U);
                EXPECT_EQ(key.Get(Numbered(u"own", i)), bytes);
                EXPECT_TRUE(round % 50 != 0 || key.Values().size() >= 2U);
            }
        });
}

} // namespace

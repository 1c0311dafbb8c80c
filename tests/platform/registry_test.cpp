#include "tests/platform/registry_store.h"

#include <algorithm>
#include <sys/time.h>
#include <thread>

using namespace Platform;
using namespace std::string_literals;

namespace {

using Names = std::vector<std::u16string>;

Names Sorted(Names names)
{
    std::sort(names.begin(), names.end());
    return names;
}

// ---- Values

TEST(RegistryValue, ComesBackAsItWasSet)
{
    const TemporaryRegistry registry;
    const Key key(u"SOFTWARE\\a");
    const Key other(u"software\\A");
    const struct {
        std::uint32_t type;
        std::string bytes;
    } cases[] = {// every type, known or not, whatever the bytes
        {REG_SZ, std::string("a\0b\0\0\0", 6)}, {REG_SZ, "odd"}, {REG_DWORD, "1234"}, {REG_DWORD, ""},
        {REG_NONE, ""}, {REG_MULTI_SZ, "x"}, {0xFFFFFFFF, "foreign"},
        // sizes around the room that the first one was given, then far beyond, and small again
        {3, std::string(24, 'a')}, {3, std::string(25, 'b')}, {3, std::string(1400, 'c')},
        {3, std::string(1401, 'd')}, {3, std::string(5000, 'e')}, {3, std::string(3'000'000, 'f')},
        {3, std::string(2'000'000, 'g')}, {3, std::string(9, 'h')}, {3, std::string(70'000, 'i')}, {3, ""}};
    int number = 0;
    for (const auto& c : cases) {
        const std::u16string fresh = Numbered(u"fresh", static_cast<unsigned>(++number));
        for (const std::u16string& name : {std::u16string(u"one"), fresh, std::u16string()}) {
            EXPECT_EQ(key.Set(name, c.bytes, c.type), 0U);
            std::uint32_t type = 12345;
            EXPECT_TRUE(other.Get(name, &type) == c.bytes) << c.bytes.size() << " bytes of type " << c.type;
            EXPECT_EQ(type, c.type);
            EXPECT_TRUE(key.Get(name, &type) == c.bytes) << "also where it was set";
        }
    }
    struct stat status;
    ASSERT_EQ(::stat(registry.Path("user/keys/software/keys/a/=one").c_str(), &status), 0);
    EXPECT_LT(status.st_size, 200'000) << "a file gives back what it does not need";
}

TEST(RegistryValue, QueryTellsTheSizeThatIsNeeded)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    key.Set(u"v", "12345678", REG_QWORD);
    for (const bool known : {false, true}) {
        char room[9] = "........";
        std::uint32_t size = 7;
        std::uint32_t type = 0;
        EXPECT_EQ(RegQueryValueExW(key, u"V", nullptr, &type, room, &size), ERROR_MORE_DATA) << known;
        EXPECT_EQ(size, 8U);
        EXPECT_EQ(type, REG_QWORD);
        EXPECT_EQ(RegQueryValueExW(key, u"v", nullptr, nullptr, room, &size), 0U);
        EXPECT_STREQ(room, "12345678");
        size = 4;
        EXPECT_EQ(RegQueryValueExW(key, u"v", nullptr, nullptr, nullptr, &size), 0U) << "no data, no room";
        EXPECT_EQ(size, 8U);
    }
    EXPECT_EQ(key.Ask(u"w"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(key.Delete(u"w"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(key.Delete(u"V"), 0U);
    EXPECT_EQ(key.Ask(u"v"), ERROR_FILE_NOT_FOUND);
}

TEST(RegistryValue, IsSeenByOthersAtOnce)
{
    const TemporaryRegistry registry;
    const Key first(u"k");
    const Key second(u"k");
    for (const std::string& bytes : {"one"s, "two"s, std::string(5000, '3')}) {
        EXPECT_EQ(first.Set(u"v", bytes), 0U);
        EXPECT_EQ(second.Get(u"v"), bytes);
        EXPECT_EQ(InAnotherProcess([&] { return second.Set(u"v", bytes + "!") != 0; }), 0);
        EXPECT_EQ(first.Get(u"v"), bytes + "!");
        EXPECT_EQ(second.Delete(u"v"), 0U);
        EXPECT_EQ(first.Get(u"v"), std::nullopt);
    }
}

// ---- Names

TEST(RegistryName, IsFoundInAnyCaseAndKeptAsFirstWritten)
{
    const TemporaryRegistry registry;
    const struct {
        std::u16string first, again;
    } cases[] = {{u"Straße", u"sTRAßE"}, {u"ÄÖÜ", u"äöü"}, {u"Ⅷ", u"ⅷ"},
        {u"\xD83D\xDE00 A", u"\xD83D\xDE00 a"},
        // what no file system takes, or what the store could take for its own
        {u".", u"."}, {u"..", u".."}, {u"/", u"/"}, {u"A/../b", u"a/../B"}, {u"%2E", u"%2e"}, {u"%", u"%"},
        {u"%~0001", u"%~0001"}, {u"%uD800", u"%ud800"}, {u"\x01\x1F\x7F", u"\x01\x1F\x7F"},
        {u"Keys", u"keys"}, {u"name", u"NAME"}, {u".new", u".NEW"}, {u"=Lock", u"=lock"}, {u"~", u"~"},
        {u" ", u" "}, {u"a. ", u"A. "},
        // half a pair of surrogates, either half, and both in the wrong order
        {u"\xD800", u"\xD800"}, {u"x\xDC00Y", u"X\xDC00y"}, {u"\xDE00\xD83D", u"\xDE00\xD83D"},
        // names that only a digest makes short enough
        {std::u16string(255, u'X'), std::u16string(255, u'x')},
        {std::u16string(254, u'x'), std::u16string(254, u'X')},
        {std::u16string(255, u'€'), std::u16string(255, u'€')},
        {std::u16string(64, u'\x02'), std::u16string(64, u'\x02')}};
    const Key key(u"names");
    Names expected;
    for (const auto& c : cases) {
        expected.push_back(c.first);
        const Key subkey(c.first, key);
        EXPECT_EQ(subkey.Set(u"", "found"), 0U);
        EXPECT_EQ(key.Set(c.first, "found"), 0U);
        EXPECT_EQ(key.Set(c.again, "again"), 0U);
        EXPECT_EQ(key.Get(c.again), "again");
        EXPECT_EQ(Key(c.again, key).Get(u""), "found") << testing::PrintToString(c.again);
    }
    EXPECT_EQ(Sorted(key.Subkeys()), Sorted(expected));
    EXPECT_EQ(Sorted(key.Values()), Sorted(expected));
    for (const auto& c : cases) {
        EXPECT_EQ(RegDeleteKeyW(key, c.again.c_str()), 0U);
        EXPECT_EQ(key.Delete(c.again), 0U);
    }
    EXPECT_EQ(key.Subkeys(), Names());
    EXPECT_EQ(key.Values(), Names());
    EXPECT_EQ(registry.Names(), std::set<std::string>{"user"});
}

TEST(RegistryName, HasALongestLength)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    const std::u16string longest(16383, u'ü');
    EXPECT_EQ(key.Set(longest, "v"), 0U);
    EXPECT_EQ(key.Get(longest), "v");
    EXPECT_EQ(key.Values(), Names{longest});
    std::uint32_t values = 0;
    std::uint32_t chars = 0;
    EXPECT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, &chars,
                  nullptr, nullptr, nullptr),
        0U);
    EXPECT_EQ(values, 1U);
    EXPECT_EQ(chars, 16383U);
    EXPECT_EQ(key.Set(longest + u"x", "v"), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(key.Ask(longest + u"x"), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(OpenCode(key, std::u16string(256, u'x')), ERROR_INVALID_PARAMETER);
    std::u16string deepest(u"1");
    for (int level = 3; level <= 512; ++level) // "k" is level 1
        deepest += u"\\1";
    EXPECT_NE(Key(deepest, key), NULL_HANDLE);
    EXPECT_EQ(OpenCode(key, deepest + u"\\1"), ERROR_INVALID_PARAMETER);
}

// ---- Keys

TEST(RegistryKey, IsMadeWithAllLevels)
{
    const TemporaryRegistry registry;
    EXPECT_EQ(OpenCode(HKEY_CURRENT_USER, u""), ERROR_FILE_NOT_FOUND) << "nothing was written yet";
    EXPECT_EQ(OpenCode(HKEY_CURRENT_USER, u"a\\b"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(registry.Names(), std::set<std::string>()) << "asking makes nothing";
    std::uint32_t disposition = 0;
    Handle opened;
    const auto create = [&](const char16_t* path) {
        EXPECT_EQ(
            RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_READ, nullptr, &opened, &disposition),
            0U);
        RegCloseKey(opened);
        return disposition;
    };
    EXPECT_EQ(create(u"a\\b\\c"), REG_CREATED_NEW_KEY);
    EXPECT_EQ(create(u"\\A\\\\B\\"), REG_OPENED_EXISTING_KEY) << "empty levels count for nothing";
    EXPECT_EQ(create(u"a\\b\\d"), REG_CREATED_NEW_KEY);
    EXPECT_EQ(create(u""), REG_OPENED_EXISTING_KEY);
    EXPECT_EQ(Key(u"a\\b").Subkeys(), (Names{u"c", u"d"}));
    EXPECT_EQ(OpenCode(HKEY_LOCAL_MACHINE, u"a"), ERROR_FILE_NOT_FOUND) << "the hives are apart";
}

TEST(RegistryKey, IsDeletedWithItsValuesButNotWithSubkeys)
{
    const TemporaryRegistry registry;
    const Key parent(u"p");
    const Key key(u"p\\k");
    const Key subkey(u"p\\k\\s");
    key.Set(u"v", "1");
    Handle reading;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"p", 0, KEY_READ, &reading), 0U);
    EXPECT_EQ(RegDeleteKeyW(reading, u"k"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteKeyW(reading, u"k\\s\\none"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteKeyW(reading, u""), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(key.Get(u"v"), "1");
    EXPECT_EQ(RegDeleteKeyW(reading, u"K\\S"), 0U) << "a handle for reading will do";
    EXPECT_EQ(RegDeleteKeyW(reading, u"k"), 0U);
    EXPECT_EQ(RegDeleteKeyW(reading, u"k"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(OpenCode(parent, u"k"), ERROR_FILE_NOT_FOUND);
    RegCloseKey(reading);
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
    char16_t name[10];
    std::uint32_t count = 10;
    Handle opened;
    for (const Key* dead : {&key, &unused}) {
        const std::uint32_t codes[] = {dead->Ask(u"v"), dead->Ask(u"none"), dead->Set(u"v", "3"),
            dead->Delete(u"v"), OpenCode(*dead, u""), OpenCode(*dead, u"s"), RegDeleteKeyW(*dead, u"s"),
            RegCreateKeyExW(*dead, u"s", 0, nullptr, 0, KEY_READ, nullptr, &opened, nullptr),
            RegEnumKeyExW(*dead, 0, name, &count, nullptr, nullptr, nullptr, nullptr),
            RegEnumValueW(*dead, 0, name, &count, nullptr, nullptr, nullptr, nullptr),
            RegQueryInfoKeyW(*dead, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr,
                nullptr, nullptr, nullptr)};
        for (std::size_t call = 0; call < std::size(codes); ++call)
            EXPECT_EQ(codes[call], ERROR_KEY_DELETED) << "call " << call;
    }
    EXPECT_EQ(namesake.Get(u"v"), "2");
}

TEST(RegistryKey, HandleDoesWhatItsRightsSayAndNoMore)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    Handle reading;
    Handle writing;
    ASSERT_EQ(RegOpenKeyExW(key, u"", 0, KEY_READ, &reading), 0U);
    ASSERT_EQ(RegOpenKeyExW(key, nullptr, 0, KEY_SET_VALUE, &writing), 0U);
    Handle opened;
    char16_t name[4];
    std::uint32_t size = 4;
    EXPECT_EQ(RegSetValueExW(reading, u"v", 0, 3, "x", 1), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteValueW(reading, u"v"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegCreateKeyExW(reading, u"s", 0, nullptr, 0, KEY_READ, nullptr, &opened, nullptr),
        ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegSetValueExW(writing, u"v", 0, 3, "x", 1), 0U);
    EXPECT_EQ(RegQueryValueExW(writing, u"v", nullptr, nullptr, nullptr, &size), ERROR_ACCESS_DENIED);
    EXPECT_EQ(
        RegEnumKeyExW(writing, 0, name, &size, nullptr, nullptr, nullptr, nullptr), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegCloseKey(writing), 0U);
    EXPECT_EQ(RegCloseKey(writing), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegSetValueExW(writing, u"v", 0, 3, "x", 1), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCloseKey(HKEY_CURRENT_USER), 0U);
    EXPECT_EQ(RegQueryValueExW(reading, u"v", nullptr, nullptr, name, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegSetValueExW(key, u"v", 0, 3, nullptr, 1), ERROR_INVALID_PARAMETER);
    RegCloseKey(reading);
}

// ---- Enumeration

TEST(RegistryEnumeration, GivesEachNameOnceWhileOthersDelete)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    for (unsigned i = 0; i < 40; ++i) {
        key.Set(Numbered(u"v", i), "x");
        const Key made(Numbered(u"s", i), key);
    }
    const Key deleting(u"k");
    std::set<std::u16string> values;
    std::set<std::u16string> subkeys;
    char16_t name[10];
    for (std::uint32_t index = 0;; ++index) {
        std::uint32_t chars = 10;
        if (RegEnumValueW(key, index, name, &chars, nullptr, nullptr, nullptr, nullptr) != 0)
            break;
        EXPECT_TRUE(values.insert(name).second);
        deleting.Delete(Numbered(u"v", (index * 7 + 3) % 40));
        deleting.Set(Numbered(u"later", index), "x");
        chars = 10;
        if (RegEnumKeyExW(key, index, name, &chars, nullptr, nullptr, nullptr, nullptr) == 0) {
            EXPECT_TRUE(subkeys.insert(name).second);
        }
        RegDeleteKeyW(deleting, Numbered(u"s", (index * 7 + 3) % 40).c_str());
    }
    for (const std::u16string& left : key.Subkeys())
        EXPECT_TRUE(subkeys.contains(left)) << "was there all the time";
    for (const std::u16string& left : key.Values())
        EXPECT_TRUE(values.contains(left) || left.starts_with(u"later"));
    EXPECT_EQ(Sorted(key.Values()), Sorted(Key(u"k").Values())) << "a new enumeration is up to date";
    EXPECT_EQ(key.Subkeys(), Key(u"k").Subkeys());
}

TEST(RegistryEnumeration, FirstIndexAgainAndAgainEmptiesAKey)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    const Key other(u"k");
    constexpr unsigned count = 3000;
    for (unsigned i = 0; i < count; ++i)
        key.Set(Numbered(u"v", i), "x");
    // Were each call linear, this would take minutes.
    char16_t name[10];
    unsigned deleted = 0;
    std::uint32_t chars = 10;
    while (RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, nullptr, nullptr) == 0) {
        EXPECT_EQ((deleted % 2 != 0 ? key : other).Delete(name), 0U);
        if (++deleted == count / 2)
            other.Set(u"a new", "x");
        chars = 10;
    }
    EXPECT_EQ(deleted, count + 1) << "what comes meanwhile is found too";
}

TEST(RegistryEnumeration, TellsWhatDoesNotFit)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    key.Set(u"name", "12345", REG_SZ);
    const Key subkey(u"Subkey", key);
    char16_t name[7] = u"......";
    char data[5];
    std::uint32_t chars = 4;
    std::uint32_t size = 5;
    std::uint32_t type = 0;
    EXPECT_EQ(RegEnumValueW(key, 0, name, &chars, nullptr, &type, data, &size), ERROR_MORE_DATA);
    EXPECT_EQ(chars, 4U);
    size = 4;
    chars = 5;
    EXPECT_EQ(RegEnumValueW(key, 0, name, &chars, nullptr, &type, data, &size), ERROR_MORE_DATA);
    EXPECT_EQ(size, 5U);
    chars = 5;
    EXPECT_EQ(RegEnumValueW(key, 0, name, &chars, nullptr, &type, data, &size), 0U);
    EXPECT_EQ(std::string(data, 5), "12345");
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(std::u16string(name), u"name");
    chars = 6;
    EXPECT_EQ(RegEnumKeyExW(key, 0, name, &chars, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
    EXPECT_EQ(chars, 6U);
    std::uint32_t counts[4];
    EXPECT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &counts[0], &counts[1], nullptr, &counts[2],
                  &counts[3], nullptr, nullptr, nullptr),
        0U);
    EXPECT_EQ(counts[0], 1U);
    EXPECT_EQ(counts[1], 6U);
    EXPECT_EQ(counts[2], 1U);
    EXPECT_EQ(counts[3], 4U);
}

// ---- Who may do what

TEST(RegistryHive, OfTheUserLetsNobodyElseIn)
{
    const TemporaryRegistry registry;
    const mode_t mask = ::umask(0);
    {
        const Key key(u"secret");
        key.Set(u"v", "1");
    }
    ::umask(mask);
    for (const char* name : {"user", "user/keys", "user/keys/secret", "user/keys/secret/=v",
             "user/keys/secret/lock", "user/keys/secret/stamp"}) {
        struct stat status;
        ASSERT_EQ(::lstat(registry.Path(name).c_str(), &status), 0) << name;
        EXPECT_EQ(status.st_mode & 0077U, 0U) << name;
    }
    if (::getuid() == 0) {
        EXPECT_EQ(AsOrdinaryUser([] { return OpenCode(HKEY_CURRENT_USER, u"secret"); }),
            static_cast<int>(ERROR_ACCESS_DENIED));
    }
    ::chmod(registry.Path("user").c_str(), 0750);
    EXPECT_EQ(OpenCode(HKEY_CURRENT_USER, u"secret"), 0U);
    for (const mode_t writable : {0770, 0702}) {
        ::chmod(registry.Path("user").c_str(), writable);
        EXPECT_EQ(OpenCode(HKEY_CURRENT_USER, u"secret"), ERROR_ACCESS_DENIED)
            << "somebody could have written";
    }
}

TEST(RegistryHive, OfTheMachineIsReadByAllAndWrittenByTheAdministrator)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "takes an administrator and a user";
    const TemporaryRegistry registry;
    const mode_t mask = ::umask(0077);
    const Key key(u"SOFTWARE\\m", HKEY_LOCAL_MACHINE);
    key.Set(u"LangList", "0409");
    ::umask(mask);
    EXPECT_EQ(AsOrdinaryUser([&] {
        Handle reading;
        if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\m", 0, KEY_READ, &reading) != 0)
            return 1;
        const Key read(reading);
        if (read.Get(u"LangList") != "0409" || read.Values() != Names{u"LangList"})
            return 2;
        if (OpenCode(HKEY_LOCAL_MACHINE, u"SOFTWARE\\m", KEY_READ | KEY_WRITE) != ERROR_ACCESS_DENIED)
            return 3;
        Handle made;
        if (RegCreateKeyExW(
                HKEY_LOCAL_MACHINE, u"SOFTWARE\\n", 0, nullptr, 0, KEY_READ, nullptr, &made, nullptr)
            != ERROR_ACCESS_DENIED)
            return 4;
        if (RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\m") != ERROR_ACCESS_DENIED)
            return 5;
        return 0;
    }),
        0);
    // One that an ordinary user made is no administrator's.
    ASSERT_EQ(::chown(registry.Path("machine").c_str(), 65534, 65534), 0);
    EXPECT_EQ(OpenCode(HKEY_LOCAL_MACHINE, u"SOFTWARE"), ERROR_ACCESS_DENIED);
}

TEST(RegistryHive, LockOfAReaderKeepsNoWriterWaiting)
{
    const TemporaryRegistry registry;
    const Key key(u"m", HKEY_LOCAL_MACHINE);
    key.Set(u"v", "1");
    const std::string folder = registry.Path("machine/keys/m/");
    int locked[2];
    int finished[2];
    ASSERT_EQ(::pipe(locked) | ::pipe(finished), 0);
    const pid_t reader = ::fork();
    if (reader == 0) {
        ::close(finished[1]);
        ::setuid(65534);
        for (const char* name : {"=v", "stamp", "lock"}) {
            struct flock range { };
            range.l_type = F_RDLCK;
            ::fcntl(::open((folder + name).c_str(), O_RDONLY), F_OFD_SETLK, &range);
        }
        char byte = ::getuid() == 65534 ? 'y' : 'n';
        byte = ::write(locked[1], &byte, 1) == 1 ? byte : 'n';
        ::_exit(::read(finished[0], &byte, 1) == 0 ? 0 : 1);
    }
    ::close(finished[0]);
    char byte = 0;
    EXPECT_EQ(::read(locked[0], &byte, 1), 1);
    ::alarm(60); // it would wait for ever
    if (byte == 'y') {
        EXPECT_EQ(key.Set(u"v", "2"), 0U);
    }
    ::alarm(0);
    ::close(finished[1]);
    int status = 0;
    EXPECT_EQ(::waitpid(reader, &status, 0), reader);
    EXPECT_EQ(status, 0);
    ::close(locked[0]);
    ::close(locked[1]);
}

TEST(RegistryHive, LiesWhereTheUserKeepsSettings)
{
    const TemporaryRegistry registry;
    EXPECT_EQ(InAnotherProcess([&] {
        ::unsetenv("TESSEL_REGISTRY");
        ::setenv("HOME", registry.Path("home").c_str(), 1);
        ::unsetenv("XDG_CONFIG_HOME");
        {
            const Key key(u"k");
        }
        ::setenv("XDG_CONFIG_HOME", "relative", 1);
        if (OpenCode(HKEY_CURRENT_USER, u"k") != 0)
            return 1;
        ::setenv("XDG_CONFIG_HOME", registry.Path("x").c_str(), 1);
        {
            const Key key(u"l");
        }
        ::setenv("TESSEL_REGISTRY", "relative", 1);
        return OpenCode(HKEY_CURRENT_USER, u"l") == ERROR_INVALID_PARAMETER ? 0 : 2;
    }),
        0);
    EXPECT_TRUE(registry.Has("home/.config/tessel/registry/keys/k"));
    EXPECT_TRUE(registry.Has("x/tessel/registry/keys/l"));
}

// ---- What else may lie in the folders

TEST(RegistryStore, RefusesWhatIsNotItsOwnAndWritesOverIt)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    key.Set(u"good", "good");
    const std::string good = registry.Content("user/keys/k/=good");
    const auto plant = [&](const std::string& content) {
        registry.MakeFile("user/keys/k/=v", content, 0600);
    };
    const struct {
        const char* what;
        std::function<void()> make;
        std::uint32_t code;
    } cases[] = {{"empty", [&] { plant(""); }, ERROR_FILE_NOT_FOUND},
        {"garbage", [&] { plant(std::string(5000, 'x')); }, ERROR_INVALID_DATA},
        {"another's", [&] { plant(good); }, ERROR_INVALID_DATA},
        {"huge",
            [&] {
                plant(good);
                ::truncate(registry.Path("user/keys/k/=v").c_str(), off_t{1} << 40);
            },
            ERROR_INVALID_DATA},
        {"link", [&] { registry.MakeLink(registry.Path("outside"), "user/keys/k/=v"); }, ERROR_INVALID_DATA},
        {"fifo", [&] { ::mkfifo(registry.Path("user/keys/k/=v").c_str(), 0600); }, ERROR_INVALID_DATA}};
    for (const auto& c : cases) {
        c.make();
        const Key fresh(u"k");
        EXPECT_EQ(fresh.Ask(u"v"), c.code) << c.what;
        EXPECT_EQ(fresh.Values(), Names{u"good"}) << c.what;
        EXPECT_EQ(fresh.Set(u"v", c.what), 0U);
        EXPECT_EQ(fresh.Get(u"v"), c.what);
        EXPECT_EQ(fresh.Delete(u"v"), 0U);
        c.make();
        EXPECT_EQ(fresh.Delete(u"v"), 0U) << c.what;
        EXPECT_FALSE(registry.Has("user/keys/k/=v"));
    }
    EXPECT_FALSE(registry.Has("outside"));
    // A value with a second link somewhere else is not written there.
    ASSERT_EQ(::link(registry.Path("user/keys/k/=good").c_str(), registry.Path("backup").c_str()), 0);
    EXPECT_EQ(key.Set(u"good", "new"), 0U);
    EXPECT_EQ(key.Get(u"good"), "new");
    EXPECT_EQ(registry.Content("backup"), good);
}

TEST(RegistryStore, DoesNotFollowLinksOutOfItself)
{
    const TemporaryRegistry registry;
    const Key key(u"k\\s");
    key.Set(u"v", "1");
    const Key elsewhere(u"other\\inner");
    // The link leads to a folder that would pass for a key.
    registry.MakeLink(registry.Path("user/keys/other"), "user/keys/k/keys/linked");
    const Key parent(u"k");
    EXPECT_EQ(OpenCode(parent, u"linked"), ERROR_INVALID_DATA);
    EXPECT_EQ(OpenCode(parent, u"linked\\inner"), ERROR_INVALID_DATA);
    EXPECT_EQ(RegDeleteKeyW(parent, u"linked\\inner"), ERROR_INVALID_DATA);
    EXPECT_EQ(parent.Subkeys(), Names{u"s"});
    ASSERT_EQ(::rename(registry.Path("user/keys/k/keys").c_str(), registry.Path("moved").c_str()), 0);
    registry.MakeLink(registry.Path("moved"), "user/keys/k/keys");
    EXPECT_EQ(OpenCode(HKEY_CURRENT_USER, u"k\\s"), ERROR_INVALID_DATA);
    EXPECT_NE(RegDeleteKeyW(HKEY_CURRENT_USER, u"k"), 0U);
    EXPECT_TRUE(registry.Has("moved/s/=v"));
    EXPECT_TRUE(registry.Has("user/keys/other/keys/inner"));
}

// One byte of a good file is spoilt, or the file is cut off, at every place: the value is what it was before
// the last set, or is refused; it is never anything else.
TEST(RegistryStore, DamageOfAFileIsNoticed)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    for (const std::size_t size : {std::size_t{20}, std::size_t{2000}}) {
        const std::string older(size, 'o');
        const std::string newer(size, 'n');
        key.Set(u"v", older);
        key.Set(u"v", newer);
        const std::string good = registry.Content("user/keys/k/=v");
        unsigned outcomes[3] = {};
        for (std::size_t at = 0; at < 2 * good.size(); ++at) {
            std::string bad = good.substr(0, at < good.size() ? at : good.size());
            if (at >= good.size())
                bad[at - good.size()] ^= 0x10;
            ::unlink(registry.Path("user/keys/k/=v").c_str());
            registry.MakeFile("user/keys/k/=v", bad, 0600);
            const Key fresh(u"k");
            std::uint32_t type = 3;
            const auto found = fresh.Get(u"v", &type);
            EXPECT_TRUE(!found || ((found == older || found == newer) && type == 3)) << "at " << at;
            ++outcomes[!found ? 0 : found == older ? 1 : 2];
        }
        for (const unsigned outcome : outcomes)
            EXPECT_GT(outcome, 10U) << "each happens";
        key.Delete(u"v");
    }
}

TEST(RegistryStore, ThreadsMayShareAHandle)
{
    const TemporaryRegistry registry;
    const Key key(u"k");
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 4; ++i)
        threads.emplace_back([&key, i] {
            const std::u16string own = Numbered(u"own", i);
            for (unsigned round = 0; round < 200; ++round) {
                const std::string bytes(round % 40, static_cast<char>('a' + i));
                EXPECT_EQ(key.Set(own, bytes), 0U);
                EXPECT_EQ(key.Get(own), bytes);
                key.Set(u"shared", bytes);
                char shared[40];
                std::uint32_t size = sizeof shared;
                EXPECT_EQ(RegQueryValueExW(key, u"shared", nullptr, nullptr, shared, &size), 0U);
                EXPECT_EQ(std::count(shared, shared + size, shared[0]), static_cast<std::ptrdiff_t>(size));
                if (round % 50 == 0) {
                    EXPECT_GE(key.Values().size(), 2U);
                }
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace

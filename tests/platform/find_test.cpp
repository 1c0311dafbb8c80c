#include "platform/errors.h"
#include "platform/files.h"
#include "platform/linux/files/pattern.h"
#include "tests/platform/temporary_folder.h"

using namespace Platform;

namespace {

std::set<std::u16string> Found(const std::u16string& pattern, FINDEX_INFO_LEVELS level = FindExInfoStandard)
{
    std::set<std::u16string> names;
    WIN32_FIND_DATAW found;
    const Handle search = FindFirstFileExW(pattern.c_str(), level, &found);
    if (search == INVALID_HANDLE_VALUE)
        return names;
    do
        EXPECT_TRUE(names.insert(found.cFileName).second);
    while (FindNextFileW(search, &found));
    EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
    EXPECT_TRUE(FindClose(search));
    return names;
}

std::uint32_t ErrorOfFind(const std::u16string& pattern)
{
    WIN32_FIND_DATAW found;
    const Handle search = FindFirstFileW(pattern.c_str(), &found);
    return search == INVALID_HANDLE_VALUE ? GetLastError() : FindClose(search) ? ERROR_SUCCESS : 1;
}

} // namespace

TEST(Patterns, MatchAsThePlatformHasThem)
{
    const struct {
        const char16_t *pattern, *matching, *other; // names, separated by blanks
    } cases[] = {{u"*", u"a a.b .a", u""}, {u"*.*", u"a a.b .a a.b.c", u""},
        {u"*.dll", u"a.dll A.DLL a.b.Dll .dll", u"dll a.dllx a.dll.x a.dl"},
        {u"*.", u"a abc", u"a.b .a a.b.c"}, {u"a*.", u"a abc", u"b a.b"},
        {u"a.*", u"a a.b a.b.c", u"ab ab.c"},
        {u"a?c", u"abc aXC", u"abbc ac"}, // a ? before another char is one char
        {u"???", u"a ab abc", u"abcd a.b"}, // at the end it may be none
        {u"?.txt", u"a.txt .txt", u"ab.txt"}, {u"*a*b*", u"ab xaxbx aab", u"ba a b"},
        {u"a**b", u"ab axb", u"a b"}, {u"*.?", u"a.b a", u"a.bc"},
        {u"\u00C4*", u"\u00E4x \u00C4", u"ax"}, // case beyond ASCII
        {u"*.t*.x", u"a.tt.x a.b.t.x", u"a.x"}};
    const auto names = [](const char16_t* list) {
        std::vector<std::u16string> split(1);
        for (; *list; ++list)
            *list == u' ' ? split.emplace_back() : split.back() += *list;
        return split;
    };
    for (const auto& c : cases) {
        Pattern pattern;
        ASSERT_TRUE(pattern.Set(c.pattern, std::char_traits<char16_t>::length(c.pattern)));
        for (const std::u16string& name : names(c.matching))
            EXPECT_TRUE(pattern.Matches(name.data(), name.size()))
                << Readable(c.pattern) << " " << Readable(name);
        for (const std::u16string& name : names(c.other))
            EXPECT_FALSE(!name.empty() && pattern.Matches(name.data(), name.size()))
                << Readable(c.pattern) << " " << Readable(name);
    }
}

// A pattern that would keep a backtracking matcher busy for longer than the universe.
TEST(Patterns, AreMatchedInBoundedTime)
{
    std::u16string text;
    for (int i = 0; i < 5'000; ++i)
        text += u"*a";
    Pattern pattern;
    ASSERT_TRUE(pattern.Set((text + u"b").data(), text.size() + 1));
    EXPECT_FALSE(pattern.Matches(std::u16string(255, u'a').data(), 255));
}

TEST(Search, ListsWhatMatches)
{
    const TemporaryFolder folder;
    for (const char* const name : {"a.dll", "B.DLL", "c.dll.txt", ".d.dll", "plain"})
        folder.MakeFile(name);
    folder.MakeFolder("e.dll");
    folder.MakeLink("nowhere", "f.dll");
    const std::set<std::u16string> modules = {u"a.dll", u"B.DLL", u".d.dll", u"e.dll", u"f.dll"};
    EXPECT_EQ(Found(folder.Text() + u"\\*.dll"), modules);
    EXPECT_EQ(Found(folder.Text() + u"/*.dll", FindExInfoBasic), modules);
    EXPECT_EQ(Found(folder.Text() + u"\\*.*").size(), 9U) << "with . and ..";
    EXPECT_EQ(Found(folder.Text("a.dll")), std::set<std::u16string>{u"a.dll"});
    EXPECT_EQ(InAnotherProcess(
                  [&] { return ::chdir(folder.Path().c_str()) == 0 && Found(u"*.dll") == modules ? 0 : 1; }),
        0);
    const std::pair<std::u16string, std::uint32_t> failures[] = {
        {folder.Text() + u"\\*.none", ERROR_FILE_NOT_FOUND}, {folder.Text("A.DLL"), ERROR_FILE_NOT_FOUND},
        {folder.Text() + u"\\", ERROR_FILE_NOT_FOUND}, {folder.Text("no") + u"\\*", ERROR_PATH_NOT_FOUND},
        {folder.Text("no/no"), ERROR_PATH_NOT_FOUND}, {folder.Text("plain") + u"\\*", ERROR_PATH_NOT_FOUND},
        {u"", ERROR_PATH_NOT_FOUND}, {u"C:", ERROR_FILE_NOT_FOUND}};
    for (const auto& [pattern, error] : failures)
        EXPECT_EQ(ErrorOfFind(pattern), error) << Readable(pattern);
}

TEST(Search, TellsTimesSizeAndKindOfEachEntry)
{
    const TemporaryFolder folder;
    folder.MakeFile("file");
    folder.MakeLink("file", "link");
    std::filesystem::resize_file(folder.Path("file"), 5'000'000'000);
    const timespec times[2] = {{0, 0}, {1'000'000'000, 0}};
    ::utimensat(AT_FDCWD, folder.Path("file").c_str(), times, 0);
    WIN32_FIND_DATAW found;
    for (const char* const name : {"file", "link"}) {
        ASSERT_TRUE(FindClose(FindFirstFileW(folder.Text(name).c_str(), &found)));
        EXPECT_EQ(std::uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow, 5'000'000'000U) << name;
        EXPECT_EQ(found.ftLastWriteTime.dwHighDateTime, 0x01C138D1U) << name; // 2001-09-09 01:46:40
        EXPECT_EQ(found.ftLastWriteTime.dwLowDateTime, 0x44FF8000U) << name;
        EXPECT_EQ(found.ftLastAccessTime.dwHighDateTime, 0x019DB1DEU) << name;
    }
    EXPECT_EQ(found.dwFileAttributes, FILE_ATTRIBUTE_REPARSE_POINT);
}

TEST(Search, HasAHandleOfItsOwnKind)
{
    WIN32_FIND_DATAW found;
    const Handle search = FindFirstFileW(u"C:\\*", &found);
    Handle duplicate;
    EXPECT_FALSE(CloseHandle(search));
    EXPECT_FALSE(DuplicateHandle(search, &duplicate, 0, DUPLICATE_SAME_ACCESS));
    EXPECT_TRUE(FindClose(search));
    EXPECT_FALSE(FindNextFileW(search, &found));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

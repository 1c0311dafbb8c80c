#include "platform/linux/files/pattern.h"
#include "tests/platform/open_file.h"

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

} // namespace

TEST(Patterns, MatchAsThePlatformHasThem)
{
    using Names = std::vector<std::u16string>;
    const std::tuple<std::u16string, Names, Names> cases[] = {{u"*", {u"a", u"a.b", u".a"}, {}},
        {u"*.*", {u"a", u"a.b", u".a", u"a.b.c"}, {}},
        {u"*.dll", {u"A.DLL", u"a.b.Dll", u".dll"}, {u"dll", u"a.dllx", u"a.dll.x", u"a.dl"}},
        {u"*.", {u"a", u"abc"}, {u"a.b", u".a"}}, {u"a*.", {u"a", u"abc"}, {u"b", u"a.b"}},
        {u"a.*", {u"a", u"a.b", u"a.b.c"}, {u"ab", u"ab.c"}},
        // a ? before another char is one char, at the end it may be none
        {u"a?c", {u"abc", u"aXC"}, {u"abbc", u"ac"}}, {u"???", {u"a", u"abc"}, {u"abcd", u"a.b"}},
        {u"?.txt", {u"a.txt", u".txt"}, {u"ab.txt"}}, {u"*.?", {u"a.b", u"a"}, {u"a.bc"}},
        {u"*a*b*", {u"ab", u"xaxbx", u"aab"}, {u"ba", u"a"}}, {u"a**b", {u"ab", u"axb"}, {u"a"}},
        {u"\u00C4*", {u"\u00E4x"}, {u"ax"}}, {u"*.t*.x", {u"a.tt.x", u"a.b.t.x"}, {u"a.x"}}};
    for (const auto& [text, matching, other] : cases) {
        Pattern pattern;
        ASSERT_TRUE(pattern.Set(text.data(), text.size()));
        for (const Names& names : {matching, other})
            for (const std::u16string& name : names)
                EXPECT_EQ(pattern.Matches(name.data(), name.size()), names == matching)
                    << testing::PrintToString(text) << " " << testing::PrintToString(name);
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
    const auto here = [&] { return ::chdir(folder.Path().c_str()) != 0 || Found(u"*.dll") != modules; };
    EXPECT_EQ(InAnotherProcess(here), 0);
    const std::pair<std::u16string, std::uint32_t> failures[] = {
        {folder.Text() + u"\\*.none", ERROR_FILE_NOT_FOUND}, {folder.Text("A.DLL"), ERROR_FILE_NOT_FOUND},
        {folder.Text() + u"\\", ERROR_FILE_NOT_FOUND}, {folder.Text("no") + u"\\*", ERROR_PATH_NOT_FOUND},
        {folder.Text("no/no"), ERROR_PATH_NOT_FOUND}, {folder.Text("plain") + u"\\*", ERROR_PATH_NOT_FOUND},
        {u"", ERROR_PATH_NOT_FOUND}, {u"C:", ERROR_FILE_NOT_FOUND}};
    for (const auto& [pattern, error] : failures) {
        EXPECT_TRUE(Found(pattern).empty());
        EXPECT_EQ(GetLastError(), error) << testing::PrintToString(pattern);
    }
}

TEST(Search, TellsTimeAndSizeOfWhatALinkLeadsTo)
{
    const TemporaryFolder folder;
    folder.MakeFile("file");
    folder.MakeLink("file", "link");
    std::filesystem::resize_file(folder.Path("file"), 5'000'000'000);
    const timespec times[2] = {{0, 0}, {1'000'000'000, 0}};
    ::utimensat(AT_FDCWD, folder.Path("file").c_str(), times, 0);
    WIN32_FIND_DATAW found;
    const Handle search = FindFirstFileW(folder.Text("link").c_str(), &found);
    EXPECT_EQ(std::uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow, 5'000'000'000U);
    EXPECT_EQ(found.ftLastWriteTime.dwHighDateTime, 0x01C138D1U); // 2001-09-09 01:46:40
    EXPECT_EQ(found.ftLastWriteTime.dwLowDateTime, 0x44FF8000U);
    EXPECT_EQ(found.ftLastAccessTime.dwHighDateTime, 0x019DB1DEU);
    EXPECT_EQ(found.dwFileAttributes, FILE_ATTRIBUTE_REPARSE_POINT);
    EXPECT_TRUE(!CloseHandle(search) && FindClose(search) && !FindNextFileW(search, &found));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE) << "its handle is of its own kind";
}

#include "platform/linux/files/disk_path.h"
#include "platform/linux/files/name_mapping.h"
#include "tests/platform/open_file.h"

#include <random>

using namespace Platform;

namespace {

std::u16string TextOf(const std::string& name)
{
    std::u16string text(name.size(), u'\0');
    text.resize(NameToText(name.data(), name.size(), text.data()));
    return text;
}

std::string NameOf(const std::u16string& text)
{
    std::string name(3 * text.size(), '\0');
    name.resize(NameToDisk(text.data(), text.size(), name.data()));
    return name;
}

// The place on disk, or "!" and the error.
std::string PlaceOf(const std::u16string& text)
{
    DiskPath place;
    return place.SetWithoutWalk(text.data(), text.size()) ? place.Name()
                                                          : "!" + std::to_string(GetLastError());
}

std::u16string FullPath(const std::u16string& text)
{
    char16_t buffer[1000];
    const std::uint32_t chars = GetFullPathNameW(text.c_str(), 1000, buffer);
    return std::u16string(buffer, chars);
}

} // namespace

TEST(PathText, LeadsToOnePlaceOnDisk)
{
    const std::pair<const char16_t*, const char*> cases[] = {
        // drive C is the whole tree, with or without a separator behind it; there is no other drive
        {u"C:\\home\\x", "/home/x"}, {u"c:/home//x/", "/home/x"}, {u"C:", "/"}, {u"C:\\", "/"},
        {u"C:a", "/a"}, {u"D:\\a", "!3"}, {u"\\a", "/a"}, {u"\\\\\\a", "/a"},
        // the network, whose share is a root, too
        {u"\\\\srv\\share\\a", "/net/srv/share/a"}, {u"//srv/share/..", "/net/srv/share"},
        {u"\\\\srv\\share\\a\\..\\..\\b", "/net/srv/share/b"}, {u"\\\\srv", "!3"}, {u"\\\\srv\\", "!3"},
        {u"\\\\.\\pipe", "!3"}, {u"\\\\..\\x", "!3"},
        // dots are worked out, and stay only above the working folder
        {u"C:\\a\\.\\b\\..\\c", "/a/c"}, {u"C:\\..\\..\\a", "/a"}, {u"a\\..\\..\\b", "../b"},
        {u"..\\..", "../.."}, {u"..\\a\\..", ".."}, {u".", "."}, {u"a\\..", "."}, {u"C:\\...\\.a", "/.../.a"},
        // what no name may hold
        {u"", "!3"}, {u"C:\\a:b", "!123"}, {u"a|b", "!123"}, {u"C:\\a*", "!123"}, {u"\xD800", "!123"},
        // mapped bytes; never a separator, a dot or the end in disguise
        {u"C:\\a\uF03Ab", "/a:b"}, {u"\xF0FF", "\xFF"}, {u"C:\\a\uF02Fb", "!123"}, {u"\xF02E\xF02E", "!123"},
        {u"\xF000", "!123"}, {u"\xF0C3\xF0A9", "!123"}, {u"\u00E9", "\xC3\xA9"}};
    for (const auto& [text, place] : cases)
        EXPECT_EQ(PlaceOf(text), place) << testing::PrintToString(text);
    EXPECT_EQ(PlaceOf(std::u16string(32767, u'a')).size(), 32767U);
    EXPECT_EQ(PlaceOf(std::u16string(32768, u'a')), "!206");
}

TEST(PathText, BecomesAbsolute)
{
    const TemporaryFolder folder;
    folder.MakeFolder("work:ing");
    EXPECT_EQ(InAnotherProcess([&] {
        EXPECT_EQ(::chdir(folder.Path("work:ing").c_str()), 0);
        const std::u16string here = folder.Text() + u"\\work\xF03Aing";
        const std::pair<const char16_t*, std::u16string> cases[] = {{u".", here},
            {u"a/./b\\..\\c", here + u"\\a\\c"}, {u"..\\x", folder.Text("x")},
            {u"..\\..\\..\\..\\x", u"C:\\x"}, {u"c:", u"C:\\"}};
        for (const auto& [text, full] : cases)
            EXPECT_EQ(FullPath(text), full);
        char16_t buffer[8] = u"1234567";
        EXPECT_EQ(GetCurrentDirectoryW(8, buffer), here.size() + 1);
        EXPECT_EQ(GetFullPathNameW(u"C:\\abcd", 7, buffer), 8U);
        EXPECT_EQ(GetFullPathNameW(u"C:\\abcd", 8, buffer), 7U);
        return ::testing::Test::HasFailure();
    }),
        0);
}

TEST(DiskNames, MapWhatTextCannotHoldByteByByte)
{
    const std::pair<std::string, std::u16string> cases[] = {{"a:b", u"a\uF03Ab"}, {"\\", u"\xF05C"},
        {"\xFF\xFE", u"\xF0FF\xF0FE"}, {"dot. ", u"dot. "}, {"\t", u"\t"},
        {"\xF0\x9F\x98\x80", u"\xD83D\xDE00"}, {"\xEF\x80\xBA", u"\xF0EF\xF080\xF0BA"},
        {"\xEE\xBF\xBF", u"\xEFFF"},
        // not the shortest form, surrogates, beyond the last character, cut off
        {"\xC0\xAF", u"\xF0C0\xF0AF"}, {"\xED\xA0\x80", u"\xF0ED\xF0A0\xF080"},
        {"\xF4\x90\x80\x80", u"\xF0F4\xF090\xF080\xF080"}, {"\xE2\x82", u"\xF0E2\xF082"},
        {"\xE2\x82x", u"\xF0E2\xF082x"}};
    for (const auto& [name, text] : cases) {
        EXPECT_EQ(TextOf(name), text) << testing::PrintToString(text);
        EXPECT_EQ(NameOf(text), name) << testing::PrintToString(text);
    }
}

// Both ways, for every name of one and two bytes and for random ones: the text is taken back to the name, no
// two names share one, and it holds nothing that is illegal there.
TEST(DiskNames, HaveExactlyOneText)
{
    std::set<std::string> names;
    for (int first = 1; first < 256; ++first)
        for (int second = 0; second < 256; ++second)
            names.insert(std::string{static_cast<char>(first), static_cast<char>(second)}.c_str());
    std::mt19937 random(1);
    const char* const pieces[] = {
        "\xEF\x80\xBA", "\xEF", "\x83", "a", ":", "\xC3\xA9", "\xF0\x9F\x98\x80", "\xF0", "\xEF\xBC\x9A"};
    for (int i = 0; i < 20'000; ++i) {
        std::string name;
        for (unsigned count = random() % 8 + 1; count > 0; --count)
            name += pieces[random() % std::size(pieces)];
        names.insert(name);
    }
    std::erase_if(names, [](const std::string& name) { return name.find('/') != std::string::npos; });
    std::set<std::u16string> texts;
    for (const std::string& name : names) {
        const std::u16string text = TextOf(name);
        ASSERT_EQ(NameOf(text), name) << testing::PrintToString(text);
        ASSERT_EQ(text.find_first_of(u"<>:\"|?*\\/"), std::u16string::npos) << testing::PrintToString(text);
        ASSERT_LE(text.size(), name.size());
        ASSERT_TRUE(texts.insert(text).second) << testing::PrintToString(text);
    }
}

// Deeper than the system lets a path be named at once.
TEST(PathText, WorksBeyondTheSystemsLongestPath)
{
    const TemporaryFolder folder;
    std::u16string text = folder.Text();
    while (text.size() < 10'000) {
        text += u'\\' + std::u16string(200, u'd');
        ASSERT_TRUE(CreateDirectoryW(text.c_str())) << GetLastError();
    }
    text += u"\\file";
    EXPECT_EQ(ErrorOfOpen(text, GENERIC_WRITE, 0, CREATE_NEW), ERROR_SUCCESS);
    EXPECT_EQ(GetFileAttributesW(text.c_str()), FILE_ATTRIBUTE_NORMAL);
    WIN32_FIND_DATAW found;
    EXPECT_TRUE(FindClose(FindFirstFileW(text.c_str(), &found)));
    EXPECT_TRUE(MoveFileExW(text.c_str(), folder.Text("up").c_str(), 0));
    const std::size_t before = OpenDescriptors();
    EXPECT_TRUE(RemoveTreeW(folder.Text(std::string(200, 'd')).c_str(), nullptr)) << GetLastError();
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_EQ(folder.Names(), std::set<std::string>{"up"});
}

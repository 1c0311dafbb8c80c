#include "io/fs/path_text.h"
#include "tests/io/paths.h"
#include "tests/platform/temporary_folder.h"

#include <algorithm>
#include <filesystem>
#include <random>

namespace {

std::u16string Normalised(std::u16string_view text)
{
    const std::optional<WideString> path = Io::Fs::NormalisePath(text);
    return path ? path->c_str() : u"";
}

// What another implementation of path texts makes of it; u"" where that leads above the root or holds no
// name.
std::u16string NormalisedByStandard(std::u16string text)
{
    if (text.find_first_of(u"<>:\"|") != text.npos)
        return u"";
    std::replace(text.begin(), text.end(), u'\\', u'/');
    text.erase(0, text.find_first_not_of(u'/'));
    std::u16string below = std::filesystem::path(text).lexically_normal().u16string();
    if (below == u".." || below.starts_with(u"../"))
        return u"";
    std::replace(below.begin(), below.end(), u'/', u'\\');
    if (below.ends_with(u'\\'))
        below.pop_back();
    return below.empty() || below == u"." ? u"C:" : u"C:\\" + below;
}

} // namespace

TEST(PathText, HasOneSpellingForEachPlace)
{
    const TemporaryFolder folder;
    std::filesystem::current_path(folder.Path());
    const std::u16string w = folder.Text();
    const std::u16string longest(255, u'n');
    const std::tuple<std::u16string, std::u16string> cases[] = {
        // separators: either kind, any number, none at the end
        {u"c:\\Users\\x", u"C:\\Users\\x"}, {u"C:/a//b/", u"C:\\a\\b"}, {u"C:a", u"C:\\a"},
        {u"//srv/share/a/", u"\\\\srv\\share\\a"},
        // dots are worked out in the text and never climb above the root
        {u"C:\\a\\..\\..", u""}, {u"\\\\srv\\share\\a\\..", u"\\\\srv\\share"}, {u"\\\\srv\\share\\..", u""},
        {u"\\\\srv", u""},
        // what a name may not hold, and what it may
        {u"C:\\a:b", u""}, {u"C:\\a|", u""}, {u"\\\\s<v\\share", u""}, {u"C:\\a*b?", u"C:\\a*b?"},
        {u"C:\\" + longest, u"C:\\" + longest}, {u"C:\\a\\" + longest + u"n", u""},
        {u"C:\\" + longest + u"n\\..", u""},
        // no root of its own
        {u"", w}, {u"x", w + u"\\x"}, {u"\\a", w + u"\\a"}, {u"\\\\\\a", w + u"\\a"},
        {u"./..\\x", PathText("/tmp/x")}, {u"9:", u""}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(Normalised(text), expected) << Narrow(text);
}

TEST(PathText, IsWhatTheStandardLibraryMakesOfIt)
{
    const char16_t* const pieces[] = {
        u"\\", u"/", u"\\", u".", u"..", u"..\\", u"a", u"Bc/", u":", u"|", u"*", u"\x0100"};
    std::mt19937 random(11);
    for (int i = 0; i < 20000; ++i) {
        std::u16string text;
        for (std::size_t count = random() % 9; count > 0; --count)
            text += pieces[random() % std::size(pieces)];
        ASSERT_EQ(Normalised(u"c:" + text), NormalisedByStandard(text)) << Narrow(text);
    }
}

TEST(Path, KnowsWhatLiesAboveAndBelow)
{
    const std::tuple<const char16_t*, const char16_t*, const char16_t*, const char16_t*> cases[] = {
        {u"C:\\a\\b", u"b", u"C:\\a", u"C:"}, {u"C:\\a", u"a", u"C:", u"C:"}, {u"C:", u"", u"null", u"C:"},
        {u"\\\\srv\\share\\a", u"a", u"\\\\srv\\share", u"\\\\srv\\share"},
        {u"\\\\srv\\share", u"", u"null", u"\\\\srv\\share"}};
    for (const auto& [text, name, parent, root] : cases) {
        const FacePtr<Io::Path> path = PathOf(text);
        EXPECT_EQ(path->GetName(), name) << Narrow(text);
        EXPECT_EQ(TextOf(path->GetParent()), parent) << Narrow(text);
        EXPECT_EQ(TextOf(path->GetRoot()), root) << Narrow(text);
    }
    EXPECT_EQ(TextOf(PathOf(u"C:\\a")->Append(u"./b//..\\c\\")), u"C:\\a\\c");
    EXPECT_EQ(TextOf(PathOf(u"C:\\a")->Append(u"..")), u"C:");
    for (const char16_t* const refused : {u"..\\..", u"C:\\b"})
        EXPECT_EQ(FailureOf([&] { PathOf(u"C:\\a")->Append(refused); }), "(fs: badpath '').");
}

TEST(PathFactory, MakesTheFirstPath)
{
    const TemporaryFolder folder;
    std::filesystem::current_path(folder.Path());
    const Value nothing;
    Value text;
    Value bad;
    text = WideString(u"a/..\\b");
    bad = WideString(u"C:\\a|b");
    EXPECT_EQ(TextOf(MakePath(Io::PathType::Relative, nothing)), folder.Text());
    EXPECT_EQ(TextOf(MakePath(Io::PathType::Relative, text)), folder.Text("b"));
    EXPECT_EQ(TextOf(MakePath(Io::PathType::Module, text)), folder.Text());
    EXPECT_EQ(TextOf(MakePath(Io::PathType::Module, nothing)),
        PathText(std::filesystem::read_symlink("/proc/self/exe")));
    EXPECT_EQ(MakePath(Io::PathType::Absolute, bad, true), nullptr);
    const auto failure = [](auto... arguments) { return FailureOf([&] { MakePath(arguments...); }); };
    EXPECT_EQ(failure(Io::PathType::Absolute, bad, false), "(fs: badpath 'C:\\a|b').");
    EXPECT_EQ(failure(Io::PathType::Absolute, nothing, true), "(tessel/val: bad val type 2).");
    EXPECT_EQ(failure(Io::PathType{3}, bad, true), "(fs: bad-pathtype(3)).");
}

TEST(Path, TellsKindAndTimes)
{
    const TemporaryFolder folder;
    folder.MakeFile("ab");
    folder.MakeLink(folder.Path(), "link");
    folder.MakeLink("nowhere", "dangling");
    const std::pair<const char*, int> kinds[] = {{"ab", 1}, {"link", 2}, {"dangling", 1}, {"none", 0}};
    for (const auto& [name, kind] : kinds)
        EXPECT_EQ(static_cast<int>(PathOf(folder.Text(name))->GetKind()), kind) << name;
    const FacePtr<Io::Path> file = PathOf(folder.Text("ab"));
    constexpr std::uint64_t time = 132539328001234567; // in 2021
    file->SetTime(Io::TimeKind::LastWrite, time);
    file->SetTime(Io::TimeKind::LastAccess, time + 1);
    EXPECT_EQ(file->GetTime(Io::TimeKind::LastWrite), time);
    EXPECT_EQ(file->GetTime(Io::TimeKind::LastAccess), time + 1);
    EXPECT_GT(file->GetTime(Io::TimeKind::Creation), time);
    for (const char* const missing : {"none", "a*"}) // the latter is no pattern here
        EXPECT_EQ(PathOf(folder.Text(missing))->GetTime(Io::TimeKind::LastWrite), 0U) << missing;
}

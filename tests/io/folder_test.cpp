#include "tests/allocation_plan.h"
#include "tests/io/paths.h"
#include "tests/io/streams.h"
#include "tests/platform/temporary_folder.h"

using Io::IfExists;
using Io::IfMissing;
using namespace std::string_literals;

namespace {

struct OnlyTextFiles : Face<Io::EntryFilter> {
    bool Accept(const WideString& name) override
    {
        if (name == u"bad")
            throw Error("filter", "test");
        return std::u16string_view(name.c_str()).ends_with(u".txt");
    }
};

using Names = std::set<std::u16string>;

Names List(
    const FacePtr<Io::Path>& path, const char16_t* pattern, const FacePtr<Io::EntryFilter>& filter = nullptr)
{
    Names names;
    const FacePtr<Io::Folder> folder = path->OpenFolder(IfExists::Open, IfMissing::Fail, false);
    for (const FacePtr<Io::Path>& entry : folder->Enumerate(pattern, filter)) {
        EXPECT_EQ(TextOf(entry->GetParent()), TextOf(path));
        names.insert(entry->GetName().c_str());
    }
    return names;
}

} // namespace

TEST(OpenFolder, OpensOrMakesAsAsked)
{
    const TemporaryFolder folder;
    folder.MakeFile("file");
    folder.MakeLink("nowhere", "dangling");
    const struct {
        const char* name;
        IfExists ifExists;
        IfMissing ifMissing;
        bool createParents;
        const char* failure;
    } cases[] = {{"a", IfExists::Open, IfMissing::Fail, true, "access 2 notFound"},
        {"a/b", IfExists::Open, IfMissing::Create, false, "create 2 notFound"},
        {"a/b", IfExists::Open, IfMissing::Create, true, ""},
        {"a/c", IfExists::Fail, IfMissing{1}, false, ""},
        {"a/c", IfExists::Fail, IfMissing::Create, true, "create 183 183"},
        {"a/c", IfExists::Truncate, IfMissing::Fail, false, ""},
        {"file", IfExists::Open, IfMissing::Create, true, "access 5 5"},
        {"dangling", IfExists::Open, IfMissing::Create, true, "access 5 5"},
        {"file/d/e", IfExists::Open, IfMissing::Create, true, "create 3 notFound"}};
    for (const auto& c : cases) {
        const auto open = [&] {
            PathOf(folder.Text(c.name))->OpenFolder(c.ifExists, c.ifMissing, c.createParents);
        };
        EXPECT_EQ(FailureOf(open), c.failure) << c.name;
    }
    // What was made of a path is taken back when a level fails.
    const std::u16string tooLong = folder.Text("a") + u"\\d\\e\\" + std::u16string(200, u'\x4E00');
    for (const auto& [path, failure] :
        {std::pair(u"Q:\\a\\b"s, "create 3 notFound"), {tooLong, "create 206 206"}})
        EXPECT_EQ(FailureOf([&, &text = path] {
            PathOf(text)->OpenFolder(IfExists::Open, IfMissing::Create, true);
        }),
            failure);
    EXPECT_TRUE(folder.Has("a/b") && folder.Has("a/c") && !folder.Has("a/d") && !folder.Has("nowhere"));
    const FacePtr<Io::Path> deep = PathOf(folder.Text("deep/below"));
    bool isMade = false;
    AllocationPlan::FailEach(
        [&] {
            isMade = false;
            deep->OpenFolder(IfExists::Open, IfMissing::Create, true);
            isMade = true;
        },
        [&] {
            EXPECT_EQ(folder.Has("deep"), isMade);
            std::filesystem::remove_all(folder.Path("deep"));
        });
}

TEST(Enumerate, GivesWhatPatternAndFilterLet)
{
    const TemporaryFolder folder;
    for (const char* const name : {"One.TXT", "two.txt", "bare", ".dot"})
        folder.MakeFile(name);
    folder.MakeFolder("sub");
    const FacePtr<Io::Path> path = PathOf(folder.Text());
    const FacePtr<Io::EntryFilter> filter = MakeFace<Impl<OnlyTextFiles, Module>>();
    EXPECT_EQ(List(path, u""), (Names{u"One.TXT", u"two.txt", u"bare", u".dot", u"sub"}));
    EXPECT_EQ(List(path, u"*.txt"), (Names{u"One.TXT", u"two.txt"}));
    EXPECT_EQ(List(path, u"*.txt", filter), Names{u"two.txt"});
    EXPECT_EQ(List(path, u"*."), (Names{u"bare", u"sub"}));
    for (const char16_t* const pattern : {u"sub\\*", u"../*", u"."})
        EXPECT_EQ(List(path, pattern), Names{}) << Narrow(pattern);
    EXPECT_TRUE(List(PathOf(u"C:"), u"").contains(u"tmp"));

    folder.MakeFile("bad");
    const std::size_t descriptors = OpenDescriptors();
    EXPECT_NE(FailureOf([&] { List(path, u"", filter); }), "");
    EXPECT_EQ(OpenDescriptors(), descriptors);
    const FacePtr<Io::Folder> gone = path->Append(u"sub")->OpenFolder(IfExists::Open, IfMissing::Fail, false);
    path->Append(u"sub")->Delete(false);
    EXPECT_TRUE(gone->Enumerate(u"", nullptr).empty());
}

TEST(PathOnDisk, ReachesEveryNameThatCanExist)
{
    const TemporaryFolder folder;
    const std::set<std::string> names{"a:b", "back\\slash", "bar|", "\xff\xfe", "dot.", "blank ", "*?",
        "\x01", "\xEF\x80\xBA", std::string(255, 'n'), "ordinary"};
    for (const std::string& name : names)
        folder.MakeFile(name, name);
    std::set<std::string> found;
    for (const std::u16string& name : List(PathOf(folder.Text()), u"")) {
        const FacePtr<Io::Path> entry = PathOf(folder.Text() + u"\\" + name);
        found.insert(
            TextOf(entry->OpenFile(Io::AccessMode::Read, Io::ShareMode::Read, IfExists::Open, IfMissing::Fail)
                       ->Read(0, 1000)));
        entry->Delete(false);
    }
    EXPECT_EQ(found, names);
    EXPECT_TRUE(folder.Names().empty());
}

TEST(Delete, RemovesWhatStandsThereAndLinksAsLinks)
{
    const TemporaryFolder folder;
    folder.MakeFile("kept/file");
    folder.MakeFile("tree/sub/file");
    folder.MakeLink("kept", "toFolder");
    folder.MakeLink("nowhere", "dangling");
    const std::tuple<std::u16string, bool, std::string> steps[] = {
        {folder.Text("tree"), false, "remove 145 145"}, {folder.Text("none"), true, ""},
        {folder.Text("tree"), true, ""}, {folder.Text("toFolder"), true, ""},
        {folder.Text("dangling"), false, ""}, {u"C:", true, "remove 5 5"}};
    for (const auto& [path, recursive, failure] : steps)
        EXPECT_EQ(FailureOf([&, &text = path, &all = recursive] { PathOf(text)->Delete(all); }), failure)
            << Narrow(path);
    EXPECT_EQ(folder.Names(), std::set<std::string>{"kept"});
    EXPECT_TRUE(folder.Has("kept/file"));
}

TEST(Delete, NamesWhatItStoppedAt)
{
    const TemporaryFolder folder;
    folder.MakeFile("tree/closed/file");
    ::chmod(folder.Path("tree/closed").c_str(), 0555);
    EXPECT_EQ(AsOrdinaryUser([&] {
        std::string message;
        const auto deleteTree = [&] { PathOf(folder.Text("tree"))->Delete(true); };
        return FailureOf(deleteTree, &message) == "delete 5 5" && message.ends_with("\\tree\\closed\\file'.");
    }),
        1);
}

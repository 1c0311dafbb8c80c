#include "tests/platform/open_file.h"

#include <atomic>
#include <sys/resource.h>
#include <thread>

using namespace Platform;

TEST(RemovingATree, TakesAllThatItHoldsAndNothingElse)
{
    const TemporaryFolder folder;
    folder.MakeFile("outside/kept");
    for (const char* const name :
        {"tree/a:b", "tree/\xff\xfe", "tree/dot.", "tree/blank ", "tree/back\\slash"})
        folder.MakeFile(name);
    folder.MakeFile("tree/sub/locked", "", 0000);
    folder.MakeLink("../outside", "tree/folderlink");
    folder.MakeLink("../outside/kept", "tree/sub/filelink");
    folder.MakeLink("nowhere", "tree/sub/dangling");
    ::mkfifo(folder.Path("tree/pipe").c_str(), 0666);
    folder.MakeFile("file");
    folder.MakeLink("outside", "link");
    SetLastError(4711);
    for (const char* const name : {"tree", "file", "link", "missing", "missing/below", "outside/kept/below"})
        EXPECT_TRUE(RemoveTreeW((folder.Text(name) + u"\\").c_str(), nullptr)) << name;
    EXPECT_EQ(GetLastError(), 4711U);
    EXPECT_EQ(folder.Names(), std::set<std::string>{"outside"});
    EXPECT_TRUE(folder.Has("outside/kept"));
}

TEST(RemovingATree, RefusesTheWholeDiskAndTheWorkingFolder)
{
    const std::pair<const char16_t*, std::uint32_t> cases[] = {
        {u"C:", 5}, {u"C:\\x\\..", 5}, {u".", 87}, {u"..", 87}, {u"", 3}, {u"a|b", 123}};
    for (const auto& [path, error] : cases)
        EXPECT_EQ(ErrorOf(RemoveTreeW(path, nullptr)), error);
}

TEST(RemovingATree, StopsAtTheFirstFailureAndTellsIt)
{
    const TemporaryFolder folder;
    const struct {
        const char *locked, *told; // the folder that may not be changed, and what fails for it
        std::uint32_t error;
        mode_t mode;
    } cases[] = {{"tree/a", "tree/a/file", ERROR_ACCESS_DENIED, 0555},
        {"tree/a", "tree/a", ERROR_DIR_NOT_EMPTY, 0333}, // cannot be listed
        {"tree", "tree/a", ERROR_ACCESS_DENIED, 0555}};
    for (const auto& c : cases) {
        EXPECT_EQ(AsOrdinaryUser([&] {
            folder.MakeFile("tree/a/file");
            ::chmod(folder.Path(c.locked).c_str(), c.mode);
            char16_t path[200];
            const bool isFolder = std::string(c.told) == "tree/a";
            REMOVE_TREE_FAILURE failure{!isFolder, 0, path, 200};
            EXPECT_EQ(ErrorOf(RemoveTreeW(folder.Text("tree").c_str(), &failure)), c.error);
            ::chmod(folder.Path(c.locked).c_str(), 0777);
            EXPECT_EQ(failure.isFolder, isFolder);
            EXPECT_EQ(std::u16string(path, failure.pathChars), folder.Text(c.told));
            return HasFailure();
        }),
            0);
        EXPECT_TRUE(RemoveTreeW(folder.Text("tree").c_str(), nullptr));
    }
}

// More levels than the process may have descriptors.
TEST(RemovingATree, HasNoLimitOfDepth)
{
    const TemporaryFolder folder;
    std::string place;
    for (int level = 0; level < 300; ++level)
        folder.MakeFile((place += "d/") + "f");
    folder.MakeFile("d/d/d/late"); // met after the deepest levels, when its folder is opened again
    EXPECT_EQ(InAnotherProcess([&] {
        const rlimit limit{64, 64};
        ::setrlimit(RLIMIT_NOFILE, &limit);
        return ErrorOf(RemoveTreeW(folder.Text("d").c_str(), nullptr));
    }),
        0);
    EXPECT_TRUE(folder.Names().empty());
}

// Somebody swaps a folder of the tree for a link to a folder outside, back and forth, as fast as it goes.
TEST(RemovingATree, IsNotLedOutByALinkThatAppears)
{
    const TemporaryFolder folder;
    folder.MakeFile("outside/kept");
    folder.MakeFile("outside/sub/kept");
    folder.MakeLink(folder.Path("outside"), "bait");
    std::atomic<bool> done{false};
    std::atomic<long> swaps{0};
    std::thread swapper([&] {
        const std::string bait = folder.Path("bait");
        const std::string victim = folder.Path("tree/victim");
        while (!done)
            swaps += ::renameat2(AT_FDCWD, bait.c_str(), AT_FDCWD, victim.c_str(), RENAME_EXCHANGE) == 0;
    });
    long rounds = 0;
    for (; rounds < 100 || (swaps < 200 && rounds < 100'000); ++rounds) {
        std::error_code ignored; // the victim may be the bait just then
        std::filesystem::create_directories(folder.Path("tree/victim/sub"), ignored);
        RemoveTreeW(folder.Text("tree").c_str(), nullptr);
        ASSERT_TRUE(folder.Has("outside/kept") && folder.Has("outside/sub/kept"))
            << "after " << rounds << " rounds";
        // What is left is for the next round; the bait may have gone with the tree.
        ::symlink(folder.Path("outside").c_str(), folder.Path("bait").c_str());
    }
    done = true;
    swapper.join();
    EXPECT_GE(swaps, 200);
}

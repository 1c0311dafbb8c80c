#include "tests/platform/open_file.h"
#include "tests/platform/storm.h"

#include <atomic>
#include <csignal>
#include <sys/file.h>
#include <thread>
#include <vector>

using namespace Platform;

namespace {

constexpr std::uint32_t accesses[] = {0, GENERIC_READ, GENERIC_WRITE, GENERIC_READ | GENERIC_WRITE};

bool Allows(std::uint32_t share, std::uint32_t access)
{
    return ((access & GENERIC_READ) == 0 || (share & FILE_SHARE_READ) != 0)
        && ((access & GENERIC_WRITE) == 0 || (share & FILE_SHARE_WRITE) != 0);
}

// Tries every second open while there is this first one. Gives the number of wrong answers. One that only
// looks neither hinders nor is hindered.
int FaultsBeside(const std::u16string& path, std::uint32_t access, std::uint32_t share)
{
    int faults = 0;
    for (const std::uint32_t other : accesses)
        for (std::uint32_t otherShare = 0; otherShare < 4; ++otherShare)
            faults += (ErrorOfOpen(path, other, otherShare) == ERROR_SUCCESS)
                != (access == 0 || other == 0 || (Allows(share, other) && Allows(otherShare, access)));
    return faults;
}

} // namespace

// Every access and sharing mode against every other. The other process begins before the file is open, so
// that it knows of that by nothing but its lock.
TEST(SharingModes, HoldBetweenOpensOfOneProcessAndOfTwo)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "x");
    const std::u16string path = folder.Text("file");
    for (const std::uint32_t access : accesses)
        for (std::uint32_t share = 0; share < 4; ++share) {
            const Shared<std::atomic<bool>> isOpen;
            ChildProcess other = Forked([&] {
                while (!*isOpen)
                    std::this_thread::yield();
                return FaultsBeside(path, access, share);
            });
            const Handle first = Open(path, access, share);
            *isOpen = true;
            EXPECT_EQ(other.Wait(), 0) << std::hex << access << "/" << share;
            EXPECT_EQ(FaultsBeside(path, access, share), 0) << std::hex << access << "/" << share;
            ASSERT_TRUE(CloseHandle(first));
        }
}

TEST(SharingModes, EndWithTheLastHandleOrTheProcess)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "x");
    const std::u16string path = folder.Text("file");
    EXPECT_EQ(InAnotherProcess([&] {
        const Handle file = Open(path, GENERIC_READ, 0);
        Handle duplicate;
        EXPECT_TRUE(DuplicateHandle(file, &duplicate, 0, DUPLICATE_SAME_ACCESS) && CloseHandle(file));
        EXPECT_EQ(ErrorOfOpen(path, GENERIC_READ, 3), ERROR_SHARING_VIOLATION);
        EXPECT_TRUE(CloseHandle(duplicate));
        EXPECT_EQ(ErrorOfOpen(path, GENERIC_READ, 3), ERROR_SUCCESS);
        Open(path, GENERIC_READ, 0);
        return HasFailure() ? 1 : ::raise(SIGKILL);
    }),
        -1);
    EXPECT_EQ(ErrorOfOpen(path, GENERIC_READ, 3), ERROR_SUCCESS);
}

TEST(SharingModes, ProtectAFileFromBeingEmptied)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "kept");
    const Handle reader = Open(folder.Text("file"), GENERIC_READ, FILE_SHARE_READ);
    EXPECT_EQ(ErrorOfOpen(folder.Text("file"), 0, 3, CREATE_ALWAYS), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(folder.Content("file"), "kept");
    // Deleting and replacing are not writing: the reader keeps what it opened.
    folder.MakeFile("new", "new");
    EXPECT_TRUE(
        MoveFileExW(folder.Text("new").c_str(), folder.Text("file").c_str(), MOVEFILE_REPLACE_EXISTING));
    char content[8]{};
    std::uint32_t size = 0;
    EXPECT_TRUE(ReadFile(reader, content, sizeof content, &size) && CloseHandle(reader));
    EXPECT_STREQ(content, "kept");
}

TEST(SharingModes, KnowOtherProgramsOnlyByALockOnTheWholeFile)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "x");
    const int other = ::open(folder.Path("file").c_str(), O_RDWR);
    EXPECT_EQ(::flock(other, LOCK_EX), 0);
    EXPECT_EQ(ErrorOfOpen(folder.Text("file"), GENERIC_READ, 0), ERROR_SUCCESS);
    struct flock range { };
    range.l_type = F_WRLCK;
    EXPECT_EQ(::fcntl(other, F_OFD_SETLK, &range), 0);
    EXPECT_EQ(ErrorOfOpen(folder.Text("file"), GENERIC_READ, 3), ERROR_SHARING_VIOLATION);
    ::close(other);
}

// Threads open the file at the same time, half of them for themselves alone: never do two of these have it,
// and none is ever left out for good. Opens that go together never hinder each other.
TEST(SharingModes, HoldBetweenThreadsAndRefuseNoneWithoutReason)
{
    const TemporaryFolder folder;
    folder.MakeFile("alone", "x");
    folder.MakeFile("together", "x");
    std::atomic<int> holders{0};
    std::atomic<bool> shared{false};
    std::atomic<int> refused{0};
    std::vector<std::jthread> threads;
    for (const std::uint32_t access : accesses)
        threads.emplace_back([&, access] {
            const std::u16string path = folder.Text("alone");
            for (int won = access == 0 ? 50 : 0; won < 50;) {
                const Handle file = Open(path, access, 0);
                if (file != INVALID_HANDLE_VALUE) {
                    ++won;
                    shared = shared || holders.fetch_add(1) != 0;
                    holders.fetch_sub(1);
                    CloseHandle(file);
                }
            }
            for (int i = 0; i < 3000; ++i)
                refused += ErrorOfOpen(folder.Text("together"), access, 3) != ERROR_SUCCESS;
        });
    threads.clear();
    EXPECT_FALSE(shared);
    EXPECT_EQ(refused, 0);
}

#include "platform/errors.h"
#include "platform/files.h"
#include "tests/platform/temporary_folder.h"

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

// What two opens are to each other; one that only looks neither hinders nor is hindered.
bool GoTogether(
    std::uint32_t access, std::uint32_t share, std::uint32_t otherAccess, std::uint32_t otherShare)
{
    return access == 0 || otherAccess == 0 || (Allows(share, otherAccess) && Allows(otherShare, access));
}

std::uint32_t ErrorOfOpen(const std::u16string& path, std::uint32_t access, std::uint32_t share,
    std::uint32_t disposition = OPEN_EXISTING)
{
    const Handle file = CreateFileW(path.c_str(), access, share, disposition, 0);
    return file == INVALID_HANDLE_VALUE ? GetLastError() : CloseHandle(file) ? ERROR_SUCCESS : 1;
}

// Tries every second open while there is this first one. Gives the number of wrong answers.
int FaultsBeside(const std::u16string& path, std::uint32_t access, std::uint32_t share)
{
    int faults = 0;
    for (const std::uint32_t otherAccess : accesses)
        for (std::uint32_t otherShare = 0; otherShare < 4; ++otherShare)
            faults += (ErrorOfOpen(path, otherAccess, otherShare) == ERROR_SUCCESS)
                != GoTogether(access, share, otherAccess, otherShare);
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
            int gate[2];
            ASSERT_EQ(::pipe(gate), 0);
            const pid_t child = ::fork();
            if (child == 0) {
                ::close(gate[1]);
                ::_exit(::read(gate[0], gate, 1) == 0 ? FaultsBeside(path, access, share) : 99);
            }
            const Handle first = CreateFileW(path.c_str(), access, share, OPEN_EXISTING, 0);
            ASSERT_NE(first, INVALID_HANDLE_VALUE) << GetLastError();
            ::close(gate[1]);
            int status = -1;
            ::waitpid(child, &status, 0);
            EXPECT_EQ(status, 0) << std::hex << access << "/" << share;
            EXPECT_EQ(FaultsBeside(path, access, share), 0) << std::hex << access << "/" << share;
            ASSERT_TRUE(CloseHandle(first));
            ::close(gate[0]);
        }
}

TEST(SharingModes, EndWithTheLastHandleOrTheProcess)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "x");
    const std::u16string path = folder.Text("file");
    EXPECT_EQ(InAnotherProcess([&] {
        const Handle file = CreateFileW(path.c_str(), GENERIC_READ, 0, OPEN_EXISTING, 0);
        Handle duplicate;
        EXPECT_TRUE(DuplicateHandle(file, &duplicate, 0, DUPLICATE_SAME_ACCESS) && CloseHandle(file));
        EXPECT_EQ(ErrorOfOpen(path, GENERIC_READ, 3), ERROR_SHARING_VIOLATION);
        EXPECT_TRUE(CloseHandle(duplicate));
        EXPECT_EQ(ErrorOfOpen(path, GENERIC_READ, 3), ERROR_SUCCESS);
        CreateFileW(path.c_str(), GENERIC_READ, 0, OPEN_EXISTING, 0);
        return HasFailure() ? 1 : ::raise(SIGKILL);
    }),
        -1);
    EXPECT_EQ(ErrorOfOpen(path, GENERIC_READ, 3), ERROR_SUCCESS);
}

TEST(SharingModes, ProtectAFileFromBeingEmptied)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "kept");
    const Handle reader =
        CreateFileW(folder.Text("file").c_str(), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, 0);
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

// Threads open the file for themselves at the same time. Never do two have it, and none of them is ever left
// out for good.
TEST(SharingModes, LetOneOfManyWinAtTheSameTime)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "x");
    const std::u16string path = folder.Text("file");
    std::atomic<int> holders{0};
    std::atomic<bool> shared{false};
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, access = thread % 2 == 0 ? GENERIC_READ : GENERIC_WRITE] {
            for (int won = 0; won < 50;) {
                const Handle file = CreateFileW(path.c_str(), access, 0, OPEN_EXISTING, 0);
                if (file == INVALID_HANDLE_VALUE) {
                    std::this_thread::yield();
                    continue;
                }
                ++won;
                shared = shared || holders.fetch_add(1) != 0;
                holders.fetch_sub(1);
                CloseHandle(file);
            }
        });
    threads.clear();
    EXPECT_FALSE(shared);
}

// Opens that go together never hinder each other, even while others that do not come and go.
TEST(SharingModes, NeverRefuseWithoutReason)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "x");
    const std::u16string path = folder.Text("file");
    std::atomic<int> refused{0};
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&, access = accesses[1 + thread]] {
            for (int i = 0; i < 3000; ++i)
                refused += ErrorOfOpen(path, access, 3) != ERROR_SUCCESS;
        });
    threads.clear();
    EXPECT_EQ(refused, 0);
}

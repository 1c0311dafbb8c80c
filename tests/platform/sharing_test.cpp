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

// Every access and sharing mode against every other.
template <class OpenSecond>
void TryAllPairs(const std::u16string& path, OpenSecond openSecond)
{
    for (const std::uint32_t access : accesses)
        for (std::uint32_t share = 0; share < 4; ++share) {
            const Handle first = CreateFileW(path.c_str(), access, share, OPEN_EXISTING, 0);
            ASSERT_NE(first, INVALID_HANDLE_VALUE) << GetLastError();
            for (const std::uint32_t otherAccess : accesses)
                for (std::uint32_t otherShare = 0; otherShare < 4; ++otherShare)
                    EXPECT_EQ(openSecond(otherAccess, otherShare),
                        GoTogether(access, share, otherAccess, otherShare) ? ERROR_SUCCESS
                                                                           : ERROR_SHARING_VIOLATION)
                        << std::hex << access << "/" << share << " against " << otherAccess << "/"
                        << otherShare;
            ASSERT_TRUE(CloseHandle(first));
        }
}

std::uint32_t ErrorOfOpen(const std::u16string& path, std::uint32_t access, std::uint32_t share,
    std::uint32_t disposition = OPEN_EXISTING)
{
    const Handle file = CreateFileW(path.c_str(), access, share, disposition, 0);
    return file == INVALID_HANDLE_VALUE ? GetLastError() : CloseHandle(file) ? ERROR_SUCCESS : 1;
}

} // namespace

TEST(SharingModes, HoldBetweenOpensOfOneProcess)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "x");
    const std::u16string path = folder.Text("file");
    TryAllPairs(
        path, [&](std::uint32_t access, std::uint32_t share) { return ErrorOfOpen(path, access, share); });
}

// A child opens everything itself; the parent's opens are closed to it by nothing but their locks.
TEST(SharingModes, HoldBetweenProcesses)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "x");
    const std::u16string path = folder.Text("file");
    const pid_t parent = ::getpid();
    int ask[2];
    int answer[2];
    ASSERT_EQ(::pipe(ask), 0);
    ASSERT_EQ(::pipe(answer), 0);
    struct Question {
        std::uint32_t access, share;
    };
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(ask[1]);
        Question question;
        while (::read(ask[0], &question, sizeof question) == sizeof question && ::getppid() == parent) {
            const std::uint32_t error = ErrorOfOpen(path, question.access, question.share);
            if (::write(answer[1], &error, sizeof error) != sizeof error)
                break;
        }
        ::_exit(0);
    }
    TryAllPairs(path, [&](std::uint32_t access, std::uint32_t share) {
        const Question question{access, share};
        std::uint32_t error = ~0U;
        EXPECT_EQ(::write(ask[1], &question, sizeof question), static_cast<ssize_t>(sizeof question));
        EXPECT_EQ(::read(answer[0], &error, sizeof error), static_cast<ssize_t>(sizeof error));
        return error;
    });
    for (const int end : {ask[0], ask[1], answer[0], answer[1]})
        ::close(end);
    ::waitpid(child, nullptr, 0);
}

TEST(SharingModes, EndWithTheLastHandleOrTheProcess)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "x");
    const std::u16string path = folder.Text("file");
    const Handle file = CreateFileW(path.c_str(), GENERIC_READ, 0, OPEN_EXISTING, 0);
    Handle duplicate;
    ASSERT_TRUE(DuplicateHandle(file, &duplicate, 0, DUPLICATE_SAME_ACCESS));
    EXPECT_TRUE(CloseHandle(file));
    EXPECT_EQ(ErrorOfOpen(path, GENERIC_READ, 3), ERROR_SHARING_VIOLATION);
    EXPECT_TRUE(CloseHandle(duplicate));
    EXPECT_EQ(ErrorOfOpen(path, GENERIC_READ, 3), ERROR_SUCCESS);
    EXPECT_EQ(InAnotherProcess([&] {
        return CreateFileW(path.c_str(), GENERIC_READ, 0, OPEN_EXISTING, 0) == INVALID_HANDLE_VALUE
            ? 1
            : ::raise(SIGKILL);
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
    EXPECT_EQ(ErrorOfOpen(folder.Text("file"), GENERIC_WRITE, 3, CREATE_ALWAYS), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ErrorOfOpen(folder.Text("file"), 0, 3, CREATE_ALWAYS), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(folder.Content("file"), "kept");
    // Deleting and replacing are not writing: the reader keeps what it opened.
    folder.MakeFile("new", "new");
    EXPECT_TRUE(
        MoveFileExW(folder.Text("new").c_str(), folder.Text("file").c_str(), MOVEFILE_REPLACE_EXISTING));
    char content[8]{};
    std::uint32_t size = 0;
    EXPECT_TRUE(ReadFile(reader, content, sizeof content, &size));
    EXPECT_STREQ(content, "kept");
    EXPECT_TRUE(CloseHandle(reader));
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
    EXPECT_EQ(ErrorOfOpen(folder.Text("file"), GENERIC_WRITE, 3), ERROR_SHARING_VIOLATION);
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
    std::vector<std::thread> threads;
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
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(shared);
}

// Opens that go together never hinder each other, even while others that do not come and go.
TEST(SharingModes, NeverRefuseWithoutReason)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "x");
    const std::u16string path = folder.Text("file");
    std::atomic<int> refused{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&, access = accesses[1 + thread]] {
            for (int i = 0; i < 3000; ++i)
                refused += ErrorOfOpen(path, access, 3) != ERROR_SUCCESS;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(refused, 0);
}

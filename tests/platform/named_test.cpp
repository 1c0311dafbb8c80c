// Events and mutexes with names, in one process and in two.
#include "platform/errors.h"
#include "platform/linux/seam.h"
#include "tests/platform/child_process.h"
#include "tests/platform/owned_handle.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <string>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>

using namespace Platform;

namespace {

OwnedHandle NamedEvent(const char16_t* text, bool manualReset = false)
{
    return OwnedHandle(CreateEventW(manualReset, false, NameInThisRun(text).c_str()));
}
OwnedHandle NamedMutex(const char16_t* text, bool initialOwner = false)
{
    return OwnedHandle(CreateMutexW(initialOwner, NameInThisRun(text).c_str()));
}

std::uint32_t LookAt(const std::vector<Handle>& handles)
{
    return WaitForAny(handles, 0);
}

bool IsAsleep(std::uint32_t thread)
{
    std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
    const std::string text{std::istreambuf_iterator<char>(stat), {}};
    return text.find(") S ") != text.npos;
}

// ---- What other processes do

int Answer(int rounds)
{
    const OwnedHandle ping = NamedEvent(u"ping");
    const OwnedHandle pong = NamedEvent(u"pong");
    const OwnedHandle never = Event();
    for (int i = 0; i < rounds; ++i) {
        if (WaitForAny({never, ping}, INFINITE) != 1)
            return 1;
        SetEvent(pong);
    }
    return 0;
}
const ChildRole answers("answers", &Answer);

// Where the kernel refuses to wait for several words.
const ChildRole answersWithoutWaitv("answersWithoutWaitv", [](int rounds) {
    sock_filter program[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_futex_waitv, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM), BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    sock_fprog filter{4, program};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    return ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0 ? Answer(rounds) : 1;
});

// Takes the mutex, twice, tells so, and waits to be killed.
const ChildRole holds("holds", [](int) {
    const OwnedHandle mutex = NamedMutex(u"held", true);
    WaitForSingleObject(mutex, INFINITE);
    SetEvent(NamedEvent(u"holding"));
    WaitForSingleObject(mutex, INFINITE);
    ::pause();
    return 0;
});

// ---- The folder of a user who has none yet, which only the administrator can become

std::uint32_t NewUser()
{
    const char* const run = std::getenv("TESSEL_TEST_RUN");
    return 100'000 + static_cast<std::uint32_t>(run ? std::atoi(run) : ::getpid());
}

// Removes the user's own folders; how many there were.
int RemoveFoldersOf(std::uint32_t user)
{
    int removed = 0;
    struct stat status { };
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm"))
        if (::lstat(entry.path().c_str(), &status) == 0 && status.st_uid == user) {
            std::filesystem::remove_all(entry.path());
            ++removed;
        }
    return removed;
}

// Begins with others at the same moment; with 0 alone, and in a folder that is then removed.
const ChildRole uses("uses", [](int moment) {
    if (::setuid(NewUser()) != 0)
        return 1;
    ::umask(0177);
    while (moment != 0 && static_cast<int>(GetTickCount64()) < moment) { }
    const OwnedHandle before = NamedEvent(u"agreed");
    if (moment == 0)
        RemoveFoldersOf(NewUser());
    const OwnedHandle after = NamedEvent(u"agreed too");
    return after != NULL_HANDLE && LookAt({before}) == WAIT_TIMEOUT ? 0 : 1;
});

} // namespace

TEST(NamedObject, IsOneForAllWhoUseItsName)
{
    const std::u16string longest(260 - NameInThisRun(u"").size(), u'n');
    for (const std::u16string& text : {std::u16string(u"Global\\with/all:\u00fc\xd800"), longest}) {
        const std::u16string whole = NameInThisRun(text);
        const char16_t* const name = whole.c_str();
        {
            const OwnedHandle first(CreateEventW(true, true, name));
            EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
            const OwnedHandle second(CreateEventW(false, false, name));
            EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
            const OwnedHandle third(OpenEventW(SYNCHRONIZE, name));
            EXPECT_EQ(LookAt({first}), WAIT_OBJECT_0);
            EXPECT_EQ(LookAt({third}), WAIT_OBJECT_0); // it stays one with manual reset
            EXPECT_FALSE(SetEvent(third));
            EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
            EXPECT_TRUE(ResetEvent(second));
            EXPECT_EQ(LookAt({first}), WAIT_TIMEOUT);
            EXPECT_EQ(CreateMutexW(true, name), NULL_HANDLE);
            EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
        }
        EXPECT_EQ(OpenEventW(SYNCHRONIZE, name), NULL_HANDLE); // gone with its last user
        EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    }
    EXPECT_EQ(CreateEventW(true, true, NameInThisRun(longest + u'n').c_str()), NULL_HANDLE);
    EXPECT_EQ(GetLastError(), ERROR_FILENAME_EXCED_RANGE);
}

// Threads ask for it as one kind and as the other, and let go of it at once.
TEST(NamedObject, IsForAllThreadsWhatTheFirstOneMadeOfIt)
{
    const std::u16string name = NameInThisRun(u"either");
    std::vector<std::jthread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 3000; ++i) {
                const int kind = (i / 7 + thread) % 3;
                const OwnedHandle opened(kind == 0 ? CreateMutexW(true, name.c_str())
                        : kind == 1                ? CreateEventW(true, true, name.c_str())
                                                   : OpenEventW(SYNCHRONIZE, name.c_str()));
                const std::uint32_t result = WaitForSingleObject(opened, kind == 0 ? INFINITE : 0);
                EXPECT_EQ(result, opened == NULL_HANDLE ? WAIT_FAILED : WAIT_OBJECT_0);
                while (ReleaseMutex(opened)) { }
            }
        });
}

// Two are asleep, and two sets follow without a pause: each releases one.
TEST(NamedEvent, ReleasesASleeperForEachOfTwoQuickSets)
{
    const OwnedHandle event = NamedEvent(u"quick");
    for (int round = 0; round < 200; ++round) {
        std::atomic<std::uint32_t> numbers[2] = {0, 0};
        std::vector<std::thread> sleepers;
        for (auto& number : numbers)
            sleepers.emplace_back([&] {
                number = GetCurrentThreadId();
                EXPECT_EQ(WaitForSingleObject(event, 100'000), WAIT_OBJECT_0) << round;
            });
        // The first one once more: it may have slept for what the second one held on its way.
        while (!IsAsleep(numbers[0]) || !IsAsleep(numbers[1]) || !IsAsleep(numbers[0]))
            std::this_thread::yield();
        SetEvent(event);
        SetEvent(event);
        for (std::thread& sleeper : sleepers)
            sleeper.join();
    }
}

TEST(NamedEvent, AnswersBetweenProcesses)
{
    const OwnedHandle ping = NamedEvent(u"ping");
    const OwnedHandle pong = NamedEvent(u"pong");
    for (const ChildRole* const role : {&answers, &answersWithoutWaitv}) {
        const int rounds = role == &answers ? 2000 : 20;
        ChildProcess child = role->Start(rounds);
        for (int i = 0; i < rounds; ++i) {
            ASSERT_TRUE(SetEvent(ping));
            ASSERT_EQ(WaitForSingleObject(pong, 100'000), WAIT_OBJECT_0) << i;
        }
        EXPECT_EQ(child.Wait(), 0);
    }
}

// To the next wait if there is one; where nobody is left, the next user of the name begins anew.
TEST(NamedMutex, OfAKilledProcessIsAbandoned)
{
    const OwnedHandle holding = NamedEvent(u"holding");
    const OwnedHandle mutex = NamedMutex(u"held");
    const OwnedHandle local = Event();
    ChildProcess child = holds.Start(0);
    ASSERT_EQ(WaitForSingleObject(holding, 100'000), WAIT_OBJECT_0);
    ASSERT_EQ(LookAt({mutex}), WAIT_TIMEOUT);
    std::atomic<std::uint32_t> result{0};
    std::thread waiter([&] {
        result = WaitForAny({local, mutex}, 100'000);
        ReleaseMutex(mutex);
    });
    child.Kill();
    waiter.join();
    EXPECT_EQ(result, WAIT_ABANDONED_0 + 1);
    EXPECT_EQ(LookAt({mutex}), WAIT_OBJECT_0);
    ReleaseMutex(mutex);
}

// However many begin at once, and whatever somebody else has made of the same name or under such names.
TEST(NamedObject, IsTheUsersAloneInOneFolder)
{
    if (Forked([] { return ::setuid(NewUser()); }).Wait() != 0)
        GTEST_SKIP() << "only the administrator can become another user";
    const OwnedHandle foreignEvent = NamedEvent(u"agreed");
    SetEvent(foreignEvent);
    struct stat space { };
    ::stat("/proc/self/ns/pid", &space);
    const std::string start =
        "/dev/shm/tessel-objects-" + std::to_string(NewUser()) + '-' + std::to_string(space.st_ino) + '-';
    const std::filesystem::path foreign[] = {start + "folder", start + "link", start + "file"};
    RemoveFoldersOf(NewUser()); // a run that was killed had the number of this one
    for (const std::filesystem::path& left : foreign)
        std::filesystem::remove(left);
    std::filesystem::create_directory(foreign[0]);
    ::chmod(foreign[0].c_str(), 01700);
    std::filesystem::create_symlink(foreign[0], foreign[1]);
    std::ofstream(foreign[2]).put('?');
    for (int round = 0; round < 5; ++round) {
        std::vector<ChildProcess> users;
        users.reserve(6);
        for (int i = 0; i < 6; ++i)
            users.push_back(uses.Start(static_cast<int>(GetTickCount64()) + 25 - 3 * i));
        for (ChildProcess& user : users)
            EXPECT_EQ(user.Wait(), 0);
        EXPECT_EQ(uses.Start(0).Wait(), 0);
        EXPECT_EQ(RemoveFoldersOf(NewUser()), 1) << round;
    }
    for (const std::filesystem::path& made : foreign)
        std::filesystem::remove(made);
}

#ifdef TESSEL_SEAMS
// Whichever call fails: an error or a working object, and nothing left behind.
TEST(NamedObject, SurvivesTheFailureOfAnyCall)
{
    NamedEvent(u"first"); // the folder
    for (unsigned n = 1;; ++n) {
        Seam::FailNth(n, ENOSPC);
        {
            const OwnedHandle mutex = NamedMutex(u"failing", true);
            Seam::FailNth(0, 0);
            if (mutex != NULL_HANDLE)
                EXPECT_TRUE(ReleaseMutex(mutex)) << n;
            else
                EXPECT_EQ(GetLastError(), ERROR_DISK_FULL) << n;
            Seam::FailNth(n, ENOSPC); // and again for the close
        }
        const bool wasLast = Seam::CallCount() < n;
        Seam::FailNth(0, 0);
        {
            const OwnedHandle mutex = NamedMutex(u"failing");
            EXPECT_EQ(LookAt({mutex}), WAIT_OBJECT_0) << n;
            EXPECT_TRUE(ReleaseMutex(mutex)) << n;
        }
        if (wasLast)
            break;
    }
}
#endif

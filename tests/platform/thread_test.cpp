// Threads: their start, end, suspension and priority.
#include "platform/errors.h"
#include "platform/threads.h"
#include "platform/waits.h"
#include "tests/platform/owned_handle.h"
#include "tests/platform/thread_count.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

using namespace Platform;

namespace {

template <class Body>
OwnedHandle StartThread(Body& body)
{
    OwnedHandle thread;
    EXPECT_TRUE(
        _beginthreadex([](void* argument) { (*static_cast<Body*>(argument))(); }, &body, thread.Out()));
    return thread;
}

} // namespace

TEST(Thread, IsSignalledBehindItsLastDestructor)
{
    static std::atomic<int> destroyed;
    destroyed = 0;
    struct Local {
        ~Local() { ++destroyed; }
    };
    static std::atomic<int> hooked;
    hooked = 0;
    SetThreadEndHook([] { hooked += destroyed; });
    auto body = [] {
        thread_local Local local;
        (void)&local;
        ArmThreadEnd();
    };
    const OwnedHandle thread = StartThread(body);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    SetThreadEndHook(nullptr);
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(hooked, 1);
    EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_OBJECT_0);
}

TEST(Thread, LeavesNothingBehind)
{
    const std::size_t before = CountThreads();
    auto body = [] {};
    for (int i = 0; i < 2'000; ++i) {
        const OwnedHandle thread = StartThread(body);
        ASSERT_NE(thread, NULL_HANDLE);
        ASSERT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    }
    while (CountThreads() > before) // the last steps of a thread are the system's
        Sleep(1);
}

TEST(ThreadDeathTest, LetsAForeignExceptionEndTheProcess)
{
    auto body = [] { throw std::runtime_error("not ours"); };
    EXPECT_DEATH(
        {
            const OwnedHandle thread = StartThread(body);
            WaitForSingleObject(thread, INFINITE);
        },
        "not ours");
}

TEST(Thread, KeepsTheSignalThatComesWhileItIsSuspended)
{
    const OwnedHandle event = Event();
    std::atomic<bool> isThrough{false};
    auto body = [&] {
        WaitForSingleObject(event, INFINITE);
        isThrough = true;
    };
    const OwnedHandle thread = StartThread(body);
    EXPECT_EQ(SuspendThread(thread), 0U); // before, in or on the way to its wait
    SetEvent(event);
    EXPECT_EQ(WaitForSingleObject(thread, 5), WAIT_TIMEOUT);
    EXPECT_FALSE(isThrough);
    EXPECT_EQ(ResumeThread(thread), 1U);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(isThrough);
    EXPECT_EQ(SuspendThread(thread), SUSPEND_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ResumeThread(event), SUSPEND_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

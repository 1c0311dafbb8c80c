// Events, mutexes and the wait for them, in one process.
#include "platform/errors.h"
#include "platform/files.h"
#include "platform/waits.h"
#include "tests/platform/child_process.h"
#include "tests/platform/owned_handle.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

using namespace Platform;

namespace {

std::uint32_t Look(const std::vector<Handle>& handles)
{
    return WaitForAny(handles, 0);
}

std::uint32_t ErrorOfWait(const std::vector<Handle>& handles)
{
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(WaitForAny(handles, INFINITE), WAIT_FAILED);
    return GetLastError();
}

} // namespace

TEST(Wait, TakesFromTheLowestSignalledObjectAlone)
{
    const OwnedHandle quiet = Event();
    const OwnedHandle first = Event();
    const OwnedHandle second = Event();
    const OwnedHandle manual = Event(true);
    SetEvent(second);
    SetEvent(manual);
    SetEvent(first);
    SetEvent(first); // merges
    EXPECT_EQ(Look({quiet, first, second, manual, first}), 1U);
    EXPECT_EQ(Look({quiet, first, second, manual, first}), 2U);
    EXPECT_EQ(Look({quiet, first, second, manual}), 3U);
    EXPECT_EQ(Look({quiet, first, second, manual}), 3U);
    ResetEvent(manual);
    EXPECT_EQ(Look({quiet, first, second, manual}), WAIT_TIMEOUT);
    EXPECT_EQ(WaitForSingleObject(OwnedHandle(CreateEventW(false, true)), INFINITE), WAIT_OBJECT_0);
}

TEST(Wait, FindsOutEveryHandleThatCannotBeWaitedFor)
{
    const OwnedHandle event = Event(true);
    SetEvent(event); // even where the first one is signalled
    const OwnedHandle file(CreateFileW(
        u"C:\\proc\\self\\status", GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL));
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    Handle closed = Event().Detach();
    CloseHandle(closed);
    Handle waitOnly = NULL_HANDLE;
    Handle modifyOnly = NULL_HANDLE;
    ASSERT_TRUE(DuplicateHandle(event, &waitOnly, SYNCHRONIZE, 0));
    ASSERT_TRUE(DuplicateHandle(event, &modifyOnly, EVENT_MODIFY_STATE, 0));
    const struct {
        Handle handle;
        std::uint32_t error;
    } cases[] = {{NULL_HANDLE, ERROR_INVALID_HANDLE}, {INVALID_HANDLE_VALUE, ERROR_INVALID_HANDLE},
        {closed, ERROR_INVALID_HANDLE}, {file, ERROR_INVALID_HANDLE}, {modifyOnly, ERROR_ACCESS_DENIED}};
    for (const auto& c : cases) {
        EXPECT_EQ(ErrorOfWait({event, c.handle}), c.error);
        EXPECT_EQ(ErrorOfWait({c.handle}), c.error);
    }
    EXPECT_EQ(ErrorOfWait(std::vector<Handle>(65, event)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ErrorOfWait({}), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(WaitForSingleObject(waitOnly, 0), WAIT_OBJECT_0);
    EXPECT_FALSE(SetEvent(waitOnly));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(ResetEvent(modifyOnly));
    EXPECT_FALSE(SetEvent(file));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(ReleaseMutex(event));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    CloseHandle(waitOnly);
    CloseHandle(modifyOnly);
}

TEST(Wait, NeverEndsBeforeItsTime)
{
    using Clock = std::chrono::steady_clock;
    const OwnedHandle event = Event();
    for (const std::uint32_t milliseconds : {1U, 2U, 30U}) {
        const Clock::time_point start = Clock::now();
        EXPECT_EQ(WaitForSingleObject(event, milliseconds), WAIT_TIMEOUT);
        EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(milliseconds));
    }
}

// The 64th object is set by another thread, and a set that is taken back at once still counts.
TEST(Wait, IsReleasedByASetAndAResetRightBehindIt)
{
    std::vector<OwnedHandle> events;
    std::vector<Handle> handles;
    for (int i = 0; i < 64; ++i)
        handles.push_back(events.emplace_back(Event(true)));
    const OwnedHandle waiting = Event();
    std::thread setter([&] {
        WaitForSingleObject(waiting, INFINITE);
        while (SetEvent(handles[63]) && ResetEvent(handles[63]) && WaitForSingleObject(waiting, 1) != 0) { }
    });
    SetEvent(waiting);
    EXPECT_EQ(WaitForAny(handles, INFINITE), 63U);
    SetEvent(waiting);
    setter.join();
}

// Without a name and with one: another implementation of the same.
class Mutex : public testing::TestWithParam<bool> {
protected:
    static OwnedHandle Make(bool initialOwner, char16_t which)
    {
        const std::u16string name = NameInThisRun(u"mutex\\" + std::u16string(1, which));
        return OwnedHandle(CreateMutexW(initialOwner, GetParam() ? name.c_str() : nullptr));
    }
};
INSTANTIATE_TEST_SUITE_P(Kinds, Mutex, testing::Bool());

TEST_P(Mutex, BelongsToOneThreadAsOftenAsItTookIt)
{
    const OwnedHandle mutex = Make(true, u'a');
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
    EXPECT_EQ(Look({mutex, mutex}), 0U);
    std::thread([&] {
        EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_TIMEOUT);
        EXPECT_FALSE(ReleaseMutex(mutex));
        EXPECT_EQ(GetLastError(), ERROR_NOT_OWNER);
    }).join();
    std::thread next([&] {
        EXPECT_EQ(WaitForSingleObject(mutex, INFINITE), WAIT_OBJECT_0);
        EXPECT_TRUE(ReleaseMutex(mutex));
    });
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(ReleaseMutex(mutex));
    next.join();
    EXPECT_FALSE(ReleaseMutex(mutex));
}

TEST_P(Mutex, OfAnEndedThreadIsAbandonedToTheNextWait)
{
    const OwnedHandle event = Event();
    const OwnedHandle waiting = Event();
    const OwnedHandle mutex = Make(false, u'b');
    const OwnedHandle second = Make(false, u'c');
    // Held twice when the thread ends; one waits for it, the other is found later. A third has lost its
    // handle.
    std::thread owner([&] {
        WaitForSingleObject(mutex, INFINITE);
        WaitForSingleObject(mutex, INFINITE);
        WaitForSingleObject(second, INFINITE);
        Make(true, u'd');
        SetEvent(waiting);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    });
    WaitForSingleObject(waiting, INFINITE);
    EXPECT_EQ(WaitForAny({event, mutex}, INFINITE), WAIT_ABANDONED_0 + 1);
    owner.join();
    EXPECT_EQ(Look({event, second}), WAIT_ABANDONED_0 + 1);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_FALSE(ReleaseMutex(mutex));
    EXPECT_EQ(Look({mutex}), WAIT_OBJECT_0); // told once
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_TRUE(ReleaseMutex(second));
}

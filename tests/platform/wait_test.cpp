// Events, mutexes and the wait for them, in one process.
#include "platform/errors.h"
#include "platform/files.h"
#include "platform/waits.h"
#include "tests/platform/owned_handle.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

using namespace Platform;

namespace {

std::uint32_t Look(std::initializer_list<Handle> handles)
{
    return WaitForMultipleObjects(static_cast<std::uint32_t>(handles.size()), std::data(handles), 0);
}

std::uint32_t ErrorOfWait(std::uint32_t count, const Handle* handles)
{
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(WaitForMultipleObjects(count, handles, INFINITE), WAIT_FAILED);
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
        const Handle both[] = {event, c.handle};
        EXPECT_EQ(ErrorOfWait(2, both), c.error);
        EXPECT_EQ(ErrorOfWait(1, &c.handle), c.error);
    }
    std::vector<Handle> many(65, event);
    EXPECT_EQ(ErrorOfWait(65, many.data()), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ErrorOfWait(0, many.data()), ERROR_INVALID_PARAMETER);

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
    EXPECT_EQ(WaitForMultipleObjects(64, handles.data(), INFINITE), 63U);
    SetEvent(waiting);
    setter.join();
}

TEST(Wait, GoesOnWhenTheHandleIsClosedMeanwhile)
{
    Handle event = Event().Detach();
    Handle other = NULL_HANDLE;
    ASSERT_TRUE(DuplicateHandle(event, &other, 0, DUPLICATE_SAME_ACCESS));
    std::thread closer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        CloseHandle(event);
        SetEvent(other);
    });
    EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
    closer.join();
    CloseHandle(other);
}

TEST(Mutex, BelongsToOneThreadAsOftenAsItTookIt)
{
    const OwnedHandle mutex(CreateMutexW(true));
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

TEST(Mutex, OfAnEndedThreadIsAbandonedToTheNextWait)
{
    const OwnedHandle event = Event();
    const OwnedHandle waiting = Event();
    const OwnedHandle mutex(CreateMutexW(false));
    const OwnedHandle second(CreateMutexW(false));
    // Held twice when the thread ends; one waits for it, the other is found later. A third has lost its
    // handle.
    std::thread owner([&] {
        WaitForSingleObject(mutex, INFINITE);
        WaitForSingleObject(mutex, INFINITE);
        WaitForSingleObject(second, INFINITE);
        CloseHandle(CreateMutexW(true));
        SetEvent(waiting);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    });
    WaitForSingleObject(waiting, INFINITE);
    const Handle handles[] = {event, mutex};
    EXPECT_EQ(WaitForMultipleObjects(2, handles, INFINITE), WAIT_ABANDONED_0 + 1);
    owner.join();
    EXPECT_EQ(Look({event, second}), WAIT_ABANDONED_0 + 1);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_FALSE(ReleaseMutex(mutex));
    EXPECT_EQ(Look({mutex}), WAIT_OBJECT_0); // told once
}

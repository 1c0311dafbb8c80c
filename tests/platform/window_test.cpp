// Windows, and the messages to them and to threads.
#include "platform/errors.h"
#include "platform/waits.h"
#include "platform/windows.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

using namespace Platform;

namespace {

constexpr std::uint32_t number = 0x400;
constexpr std::uint32_t limit = 10'000;

std::int64_t Answer(HWND, std::uint32_t message, std::uint64_t wParam, std::int64_t lParam)
{
    return message + static_cast<std::int64_t>(wParam) + lParam;
}

// What a call that has failed leaves; 0 for one that has not.
template <class Result>
std::uint32_t ErrorOf(Result result)
{
    return result == Result{} ? GetLastError() : 0;
}

class Window : public testing::Test {
protected:
    ~Window() override { EXPECT_TRUE(UnregisterClassW(windowClass)); }

    // The numbers that wait for the calling thread, and leave its queue.
    static std::vector<std::uint32_t> Fetch(HWND window = NULL_HANDLE)
    {
        std::vector<std::uint32_t> fetched;
        for (MSG message; PeekMessageW(&message, window, 0, 0, PM_REMOVE);)
            fetched.push_back(message.message);
        return fetched;
    }

    const ATOM windowClass = RegisterClassW(&Answer, u"test");
    using Numbers = std::vector<std::uint32_t>;
};

} // namespace

TEST_F(Window, ClassesAreRefusedWithAReason)
{
    EXPECT_GE(windowClass, 0xC000);
    EXPECT_EQ(ErrorOf(RegisterClassW(&Answer, u"TEST")), ERROR_CLASS_ALREADY_EXISTS);
    const std::u16string longest(255, u'n');
    const std::u16string longer = longest + u"n";
    for (const char16_t* const name : {static_cast<const char16_t*>(nullptr), u"", longer.c_str()})
        EXPECT_EQ(ErrorOf(RegisterClassW(&Answer, name)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ErrorOf(RegisterClassW(nullptr, u"other")), ERROR_INVALID_PARAMETER);
    const ATOM other = RegisterClassW(&Answer, longest.c_str());
    const HWND window = CreateWindowExW(other);
    EXPECT_EQ(ErrorOf(UnregisterClassW(other)), ERROR_CLASS_HAS_WINDOWS);
    EXPECT_TRUE(DestroyWindow(window));
    EXPECT_TRUE(UnregisterClassW(other));
    EXPECT_EQ(ErrorOf(UnregisterClassW(other)), ERROR_CLASS_DOES_NOT_EXIST);
    EXPECT_EQ(ErrorOf(CreateWindowExW(other)), ERROR_CANNOT_FIND_WND_CLASS);
}

TEST_F(Window, GetsItsMessagesInOrderThroughTheQueueOfItsThread)
{
    const HWND windows[] = {CreateWindowExW(windowClass), CreateWindowExW(windowClass)};
    for (std::uint32_t i = 0; i < 6; ++i)
        PostMessageW(i % 3 == 2 ? NULL_HANDLE : windows[i % 3], number + i, i, -7);
    EXPECT_EQ(Fetch(INVALID_HANDLE_VALUE), (Numbers{number + 2, number + 5}));
    EXPECT_EQ(Fetch(windows[1]), (Numbers{number + 1, number + 4}));
    MSG message;
    ASSERT_TRUE(PeekMessageW(&message, NULL_HANDLE, number + 3, number + 3, PM_REMOVE));
    EXPECT_EQ(DispatchMessageW(&message), number + 3 + 3 - 7);
    EXPECT_FALSE(TranslateMessage(&message));
    message.hwnd = NULL_HANDLE;
    EXPECT_EQ(DispatchMessageW(&message), 0);
    // What has been fetched is dropped when it is dispatched, what has not goes with the window.
    ASSERT_TRUE(PeekMessageW(&message, windows[0], 0, 0, 0));
    EXPECT_TRUE(DestroyWindow(windows[0]));
    EXPECT_EQ(ErrorOf(DispatchMessageW(&message)), ERROR_INVALID_WINDOW_HANDLE);
    EXPECT_EQ(GetQueueStatus(0xFF), 0U);
    EXPECT_TRUE(DestroyWindow(windows[1]));
}

TEST_F(Window, HasAHandleThatServesForNothingElse)
{
    const HWND gone = CreateWindowExW(windowClass);
    Handle duplicate;
    EXPECT_EQ(ErrorOf(CloseHandle(gone)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf(DuplicateHandle(gone, &duplicate, 0, DUPLICATE_SAME_ACCESS)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(WaitForSingleObject(gone, 0), WAIT_FAILED);
    DestroyWindow(gone);
    const HWND next = CreateWindowExW(windowClass); // in the place of the other one
    const Handle event = CreateEventW(true, false);
    for (const Handle wrong :
        {gone, event, INVALID_HANDLE_VALUE, HWND{0x10000}, HWND{1ULL << 32 | 0xABCDEF}}) {
        EXPECT_EQ(ErrorOf(PostMessageW(wrong, number, 0, 0)), ERROR_INVALID_WINDOW_HANDLE);
        EXPECT_EQ(ErrorOf(DestroyWindow(wrong)), ERROR_INVALID_WINDOW_HANDLE);
    }
    EXPECT_EQ(Fetch(), Numbers());
    CloseHandle(event);
    EXPECT_TRUE(DestroyWindow(next));
}

TEST_F(Window, IsItsThreadsAndEndsWithIt)
{
    HWND window = NULL_HANDLE;
    std::uint32_t owner = 0;
    std::thread([&] {
        window = CreateWindowExW(windowClass);
        owner = GetCurrentThreadId();
        std::thread([&] {
            const MSG message{window, number, 0, 0, 0, 0, 0};
            EXPECT_EQ(ErrorOf(DispatchMessageW(&message)), ERROR_ACCESS_DENIED);
            EXPECT_EQ(ErrorOf(DestroyWindow(window)), ERROR_ACCESS_DENIED);
            EXPECT_TRUE(PostMessageW(window, number, 0, 0));
        }).join();
        EXPECT_EQ(Fetch(), Numbers{number});
    }).join();
    EXPECT_EQ(ErrorOf(PostMessageW(window, number, 0, 0)), ERROR_INVALID_WINDOW_HANDLE);
    EXPECT_EQ(ErrorOf(PostThreadMessageW(owner, number, 0, 0)), ERROR_INVALID_THREAD_ID);
}

TEST_F(Window, GetsBroadcastsAlsoWhereAnotherQueueIsFull)
{
    const HWND own = CreateWindowExW(windowClass);
    std::thread([&] {
        const HWND other = CreateWindowExW(windowClass);
        EXPECT_TRUE(PostMessageW(HWND_BROADCAST, number, 0, 0));
        for (std::uint32_t i = 1; i < limit; ++i)
            ASSERT_TRUE(PostMessageW(other, number, 0, 0));
        EXPECT_EQ(ErrorOf(PostMessageW(HWND_BROADCAST, number + 1, 0, 0)), ERROR_NOT_ENOUGH_QUOTA);
        EXPECT_EQ(Fetch(other).size(), limit);
    }).join();
    EXPECT_EQ(Fetch(own), (Numbers{number, number + 1}));
    DestroyWindow(own);
}

TEST_F(Window, LosesNoMessageBetweenTheLookAndTheWait)
{
    constexpr std::int64_t last = 5000;
    const HWND window = CreateWindowExW(windowClass);
    std::vector<std::thread> posters;
    for (std::uint32_t poster = 0; poster < 2; ++poster)
        posters.emplace_back([=] {
            for (std::int64_t i = 1; i <= last; ++i)
                EXPECT_TRUE(PostMessageW(window, poster, 0, i));
        });
    std::int64_t arrived[2] = {0, 0};
    while (arrived[0] != last || arrived[1] != last) {
        ASSERT_EQ(MsgWaitForMultipleObjectsEx(0, nullptr, INFINITE, 0xFF, MWMO_INPUTAVAILABLE), 0U);
        for (MSG message; PeekMessageW(&message, NULL_HANDLE, 0, 0, PM_REMOVE);)
            ASSERT_EQ(message.lParam, ++arrived[message.message]);
    }
    for (std::thread& poster : posters)
        poster.join();
    DestroyWindow(window);
}

TEST_F(Window, GetsNoMessageOfTheOneInWhosePlaceItStands)
{
    std::atomic<HWND> window{CreateWindowExW(windowClass)};
    std::atomic<bool> isOver = false;
    std::thread poster([&] {
        while (!isOver)
            PostMessageW(window, number, 0, 0);
    });
    for (int i = 0; i < 1000; ++i) {
        MsgWaitForMultipleObjectsEx(0, nullptr, INFINITE, 0xFF, MWMO_INPUTAVAILABLE);
        for (MSG message; PeekMessageW(&message, NULL_HANDLE, 0, 0, PM_REMOVE);)
            EXPECT_EQ(message.hwnd, window);
        DestroyWindow(window.exchange(CreateWindowExW(windowClass)));
    }
    isOver = true;
    poster.join();
    DestroyWindow(window);
}

// Windows, and the messages to them and to threads.
#include "platform/errors.h"
#include "platform/windows.h"
#include "tests/platform/owned_handle.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

using namespace Platform;

namespace {

constexpr std::uint32_t number = 0x400;

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
    for (const std::u16string& name : {std::u16string(), std::u16string(256, u'n')})
        EXPECT_EQ(ErrorOf(RegisterClassW(&Answer, name.c_str())), ERROR_INVALID_PARAMETER);
    const ATOM other = RegisterClassW(&Answer, std::u16string(255, u'n').c_str());
    const HWND window = CreateWindowExW(other);
    EXPECT_EQ(ErrorOf(UnregisterClassW(other)), ERROR_CLASS_HAS_WINDOWS);
    EXPECT_TRUE(DestroyWindow(window) && UnregisterClassW(other));
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
    message.hwnd = NULL_HANDLE;
    EXPECT_EQ(DispatchMessageW(&message), 0);
    // What has been fetched is dropped when it is dispatched, what has not goes with the window.
    ASSERT_TRUE(PeekMessageW(&message, windows[0], 0, 0, 0));
    EXPECT_TRUE(DestroyWindow(windows[0]) && DestroyWindow(windows[1]));
    EXPECT_EQ(ErrorOf(DispatchMessageW(&message)), ERROR_INVALID_WINDOW_HANDLE);
    EXPECT_EQ(GetQueueStatus(0xFF), 0U);
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
    const OwnedHandle event = Event();
    for (const Handle wrong : {gone, Handle{event}, INVALID_HANDLE_VALUE, HWND{1ULL << 32 | 0xABCDEF}}) {
        EXPECT_EQ(ErrorOf(PostMessageW(wrong, number, 0, 0)), ERROR_INVALID_WINDOW_HANDLE);
        EXPECT_EQ(ErrorOf(DestroyWindow(wrong)), ERROR_INVALID_WINDOW_HANDLE);
    }
    EXPECT_TRUE(DestroyWindow(next));
}

TEST_F(Window, IsItsThreadsAndEndsWithIt)
{
    const HWND own = CreateWindowExW(windowClass);
    HWND window = NULL_HANDLE;
    std::uint32_t owner = 0;
    std::thread([&] {
        window = CreateWindowExW(windowClass);
        owner = GetCurrentThreadId();
        const MSG message{own, number, 0, 0, 0, 0, 0};
        EXPECT_EQ(ErrorOf(DispatchMessageW(&message)), ERROR_ACCESS_DENIED);
        EXPECT_EQ(ErrorOf(DestroyWindow(own)), ERROR_ACCESS_DENIED);
        // A broadcast reaches each, though one queue is full.
        for (int i = 0; i < 10'000; ++i)
            ASSERT_TRUE(PostMessageW(window, number, 0, 0));
        EXPECT_EQ(ErrorOf(PostMessageW(HWND_BROADCAST, number + 1, 0, 0)), ERROR_NOT_ENOUGH_QUOTA);
    }).join();
    EXPECT_EQ(Fetch(own), Numbers{number + 1});
    EXPECT_EQ(ErrorOf(PostMessageW(window, number, 0, 0)), ERROR_INVALID_WINDOW_HANDLE);
    EXPECT_EQ(ErrorOf(PostThreadMessageW(owner, number, 0, 0)), ERROR_INVALID_THREAD_ID);
    EXPECT_TRUE(PostMessageW(HWND_BROADCAST, number, 0, 0));
    DestroyWindow(own);
}

// None is slept upon, and none arrives for a window that has taken the place of another one.
TEST_F(Window, LosesAndMistakesNoMessage)
{
    constexpr std::int64_t last = 5000;
    const std::uint32_t self = GetCurrentThreadId();
    std::atomic<HWND> window{CreateWindowExW(windowClass)};
    std::thread posting([&] {
        for (std::int64_t i = 1; i <= last; i += PostThreadMessageW(self, number, 0, i) ? 1 : 0)
            PostMessageW(window, number, 0, 0);
    });
    for (std::int64_t arrived = 0; arrived != last;) {
        MsgWaitForMultipleObjectsEx(0, nullptr, INFINITE, 0xFF, MWMO_INPUTAVAILABLE);
        for (MSG message; PeekMessageW(&message, NULL_HANDLE, 0, 0, PM_REMOVE);) {
            arrived += message.hwnd == NULL_HANDLE ? 1 : 0;
            ASSERT_TRUE(message.hwnd == NULL_HANDLE ? message.lParam == arrived : message.hwnd == window);
        }
        DestroyWindow(window.exchange(CreateWindowExW(windowClass)));
    }
    posting.join();
    DestroyWindow(window);
}

// Messages: a queue for each thread that has asked for one.
//
// A thread gets its queue with the first operation here that is about its own messages, and loses it when it
// ends. Posting works from any thread; what is fetched is the calling thread's own.
#pragma once

#include "platform/handles.h"

namespace Platform {

using HWND = Handle; // of a window, see windows.h

struct MSG {
    HWND hwnd; // null for a message to the thread itself
    std::uint32_t message;
    std::uint64_t wParam;
    std::int64_t lParam;
    std::uint32_t time; // GetCoarseTickCount64 when it was posted, cut to 32 bits
    std::int32_t x; // of the cursor: there is none, so always 0
    std::int32_t y;
};

constexpr std::uint32_t PM_REMOVE = 1;
constexpr std::uint32_t QS_ALLEVENTS = 0xFF;
constexpr std::uint32_t MWMO_INPUTAVAILABLE = 4;

// Makes the queue, so that messages that are posted from now on are kept, and tells whether it holds any that
// `flags` asks for: the same bits in both halves of the result, or 0.
std::uint32_t GetQueueStatus(std::uint32_t flags) noexcept;

// Fetches the oldest message: of any kind for a null window, those to the thread itself for
// INVALID_HANDLE_VALUE, otherwise those to the window; with numbers from `first` to `last`, or of any number
// if both are 0. It stays in the queue without PM_REMOVE. False if there is none.
bool PeekMessageW(
    MSG* message, HWND window, std::uint32_t first, std::uint32_t last, std::uint32_t remove) noexcept;

// Puts a message into the queue of a thread. False with ERROR_INVALID_THREAD_ID for a thread without a queue,
// ERROR_NOT_ENOUGH_QUOTA where 10,000 messages wait already, or ERROR_NOT_ENOUGH_MEMORY.
bool PostThreadMessageW(
    std::uint32_t thread, std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) noexcept;

// As WaitForMultipleObjects (waits.h), for 0 to 63 handles and for the calling thread's messages behind them:
// the result is the number of handles where there are messages, new or old. `mask` and `flags` are as above.
std::uint32_t MsgWaitForMultipleObjectsEx(std::uint32_t count, const Handle* handles,
    std::uint32_t milliseconds, std::uint32_t mask, std::uint32_t flags) noexcept;

} // namespace Platform

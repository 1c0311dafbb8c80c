// Windows, as far as messages need them: a procedure, and the thread that owns it. Nothing is ever shown.
//
// Every window is a top-level one. It belongs to the thread that made it: its messages wait in that thread's
// queue (messages.h), that thread alone dispatches and destroys it, and it goes when the thread ends. Nothing
// is sent to a procedure but what was posted and dispatched; the end of a window is not announced.
//
// A window is named by a handle that is of no use to CloseHandle and waits. One that is gone, or never was,
// is told with ERROR_INVALID_WINDOW_HANDLE, also when another window has taken its place. Safe from any
// thread.
#pragma once

#include "platform/messages.h"

namespace Platform {

using ATOM = std::uint16_t; // of a window class; 0 is none
using WNDPROC = std::int64_t (*)(
    HWND window, std::uint32_t message, std::uint64_t wParam, std::int64_t lParam);

constexpr std::uint32_t WM_NULL = 0;
// To every window of the process.
constexpr HWND HWND_BROADCAST{0xFFFF};

// A new class of windows, for the process: what its windows do with their messages. Names are up to 255 chars
// in which case does not count. 0 with ERROR_CLASS_ALREADY_EXISTS, ERROR_INVALID_PARAMETER for no procedure
// or no good name, or ERROR_NOT_ENOUGH_MEMORY. Atoms are 0xC000 and above.
ATOM RegisterClassW(WNDPROC procedure, const char16_t* name) noexcept;
// False with ERROR_CLASS_DOES_NOT_EXIST, or ERROR_CLASS_HAS_WINDOWS as long as it has.
bool UnregisterClassW(ATOM windowClass) noexcept;

// A window of the calling thread. NULL_HANDLE with ERROR_CANNOT_FIND_WND_CLASS or ERROR_NOT_ENOUGH_MEMORY.
HWND CreateWindowExW(ATOM windowClass) noexcept;
// Ends the window, and the messages that wait for it. By its thread only: ERROR_ACCESS_DENIED for any other.
bool DestroyWindow(HWND window) noexcept;

// What a procedure does with a message that is not its own: nothing, so the result is 0.
std::int64_t DefWindowProcW(
    HWND window, std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) noexcept;

// There is no keyboard whose messages could be made into characters: false.
bool TranslateMessage(const MSG* message) noexcept;
// Calls the procedure of the message's window, with no lock held, and gives its result; what the procedure
// throws comes out. A message to the thread itself, or to a window that has gone since it was fetched, is
// dropped: 0. A window of another thread is ERROR_ACCESS_DENIED.
std::int64_t DispatchMessageW(const MSG* message);

// Puts a message into the queue of the window's thread; for a null window into the calling thread's own, as
// one to the thread itself. False with ERROR_NOT_ENOUGH_QUOTA where 10,000 messages wait already, or
// ERROR_NOT_ENOUGH_MEMORY. With HWND_BROADCAST to each window there is, in the order of their making; false
// if any one was refused, but all others have it.
bool PostMessageW(HWND window, std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) noexcept;

} // namespace Platform

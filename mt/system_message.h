// The messages of the thread's queue, as interfaces have them.
#pragma once

#include "mt/wait_handle.h"
#include "platform/messages.h"
#include <tessel/mt/blocker.h>

namespace Mt {

// For PeekMessageW: messages to the thread itself and to no window.
constexpr Platform::HWND threadOnly = Platform::INVALID_HANDLE_VALUE;

// The oldest message, which leaves the queue: of any kind, or for threadOnly one to the thread itself. False,
// with `out` as it was, if there is none.
inline bool FetchMessage(Platform::HWND window, Win32::SystemMessage& out)
{
    Platform::MSG fetched;
    if (!Platform::PeekMessageW(&fetched, window, 0, 0, Platform::PM_REMOVE))
        return false;
    out = {ToPublic(fetched.hwnd), fetched.message, fetched.wParam, fetched.lParam, fetched.time, fetched.x,
        fetched.y};
    return true;
}

inline Platform::MSG ToPlatform(const Win32::SystemMessage& message)
{
    return {ToPlatform(message.window), message.number, message.wParam, message.lParam, message.time,
        message.cursorX, message.cursorY};
}

} // namespace Mt

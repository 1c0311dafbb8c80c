// A window: what its handle stands for.
#pragma once

#include "platform/linux/messages/thread_queue.h"
#include "platform/windows.h"

namespace Platform {

class Window final : public CountedObject {
public:
    static constexpr ObjectKind objectKind = ObjectKind::Window;

    Window(ATOM itsClass, WNDPROC itsProcedure, ObjectRef<ThreadQueue> itsQueue) noexcept
        : CountedObject(objectKind),
          windowClass(itsClass),
          procedure(itsProcedure),
          queue(std::move(itsQueue))
    {
    }

    // An empty reference with ERROR_INVALID_WINDOW_HANDLE if there is none.
    static ObjectRef<Window> Find(HWND handle) noexcept;
    // The end of a thread, on it: ends its windows.
    static void EndAllOf(const ThreadQueue& queue) noexcept;

    bool IsOfCallingThread() const noexcept { return queue->GetThread() == GetCurrentThreadId(); }

    const ATOM windowClass;
    const WNDPROC procedure;
    const ObjectRef<ThreadQueue> queue; // of its thread
    HWND handle = NULL_HANDLE; // guarded by the lock of the list of windows
    bool isGone = false; // guarded by the lock of the queue
};

} // namespace Platform

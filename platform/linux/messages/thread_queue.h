// The messages of one thread, as one more object that it can wait for.
#pragma once

#include "platform/linux/waits/waitable.h"
#include "platform/messages.h"

#include <deque>
#include <mutex>

namespace Platform {

class Window;

// Signalled exactly while there are messages, and never with one to a window that is gone. Counted: the
// thread has a reference, and so have its windows and who posts.
class ThreadQueue final : public Waitable {
public:
    ThreadQueue() noexcept : Waitable(ObjectKind::Event, Taking::Nothing, false) { }

    // The calling thread's, made if need be; null with ERROR_NOT_ENOUGH_MEMORY. It belongs to the thread.
    static ThreadQueue* Current() noexcept;
    // Another thread's, or an empty reference.
    static ObjectRef<ThreadQueue> Find(std::uint32_t thread) noexcept;
    // The end of the thread, on it, and with it of its windows.
    void End() noexcept;

    std::uint32_t GetThread() const noexcept { return thread; }

    // To the window, or to the thread itself for null. False with the last error, as PostMessageW has it.
    bool Post(const MSG& message, const Window* window) noexcept;
    bool Fetch(MSG* message, HWND window, std::uint32_t lowest, std::uint32_t highest, bool remove) noexcept;
    // From now on nothing is posted to the window, and what was has gone.
    void Forget(Window& window) noexcept;

private:
    std::mutex lock; // guards `messages`, that the signal follows them, and which windows are gone
    std::deque<MSG> messages;
    std::uint32_t thread = 0;
};

} // namespace Platform

// The messages of one thread, as one more object that it can wait for.
#pragma once

#include "platform/linux/waits/waitable.h"
#include "platform/messages.h"

#include <deque>
#include <mutex>

namespace Platform {

class Window;

// Never with a message to a window that is gone. Each message is followed by a signal, and the signal is
// taken back under the lock only, when there are no messages: so none is slept upon, though a queue may be
// signalled for nothing until the next fetch. Counted: the thread has a reference, and so have its windows
// and who posts.
class ThreadQueue final : public Waitable {
public:
    ThreadQueue() noexcept : Waitable(ObjectKind::Event, Taking::Nothing, false) { }

    // The calling thread's, made if need be; null with ERROR_NOT_ENOUGH_MEMORY. It belongs to the thread.
    static ThreadQueue* Current() noexcept
    {
        return currentWaiter && currentWaiter->queue ? currentWaiter->queue : MakeCurrent();
    }
    // Another thread's, or an empty reference.
    static ObjectRef<ThreadQueue> Find(std::uint32_t thread) noexcept;
    // The end of the thread, on it, and with it of its windows.
    void End() noexcept;

    std::uint32_t GetThread() const noexcept { return thread; }

    // To the window, or to the thread itself for null. False with the last error, as PostMessageW has it.
    bool Post(const MSG& message, const Window* window) noexcept;
    bool HasMessages() noexcept;
    bool Fetch(MSG* message, HWND window, std::uint32_t lowest, std::uint32_t highest, bool remove) noexcept;
    // From now on nothing is posted to the window, and what was has gone.
    void Forget(Window& window) noexcept;

private:
    static ThreadQueue* MakeCurrent() noexcept;

    std::mutex lock; // guards `messages`, and which windows are gone
    std::deque<MSG> messages;
    std::uint32_t thread = 0;
};

} // namespace Platform

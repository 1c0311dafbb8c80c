// The messages of one thread, as one more object that it can wait for.
#pragma once

#include "platform/linux/waits/waitable.h"
#include "platform/messages.h"

#include <deque>
#include <mutex>

namespace Platform {

// Signalled exactly while there are messages. Counted: the thread has a reference, and so has who posts.
class ThreadQueue final : public Waitable {
public:
    ThreadQueue() noexcept : Waitable(ObjectKind::Event, Taking::Nothing, false) { }

    // The calling thread's, made if need be; null with ERROR_NOT_ENOUGH_MEMORY. It belongs to the thread.
    static ThreadQueue* Current() noexcept;
    // Another thread's, or an empty reference.
    static ObjectRef<ThreadQueue> Find(std::uint32_t thread) noexcept;
    // The end of the thread, on it.
    void End() noexcept;

    bool Post(const MSG& message) noexcept;
    bool Fetch(
        MSG* message, Handle window, std::uint32_t lowest, std::uint32_t highest, bool remove) noexcept;

private:
    std::mutex lock; // guards `messages`, and that the signal follows them
    std::deque<MSG> messages;
    std::uint32_t thread = 0;
};

} // namespace Platform

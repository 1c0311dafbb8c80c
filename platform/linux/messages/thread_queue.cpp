#include "platform/linux/messages/thread_queue.h"

#include "platform/errors.h"
#include "platform/linux/messages/window.h"
#include "platform/linux/suspension.h"

#include <algorithm>
#include <map>
#include <new>

namespace Platform {

namespace {

constexpr std::size_t messageLimit = 10'000;

// All queues by the number of their thread. Never destroyed: threads post while the process ends.
struct Registry {
    std::mutex lock; // guards `queues`; a queue's lock is not taken under it
    std::map<std::uint32_t, ThreadQueue*>
        queues; // not counted: a thread takes its own out before it drops it
};
Registry& Queues() noexcept
{
    alignas(Registry) static std::byte room[sizeof(Registry)];
    static Registry* const made = new (room) Registry;
    return *made;
}

bool Fits(const MSG& message, HWND window, std::uint32_t lowest, std::uint32_t highest) noexcept
{
    if (window != NULL_HANDLE && message.hwnd != (window == INVALID_HANDLE_VALUE ? NULL_HANDLE : window))
        return false;
    return (lowest == 0 && highest == 0) || (message.message >= lowest && message.message <= highest);
}

} // namespace

ThreadQueue* ThreadQueue::MakeCurrent() noexcept
try {
    Waiter* const waiter = CurrentWaiter();
    if (!waiter)
        return nullptr;
    ObjectRef<ThreadQueue> made = ObjectRef<ThreadQueue>::Adopt(new ThreadQueue);
    made->thread = GetCurrentThreadId();
    const std::lock_guard guard(Queues().lock);
    Queues().queues.emplace(made->thread, made.Get());
    return waiter->queue = made.Detach();
} catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

ObjectRef<ThreadQueue> ThreadQueue::Find(std::uint32_t thread) noexcept
{
    const std::lock_guard guard(Queues().lock);
    const auto found = Queues().queues.find(thread);
    if (found == Queues().queues.end())
        return {};
    found->second->AddReferences(1);
    return ObjectRef<ThreadQueue>::Adopt(found->second);
}

void ThreadQueue::End() noexcept
{
    Window::EndAllOf(*this);
    {
        const std::lock_guard guard(Queues().lock);
        Queues().queues.erase(thread);
    }
    DropReferences(1);
}

bool ThreadQueue::Post(const MSG& message, const Window* window) noexcept
try {
    {
        const std::lock_guard guard(lock);
        if (window && window->isGone)
            return Fail(ERROR_INVALID_WINDOW_HANDLE);
        if (messages.size() == messageLimit)
            return Fail(ERROR_NOT_ENOUGH_QUOTA);
        messages.push_back(message);
    }
    Signal(); // not under the lock, which is the first thing that who is woken wants
    return true;
} catch (const std::bad_alloc&) {
    return Fail(ERROR_NOT_ENOUGH_MEMORY);
}

bool ThreadQueue::HasMessages() noexcept
{
    const std::lock_guard guard(lock);
    return !messages.empty();
}

bool ThreadQueue::Fetch(
    MSG* message, HWND window, std::uint32_t lowest, std::uint32_t highest, bool remove) noexcept
{
    if (!IsSignalled())
        return false;
    const std::lock_guard guard(lock);
    const auto found = std::ranges::find_if(
        messages, [=](const MSG& queued) { return Fits(queued, window, lowest, highest); });
    const bool isFound = found != messages.end();
    if (isFound)
        *message = *found;
    if (isFound && remove && found == messages.begin())
        messages.pop_front();
    else if (isFound && remove)
        messages.erase(found);
    if (messages.empty())
        Unsignal();
    return isFound;
}

void ThreadQueue::Forget(Window& window) noexcept
{
    const std::lock_guard guard(lock);
    window.isGone = true;
    if (std::erase_if(messages, [&window](const MSG& queued) { return queued.hwnd == window.handle; }) != 0
        && messages.empty())
        Unsignal();
}

std::uint32_t GetQueueStatus(std::uint32_t flags) noexcept
{
    const Inside inside;
    ThreadQueue* const queue = ThreadQueue::Current();
    const std::uint32_t status = flags & 0xFFFF;
    return queue && queue->HasMessages() ? status << 16 | status : 0;
}

bool PeekMessageW(
    MSG* message, HWND window, std::uint32_t first, std::uint32_t last, std::uint32_t remove) noexcept
{
    const Inside inside;
    ThreadQueue* const queue = ThreadQueue::Current();
    return queue && queue->Fetch(message, window, first, last, remove & PM_REMOVE);
}

bool PostThreadMessageW(
    std::uint32_t thread, std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) noexcept
{
    const Inside inside;
    const ObjectRef<ThreadQueue> queue = ThreadQueue::Find(thread);
    if (!queue)
        return Fail(ERROR_INVALID_THREAD_ID);
    return queue->Post(
        {NULL_HANDLE, message, wParam, lParam, static_cast<std::uint32_t>(GetCoarseTickCount64()), 0, 0},
        nullptr);
}

} // namespace Platform

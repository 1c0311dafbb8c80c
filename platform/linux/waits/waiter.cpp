#include "platform/linux/waits/waiter.h"

#include "platform/errors.h"
#include "platform/linux/messages/thread_queue.h"
#include "platform/linux/suspension.h"
#include "platform/linux/waits/ownership.h"
#include "platform/linux/waits/thread_object.h"
#include "platform/threads.h"

#include <mutex>
#include <new>
#include <pthread.h>
#include <utility>

namespace Platform {

constinit thread_local Waiter* currentWaiter = nullptr;

namespace {

// Guards the list of those that are free; the allocator is not called under it.
constinit std::mutex poolLock;
constinit Waiter* firstFree = nullptr;

constinit std::atomic<void (*)()> endHook{nullptr};

// A key, for its destructors come behind those of all thread-local variables. Null if the process has too
// many.
const pthread_key_t* EndKey() noexcept
{
    static pthread_key_t key;
    static const bool isMade = ::pthread_key_create(&key, &EndThread) == 0;
    return isMade ? &key : nullptr;
}

} // namespace

Waiter* MakeCurrentWaiter() noexcept
{
    const Inside inside;
    Waiter* const made = NewWaiter();
    if (!made)
        return nullptr;
    if (InstallWaiter(*made))
        return made;
    currentWaiter = nullptr;
    GiveWaiterBack(*made);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

Waiter* NewWaiter() noexcept
{
    {
        const std::lock_guard guard(poolLock);
        if (Waiter* const taken = firstFree) {
            firstFree = taken->nextFree;
            return taken;
        }
    }
    Waiter* const made = new (std::nothrow) Waiter;
    if (!made)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return made;
}

bool InstallWaiter(Waiter& waiter) noexcept
{
    currentWaiter = &waiter;
    const pthread_key_t* const key = EndKey();
    return key && ::pthread_setspecific(*key, &waiter) == 0;
}

void GiveWaiterBack(Waiter& waiter) noexcept
{
    const std::lock_guard guard(poolLock);
    waiter.nextFree = firstFree;
    firstFree = &waiter;
}

// The thread's mutexes go on before it counts as ended: who waits for its end and then for one of them does
// not wait long.
void EndThread(void* ending) noexcept
{
    auto& waiter = *static_cast<Waiter*>(ending);
    if (void (*const hook)() = endHook.load(std::memory_order_acquire))
        hook();
    const Inside inside;
    while (waiter.held)
        waiter.held->Abandon(waiter);
    if (ThreadQueue* const queue = std::exchange(waiter.queue, nullptr))
        queue->End();
    ThreadObject* const thread = std::exchange(waiter.thread, nullptr);
    waiter.spin = Waiter::fullSpin;
    currentWaiter = nullptr; // a later destructor that waits begins anew, and ends once more
    GiveWaiterBack(waiter);
    if (thread)
        thread->End();
}

void SetThreadEndHook(void (*hook)()) noexcept
{
    endHook.store(hook, std::memory_order_release);
}

bool ArmThreadEnd() noexcept
{
    return CurrentWaiter() != nullptr;
}

} // namespace Platform

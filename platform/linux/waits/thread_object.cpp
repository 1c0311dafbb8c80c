#include "platform/linux/waits/thread_object.h"

#include "platform/errors.h"
#include "platform/linux/handles/handle_table.h"
#include "platform/linux/waits/calls.h"
#include "platform/threads.h"

#include <algorithm>
#include <memory>
#include <new>
#include <sys/resource.h>
#include <unistd.h>

namespace Platform {

namespace {

struct Level {
    int priority;
    int nice; // added to that of the process
};
constexpr Level levels[] = {{THREAD_PRIORITY_IDLE, 19}, {THREAD_PRIORITY_LOWEST, 10}, {-1, 5},
    {THREAD_PRIORITY_NORMAL, 0}, {1, -5}, {THREAD_PRIORITY_HIGHEST, -10},
    {THREAD_PRIORITY_TIME_CRITICAL, -20}};

const Level* FindLevel(int priority) noexcept
{
    const Level* const found = std::ranges::find(levels, priority, &Level::priority);
    return found == std::end(levels) ? nullptr : found;
}

// What the process had when a priority was first asked for; before that no thread differs from it.
int NiceOfProcess() noexcept
{
    static const int nice = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::getpid()));
    return nice;
}
constinit std::atomic<bool> prioritiesDiffer{false};

// As far as the system lets: what it refuses is kept as asked all the same.
void ApplyPriority(pid_t thread, int priority) noexcept
{
    const Level* const level = FindLevel(priority);
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(thread), NiceOfProcess() + level->nice);
}

// What a new thread needs until it runs.
struct Start {
    ThreadStart function;
    void* argument;
    ThreadObject* thread; // counted
    Waiter* waiter;
};

// No handler for exceptions: one that comes out here ends the process, with its stack in sight.
void* RunThread(void* given)
{
    Start start;
    bool endsByItself;
    {
        const Inside inside;
        const std::unique_ptr<Start> passed(static_cast<Start*>(given));
        start = *passed;
        endsByItself = InstallWaiter(*start.waiter);
        start.thread->Begin(*start.waiter);
    }
    start.function(start.argument);
    if (!endsByItself)
        EndThread(start.waiter);
    return nullptr;
}

} // namespace

void ThreadObject::Begin(Waiter& waiter) noexcept
{
    waiter.thread = this;
    suspension.Begin();
    if (prioritiesDiffer.load(std::memory_order_seq_cst)) // a new thread starts with its maker's
        ApplyPriority(::gettid(), priority);
}

void ThreadObject::End() noexcept
{
    suspension.End();
    Signal();
    DropReferences(1);
}

bool _beginthreadex(ThreadStart start, void* argument, Handle* thread, std::uint32_t stackSize) noexcept
{
    const Inside inside;
    *thread = NULL_HANDLE;
    Waiter* const waiter = NewWaiter();
    std::unique_ptr<ThreadObject> made(waiter ? new (std::nothrow) ThreadObject : nullptr);
    auto passed = std::unique_ptr<Start>(
        made ? new (std::nothrow) Start{start, argument, made.get(), waiter} : nullptr);
    if (!passed) {
        if (waiter)
            GiveWaiterBack(*waiter);
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
    ThreadObject* const object = made.release();
    object->AddReferences(1); // one for the handle, and one for the thread
    *thread = MakeHandle(ObjectRef<ThreadObject>::Adopt(object), THREAD_ALL_ACCESS);
    if (*thread != NULL_HANDLE && Seam::StartThread(&RunThread, passed.get(), stackSize) == 0) {
        (void)passed.release(); // NOLINT(bugprone-unused-return-value): the thread's now
        return true;
    }
    if (*thread != NULL_HANDLE) {
        FailWithErrno();
        CloseHandle(*thread);
        *thread = NULL_HANDLE;
    }
    object->DropReferences(1);
    GiveWaiterBack(*waiter);
    return false;
}

Handle OpenCurrentThread() noexcept
{
    const Inside inside;
    Waiter* const waiter = CurrentWaiter();
    if (!waiter)
        return NULL_HANDLE;
    if (!waiter->thread) {
        auto* const made = new (std::nothrow) ThreadObject;
        if (!made) {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return NULL_HANDLE;
        }
        made->Begin(*waiter);
    }
    waiter->thread->AddReferences(1);
    return MakeHandle(ObjectRef<ThreadObject>::Adopt(waiter->thread), THREAD_ALL_ACCESS);
}

std::uint32_t SuspendThread(Handle thread) noexcept
{
    const Inside inside;
    const ObjectRef<ThreadObject> found = FindHandle<ThreadObject>(thread, 0);
    return found ? found->suspension.Suspend() : SUSPEND_FAILED;
}

std::uint32_t ResumeThread(Handle thread) noexcept
{
    const Inside inside;
    const ObjectRef<ThreadObject> found = FindHandle<ThreadObject>(thread, 0);
    return found ? found->suspension.Resume() : SUSPEND_FAILED;
}

int GetThreadPriority(Handle thread) noexcept
{
    const Inside inside;
    const ObjectRef<ThreadObject> found = FindHandle<ThreadObject>(thread, 0);
    return found ? found->priority.load() : THREAD_PRIORITY_ERROR_RETURN;
}

bool SetThreadPriority(Handle thread, int priority) noexcept
{
    const Inside inside;
    const ObjectRef<ThreadObject> found = FindHandle<ThreadObject>(thread, 0);
    if (!found)
        return false;
    if (!FindLevel(priority))
        return Fail(ERROR_INVALID_PARAMETER);
    NiceOfProcess();
    found->priority = priority;
    prioritiesDiffer = true;
    // One that has not begun yet, number 0, sees the two lines above when it does.
    if (const pid_t number = found->suspension.thread; number != 0 && !found->suspension.ended)
        ApplyPriority(number, priority);
    return true;
}

} // namespace Platform

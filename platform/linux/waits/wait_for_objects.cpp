// The waits that callers see: handles in, results out.
#include "platform/errors.h"
#include "platform/linux/handles/handle_table.h"
#include "platform/linux/messages/thread_queue.h"
#include "platform/linux/named/named_mutex.h"
#include "platform/linux/suspension.h"
#include "platform/linux/waits/mutex.h"
#include "platform/linux/waits/wait.h"

namespace Platform {

namespace {

// The objects of a wait with a count each, for they live as long as the wait does.
class Objects {
public:
    Objects() noexcept = default;
    Objects(const Objects&) = delete;
    Objects& operator=(const Objects&) = delete;
    ~Objects()
    {
        for (std::uint32_t i = 0; i < count; ++i)
            held[i]->DropReferences(1);
    }

    // False with the last error.
    bool Add(Handle handle) noexcept
    {
        ObjectRef<CountedObject> found = FindObject(handle, &IsWaitable, SYNCHRONIZE);
        if (!found)
            return false;
        held[count++] = found.Detach();
        return true;
    }

    void Add(CountedObject& object) noexcept
    {
        object.AddReferences(1);
        held[count++] = &object;
    }

    static bool IsWaitable(ObjectKind kind) noexcept
    {
        return kind == ObjectKind::Event || kind == ObjectKind::Mutex || kind == ObjectKind::Thread
            || IsNamed(kind);
    }

    std::uint32_t count = 0;
    CountedObject* held[MAXIMUM_WAIT_OBJECTS]; // NOLINT: filled as far as `count`
};

// What the wait gives for the object, once the thread has it.
std::uint32_t ResultFor(std::uint32_t index, CountedObject& object, Waiter& waiter) noexcept
{
    bool isAbandoned = false;
    if (object.kind == ObjectKind::Mutex)
        isAbandoned = static_cast<Mutex&>(object).CountOwnership(waiter);
    else if (object.kind == ObjectKind::NamedMutex)
        isAbandoned = static_cast<NamedMutex&>(object).CountOwnership(waiter);
    return (isAbandoned ? WAIT_ABANDONED_0 : WAIT_OBJECT_0) + index;
}

// Without a record anywhere: for the first object of a wait that is exact.
bool TakeAtOnce(CountedObject& object, Waiter& waiter) noexcept
{
    if (!IsNamed(object.kind))
        return static_cast<Waitable&>(object).TakeQuickly(waiter);
    auto& named = static_cast<NamedObject&>(object);
    const NamedLook look = named.Begin();
    return named.IsReady(waiter, look) && named.Take(waiter, look);
}

// Whether a take that has just failed can only have failed because there is no signal.
bool IsUnsignalled(CountedObject& object) noexcept
{
    return IsNamed(object.kind) || !static_cast<Waitable&>(object).IsSignalled();
}

std::uint32_t FailedWait(std::uint32_t code) noexcept
{
    SetLastError(code);
    return WAIT_FAILED;
}

// The wait for handles and, behind them, for the messages of the thread, if it wants them.
std::uint32_t WaitFor(
    std::uint32_t count, const Handle* handles, ThreadQueue* queue, std::uint32_t milliseconds) noexcept
{
    const Inside inside;
    if (count + (queue ? 1 : 0) > MAXIMUM_WAIT_OBJECTS)
        return FailedWait(ERROR_INVALID_PARAMETER);
    Waiter* const waiter = CurrentWaiter();
    Objects objects;
    if (!waiter || (count > 0 && !objects.Add(handles[0])))
        return WAIT_FAILED;
    // The rest need not be counted if the first one is there; but they have to be good.
    for (std::uint32_t i = 1; i < count; ++i)
        if (!CheckHandle(handles[i], &Objects::IsWaitable, SYNCHRONIZE))
            return WAIT_FAILED;
    if (count > 0 && TakeAtOnce(*objects.held[0], *waiter))
        return ResultFor(0, *objects.held[0], *waiter);
    if (count == 1 && !queue && milliseconds == 0 && IsUnsignalled(*objects.held[0]))
        return WAIT_TIMEOUT;
    for (std::uint32_t i = 1; i < count; ++i)
        if (!objects.Add(handles[i]))
            return WAIT_FAILED;
    if (queue)
        objects.Add(*queue);

    const std::uint32_t index = Wait(*waiter, objects.held, objects.count).Run(milliseconds);
    return index == Wait::nothing ? WAIT_TIMEOUT : ResultFor(index, *objects.held[index], *waiter);
}

} // namespace

std::uint32_t WaitForMultipleObjects(
    std::uint32_t count, const Handle* handles, std::uint32_t milliseconds) noexcept
{
    return count == 0 ? FailedWait(ERROR_INVALID_PARAMETER) : WaitFor(count, handles, nullptr, milliseconds);
}

std::uint32_t MsgWaitForMultipleObjectsEx(std::uint32_t count, const Handle* handles,
    std::uint32_t milliseconds, std::uint32_t, std::uint32_t) noexcept
{
    const Inside inside;
    ThreadQueue* const queue = ThreadQueue::Current();
    return queue ? WaitFor(count, handles, queue, milliseconds) : WAIT_FAILED;
}

std::uint32_t WaitForSingleObject(Handle handle, std::uint32_t milliseconds) noexcept
{
    return WaitForMultipleObjects(1, &handle, milliseconds);
}

} // namespace Platform

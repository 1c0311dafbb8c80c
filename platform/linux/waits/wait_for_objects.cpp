// The waits that callers see: handles in, results out.
#include "platform/errors.h"
#include "platform/linux/named/named_mutex.h"
#include "platform/linux/suspension.h"
#include "platform/linux/waits/mutex.h"
#include "platform/linux/waits/wait.h"

namespace Platform {

namespace {

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
    WaitObjects objects(count, handles, queue);
    if (!waiter || !objects.Check() || !objects.Find(0))
        return WAIT_FAILED;
    if (TakeAtOnce(objects[0], *waiter))
        return ResultFor(0, objects[0], *waiter);
    if (objects.Count() == 1 && milliseconds == 0 && IsUnsignalled(objects[0]))
        return WAIT_TIMEOUT;
    const std::uint32_t index = Wait(*waiter, objects).Run(milliseconds);
    if (index >= Wait::failed)
        return index == Wait::failed ? WAIT_FAILED : WAIT_TIMEOUT;
    return ResultFor(index, objects[index], *waiter);
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

std::uint32_t WaitForEither(const KnownObject& first, const KnownObject& second) noexcept
{
    const Inside inside;
    Waiter* const waiter = CurrentWaiter();
    CountedObject* const object = first.Get(SYNCHRONIZE);
    if (!waiter || !object || !second.Get(SYNCHRONIZE))
        return WAIT_FAILED;
    if (TakeAtOnce(*object, *waiter))
        return ResultFor(0, *object, *waiter);
    const Handle both[] = {first.GetHandle(), second.GetHandle()};
    return WaitFor(2, both, nullptr, INFINITE);
}

KnownObject::KnownObject(Handle itsHandle) noexcept
    : handle(itsHandle), object(FindObject(itsHandle, waitableKinds, 0).Detach())
{
    const KnownHandle known = KnowHandle(handle);
    state = known.word;
    access = known.access;
}

KnownObject::~KnownObject()
{
    if (object)
        object->DropReferences(1);
}

CountedObject* KnownObject::Refuse() const noexcept
{
    SetLastError(IsOpen() ? ERROR_ACCESS_DENIED : ERROR_INVALID_HANDLE);
    return nullptr;
}

} // namespace Platform

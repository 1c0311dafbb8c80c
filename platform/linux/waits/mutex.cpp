#include "platform/linux/waits/mutex.h"

#include "platform/errors.h"
#include "platform/linux/handles/handle_table.h"
#include "platform/linux/suspension.h"
#include "platform/waits.h"

#include <new>
#include <utility>

namespace Platform {

bool Mutex::CountOwnership(Waiter& waiter) noexcept
{
    if (depth++ != 0)
        return false;
    AddReferences(1);
    previousHeld = nullptr;
    nextHeld = waiter.held;
    if (nextHeld)
        nextHeld->previousHeld = this;
    waiter.held = this;
    return std::exchange(abandoned, false);
}

bool Mutex::Release(Waiter& waiter) noexcept
{
    if (owner.load(std::memory_order_relaxed) != &waiter)
        return false;
    if (--depth == 0)
        GiveOn(waiter);
    return true;
}

void Mutex::Abandon(Waiter& waiter) noexcept
{
    depth = 0;
    abandoned = true;
    GiveOn(waiter);
}

void Mutex::GiveOn(Waiter& waiter) noexcept
{
    (previousHeld ? previousHeld->nextHeld : waiter.held) = nextHeld;
    if (nextHeld)
        nextHeld->previousHeld = previousHeld;
    owner.store(nullptr, std::memory_order_relaxed);
    Signal();
    DropReferences(1);
}

Handle CreateMutexW(bool initialOwner) noexcept
{
    const Inside inside;
    Waiter* const waiter = initialOwner ? CurrentWaiter() : nullptr;
    auto* const made = initialOwner && !waiter ? nullptr : new (std::nothrow) Mutex;
    if (!made) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return NULL_HANDLE;
    }
    ObjectRef<Mutex> mutex = ObjectRef<Mutex>::Adopt(made);
    const Handle handle = MakeHandle(mutex, MUTEX_ALL_ACCESS);
    if (handle != NULL_HANDLE && waiter && mutex->TakeQuickly(*waiter))
        mutex->CountOwnership(*waiter);
    return handle;
}

bool ReleaseMutex(Handle mutex) noexcept
{
    const Inside inside;
    const ObjectRef<Mutex> found = FindHandle<Mutex>(mutex, 0);
    if (!found)
        return false;
    Waiter* const waiter = CurrentWaiter();
    if (!waiter)
        return false;
    return found->Release(*waiter) || Fail(ERROR_NOT_OWNER);
}

} // namespace Platform

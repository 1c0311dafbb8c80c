#include "platform/linux/waits/mutex.h"

#include "platform/errors.h"
#include "platform/linux/handles/handle_table.h"
#include "platform/linux/named/named_mutex.h"
#include "platform/linux/suspension.h"
#include "platform/waits.h"

#include <new>
#include <utility>

namespace Platform {

bool Mutex::CountOwnership(Waiter& waiter) noexcept
{
    Count(waiter);
    return std::exchange(abandoned, false);
}

bool Mutex::Release(Waiter& waiter) noexcept
{
    if (owner.load(std::memory_order_relaxed) != &waiter)
        return false;
    if (CountDown(waiter))
        GiveOn();
    return true;
}

void Mutex::Abandon(Waiter& waiter) noexcept
{
    Forget(waiter);
    abandoned = true;
    GiveOn();
}

void Mutex::GiveOn() noexcept
{
    owner.store(nullptr, std::memory_order_relaxed);
    Signal();
    DropReferences(1);
}

namespace {

Handle MakeUnnamed(Waiter* initialOwner) noexcept
{
    auto* const made = new (std::nothrow) Mutex;
    if (!made) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return NULL_HANDLE;
    }
    const ObjectRef<Mutex> mutex = ObjectRef<Mutex>::Adopt(made);
    const Handle handle = MakeHandle(mutex, MUTEX_ALL_ACCESS);
    if (handle != NULL_HANDLE && initialOwner && mutex->TakeQuickly(*initialOwner))
        mutex->CountOwnership(*initialOwner);
    return handle;
}

Handle MakeNamed(const char16_t* name, Waiter* initialOwner) noexcept
{
    const ObjectRef<NamedMutex> mutex = ObjectRef<NamedMutex>::Adopt(static_cast<NamedMutex*>(
        OpenNamed({name, NamedKind::Mutex, SharedFile::Mode::MakeIfMissing, false, initialOwner}).Detach()));
    const bool isNew = mutex && GetLastError() == ERROR_SUCCESS;
    const Handle handle = mutex ? MakeHandle(mutex, MUTEX_ALL_ACCESS) : NULL_HANDLE;
    if (mutex && handle == NULL_HANDLE && isNew && initialOwner)
        mutex->Release(*initialOwner);
    return handle;
}

} // namespace

Handle CreateMutexW(bool initialOwner, const char16_t* name) noexcept
{
    const Inside inside;
    Waiter* const waiter = initialOwner ? CurrentWaiter() : nullptr;
    if (initialOwner && !waiter)
        return NULL_HANDLE;
    return name && *name ? MakeNamed(name, waiter) : MakeUnnamed(waiter);
}

bool ReleaseMutex(Handle mutex) noexcept
{
    const Inside inside;
    const ObjectRef<CountedObject> found =
        FindObject(mutex, KindSet(ObjectKind::Mutex, ObjectKind::NamedMutex), 0);
    Waiter* const waiter = found ? CurrentWaiter() : nullptr;
    if (!waiter)
        return false;
    const bool isReleased = found->kind == ObjectKind::Mutex
        ? static_cast<Mutex&>(*found).Release(*waiter)
        : static_cast<NamedMutex&>(*found).Release(*waiter);
    return isReleased || Fail(ERROR_NOT_OWNER);
}

} // namespace Platform

#include "platform/linux/waits/event.h"

#include "platform/errors.h"
#include "platform/linux/handles/handle_table.h"
#include "platform/linux/named/named_event.h"
#include "platform/linux/suspension.h"
#include "platform/waits.h"

#include <new>

namespace Platform {

namespace {

constexpr KindSet eventKinds(ObjectKind::Event, ObjectKind::NamedEvent);

void SignalEvent(CountedObject& event) noexcept
{
    if (event.kind == ObjectKind::Event)
        static_cast<Event&>(event).Signal();
    else
        static_cast<NamedEvent&>(event).Set();
}

Handle HandleOf(ObjectRef<CountedObject> event, std::uint32_t access) noexcept
{
    return event ? MakeHandle(std::move(event), access) : NULL_HANDLE;
}

} // namespace

Handle CreateEventW(bool manualReset, bool initialState, const char16_t* name) noexcept
{
    const Inside inside;
    if (name && *name) {
        const NamedKind kind = manualReset ? NamedKind::ManualEvent : NamedKind::AutoEvent;
        const NamedRequest request{name, kind, SharedFile::Mode::MakeIfMissing, initialState, nullptr};
        return HandleOf(ObjectRef<CountedObject>::Adopt(OpenNamed(request).Detach()), EVENT_ALL_ACCESS);
    }
    auto* const made = new (std::nothrow) Event(manualReset, initialState);
    if (made)
        return MakeHandle(ObjectRef<Event>::Adopt(made), EVENT_ALL_ACCESS);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return NULL_HANDLE;
}

Handle OpenEventW(std::uint32_t access, const char16_t* name) noexcept
{
    const Inside inside;
    if (!name || !*name) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return NULL_HANDLE;
    }
    const std::uint32_t before = GetLastError();
    const NamedRequest request{name, NamedKind::AutoEvent, SharedFile::Mode::OpenOnly, false, nullptr};
    const Handle handle = HandleOf(ObjectRef<CountedObject>::Adopt(OpenNamed(request).Detach()), access);
    if (handle != NULL_HANDLE)
        SetLastError(before);
    return handle;
}

bool SetEvent(Handle event) noexcept
{
    const Inside inside;
    const ObjectRef<CountedObject> found = FindObject(event, eventKinds, EVENT_MODIFY_STATE);
    if (found)
        SignalEvent(*found);
    return static_cast<bool>(found);
}

bool SetEvent(const KnownObject& event) noexcept
{
    const Inside inside;
    CountedObject* const found = event.Get(EVENT_MODIFY_STATE);
    if (found && !eventKinds.Has(found->kind))
        return Fail(ERROR_INVALID_HANDLE);
    if (found)
        SignalEvent(*found);
    return found;
}

bool ResetEvent(Handle event) noexcept
{
    const Inside inside;
    const ObjectRef<CountedObject> found = FindObject(event, eventKinds, EVENT_MODIFY_STATE);
    if (!found)
        return false;
    if (found->kind == ObjectKind::Event)
        static_cast<Event&>(*found).Unsignal();
    else
        static_cast<NamedEvent&>(*found).Reset();
    return true;
}

} // namespace Platform

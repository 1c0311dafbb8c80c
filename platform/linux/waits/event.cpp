#include "platform/linux/waits/event.h"

#include "platform/errors.h"
#include "platform/linux/handles/handle_table.h"
#include "platform/linux/suspension.h"
#include "platform/waits.h"

#include <new>

namespace Platform {

Handle CreateEventW(bool manualReset, bool initialState) noexcept
{
    auto* const made = new (std::nothrow) Event(manualReset, initialState);
    if (made)
        return MakeHandle(ObjectRef<Event>::Adopt(made), EVENT_ALL_ACCESS);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return NULL_HANDLE;
}

bool SetEvent(Handle event) noexcept
{
    const Inside inside;
    const ObjectRef<Event> found = FindHandle<Event>(event, EVENT_MODIFY_STATE);
    if (found)
        found->Signal();
    return static_cast<bool>(found);
}

bool ResetEvent(Handle event) noexcept
{
    const Inside inside;
    const ObjectRef<Event> found = FindHandle<Event>(event, EVENT_MODIFY_STATE);
    if (found)
        found->Unsignal();
    return static_cast<bool>(found);
}

} // namespace Platform

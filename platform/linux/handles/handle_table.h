// The table from handles to counted objects. A handle is the index of a slot (low 32 bits) and the
// slot's generation at its making (high 32 bits), so that a number that was closed is told from the one
// that took its place. Looking up takes no lock: one compare-and-swap gives a counted reference, which
// outlives a CloseHandle in another thread.
//
// The table is constant-initialised, is never destroyed, and grows without moving: threads may use
// handles before the first constructor and after the last destructor.
#pragma once

#include "platform/handles.h"
#include "platform/linux/handles/counted_object.h"

namespace Platform {

// Makes a handle for the object, with these rights. On failure NULL_HANDLE and ERROR_NOT_ENOUGH_MEMORY;
// the reference is dropped then too.
Handle MakeHandle(ObjectRef<CountedObject> object, std::uint32_t access) noexcept;

template <class T>
Handle MakeHandle(ObjectRef<T> object, std::uint32_t access) noexcept
{
    return MakeHandle(ObjectRef<CountedObject>::Adopt(object.Detach()), access);
}

// The object of the handle. Without one of these kinds it is an empty reference with ERROR_INVALID_HANDLE,
// without all the rights of `access` with ERROR_ACCESS_DENIED.
ObjectRef<CountedObject> FindObject(Handle handle, KindSet kinds, std::uint32_t access) noexcept;

template <class T>
ObjectRef<T> FindHandle(Handle handle, std::uint32_t access) noexcept
{
    return ObjectRef<T>::Adopt(static_cast<T*>(FindObject(handle, T::objectKind, access).Detach()));
}

// Whether FindObject would find all of them just now; it costs no references, and gives none.
bool CheckHandles(std::uint32_t count, const Handle* handles, KindSet kinds, std::uint32_t access) noexcept;

// What KnownObject keeps of an open handle: what it stands for stays the same as long as it is open.
struct KnownHandle {
    const std::atomic<std::uint64_t>* word = nullptr; // its slot's; the generation in the high half
    std::uint32_t access = 0;
};
KnownHandle KnowHandle(Handle handle) noexcept;

// Closes a handle of this kind and of no other.
bool CloseHandleOfKind(Handle handle, ObjectKind kind) noexcept;

} // namespace Platform

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

// The object of the handle. Without one of a kind that is accepted it is an empty reference with
// ERROR_INVALID_HANDLE, without all the rights of `access` with ERROR_ACCESS_DENIED.
ObjectRef<CountedObject> FindObject(
    Handle handle, bool (*accepts)(ObjectKind), std::uint32_t access) noexcept;

// The same for one kind.
ObjectRef<CountedObject> FindObjectOfKind(Handle handle, ObjectKind kind, std::uint32_t access) noexcept;

template <class T>
ObjectRef<T> FindHandle(Handle handle, std::uint32_t access) noexcept
{
    return ObjectRef<T>::Adopt(static_cast<T*>(FindObjectOfKind(handle, T::objectKind, access).Detach()));
}

// Whether FindObject would find it just now; it costs no reference, and gives none.
bool CheckHandle(Handle handle, bool (*accepts)(ObjectKind), std::uint32_t access) noexcept;

// Closes a handle of this kind and of no other.
bool CloseHandleOfKind(Handle handle, ObjectKind kind) noexcept;

} // namespace Platform

// Events and mutexes, and the wait for them and for threads (threads.h).
//
// A wait ends with the lowest object of its array that is signalled, at entry exactly that one, and takes
// from that one alone: an event that resets itself lets one wait through, a mutex gets an owner, all others
// stay signalled. A set releases who waits at that moment, however soon a reset follows. Nothing is lost and
// nothing taken twice; a set with nobody waiting, and a wait for what is signalled, are no system call.
//
// Events and mutexes with a name are the same object in all processes of one user (and one process namespace)
// that use the name. A name is any text of at most 260 chars, in which case counts and no character has a
// meaning; it goes with the last process that has a handle, at its next use if that one was killed. A process
// that is killed at any instant leaves its mutexes as abandoned ones and holds nobody up. One that is stopped
// just while it opens or closes a name holds up those who open or close the same one, until it goes on.
//
// Safe from any thread. A handle that is closed elsewhere stays good for the calls that have begun with it.
// A child made by fork owns no mutex of its parent; it is to call exec before it waits.
#pragma once

#include "platform/handles.h"

namespace Platform {

class CountedObject;

constexpr std::uint32_t EVENT_MODIFY_STATE = 0x00000002;
constexpr std::uint32_t EVENT_ALL_ACCESS = 0x001F0003;
constexpr std::uint32_t MUTEX_ALL_ACCESS = 0x001F0001;

constexpr std::uint32_t MAXIMUM_WAIT_OBJECTS = 64;
constexpr std::uint32_t WAIT_OBJECT_0 = 0x00000000;
constexpr std::uint32_t WAIT_ABANDONED_0 = 0x00000080;
constexpr std::uint32_t WAIT_TIMEOUT = 0x00000102;
constexpr std::uint32_t WAIT_FAILED = 0xFFFFFFFF;

// A new event. One with manual reset stays signalled until it is reset, any other until one wait has taken
// the signal; sets between two waits are one. With a name that exists, that event as it is, and the last
// error is ERROR_ALREADY_EXISTS; with one that does not, it is ERROR_SUCCESS. A null or empty name is none.
// NULL_HANDLE on failure, with ERROR_INVALID_HANDLE if the name is that of a mutex,
// ERROR_FILENAME_EXCED_RANGE, or what the system answers.
Handle CreateEventW(bool manualReset, bool initialState, const char16_t* name = nullptr) noexcept;
// An event that exists, for EVENT_MODIFY_STATE, SYNCHRONIZE or both; without one ERROR_FILE_NOT_FOUND.
Handle OpenEventW(std::uint32_t access, const char16_t* name) noexcept;
// Both want EVENT_MODIFY_STATE.
bool SetEvent(Handle event) noexcept;
bool ResetEvent(Handle event) noexcept;

// A new mutex, which the calling thread owns once if `initialOwner`. The owner can take it again at once, and
// releases it as often. A mutex lives on while it is owned, with or without handles. With a name as for an
// event; of a mutex that exists nobody becomes the owner.
Handle CreateMutexW(bool initialOwner, const char16_t* name = nullptr) noexcept;
// By the owner only; for any other thread ERROR_NOT_OWNER.
bool ReleaseMutex(Handle mutex) noexcept;

// Waits until one of 1 to 64 objects is signalled, or until so many milliseconds have passed: never fewer,
// and counted from the entry, whatever comes between. 0 only looks, INFINITE waits for ever.
// The index of the object; WAIT_ABANDONED_0 and the index for a mutex, now owned, whose last owner has ended
// without releasing it; WAIT_TIMEOUT; or WAIT_FAILED with ERROR_INVALID_HANDLE for what is closed or cannot
// be waited for, ERROR_ACCESS_DENIED for a handle without SYNCHRONIZE, ERROR_INVALID_PARAMETER for a count
// out of range, ERROR_NOT_ENOUGH_MEMORY at a thread's first wait. A failed wait takes nothing.
std::uint32_t WaitForMultipleObjects(
    std::uint32_t count, const Handle* handles, std::uint32_t milliseconds) noexcept;
std::uint32_t WaitForSingleObject(Handle handle, std::uint32_t milliseconds) noexcept;

// An event or mutex that its user needs often, kept at hand: the operations below do the same as those on its
// handle, and find it closed, too, but cost half of them. The object lives as long as this.
class KnownObject {
public:
    // The operations fail where the handle is none of a waitable object.
    explicit KnownObject(Handle itsHandle) noexcept;
    ~KnownObject();
    KnownObject(const KnownObject&) = delete;
    KnownObject& operator=(const KnownObject&) = delete;

    Handle GetHandle() const noexcept { return handle; }
    // The object, if the handle is still open and has the right; otherwise null with the last error.
    CountedObject* Get(std::uint32_t right) const noexcept
    {
        return IsOpen() && (access & right) == right ? object : Refuse();
    }

private:
    // What is known of a handle holds while its slot has the handle's generation.
    bool IsOpen() const noexcept
    {
        return object
            && state->load(std::memory_order_acquire) >> 32 == static_cast<std::uint64_t>(handle) >> 32;
    }
    CountedObject* Refuse() const noexcept;

    const Handle handle;
    CountedObject* object;
    const std::atomic<std::uint64_t>* state = nullptr;
    std::uint32_t access = 0;
};
bool SetEvent(const KnownObject& event) noexcept;
// The wait for two objects without an end.
std::uint32_t WaitForEither(const KnownObject& first, const KnownObject& second) noexcept;

} // namespace Platform

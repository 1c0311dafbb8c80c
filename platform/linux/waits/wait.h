// One wait of one thread, for objects of this process and for those with a name.
#pragma once

#include "platform/linux/futex.h"
#include "platform/linux/named/named_object.h"
#include "platform/linux/waits/wait_objects.h"
#include "platform/linux/waits/waitable.h"

namespace Platform {

// With named members (FORMAT.md of named/) the thread sleeps on their words together with its own state. Such
// a member is taken in two steps, the waiter's own claim and then the object, and only in this order: a
// member that is taken could not be given back if somebody else claimed the waiter. After every sleep, and
// every take that failed, the wait looks at all members anew, for while it had claimed itself others may have
// passed it over.
class Wait {
public:
    Wait(Waiter& itsWaiter, WaitObjects& itsObjects) noexcept
        : waiter(itsWaiter), state(itsWaiter.state), objects(itsObjects)
    {
    }

    static constexpr std::uint32_t nothing = UINT32_MAX;
    static constexpr std::uint32_t failed = nothing - 1;
    // The index of the object that was taken, nothing if the time is up, failed with the last error if an
    // object was not found.
    std::uint32_t Run(std::uint32_t milliseconds) noexcept;

private:
    static constexpr std::uint32_t lookAgain = nothing - 2;

    Waitable& Local(std::uint32_t index) const noexcept { return static_cast<Waitable&>(objects[index]); }
    NamedObject& Named(std::uint32_t index) const noexcept
    {
        return static_cast<NamedObject&>(objects[index]);
    }

    std::uint32_t Look(WaiterState after) noexcept;
    bool PassBy(std::uint32_t index) noexcept;
    bool PassByLocal(std::uint32_t index) noexcept;
    bool PassByNamed(std::uint32_t index) noexcept;
    bool TakeNamed(std::uint32_t index) noexcept;

    std::uint32_t Sleep(Deadline deadline) noexcept;
    bool Spin() noexcept;
    bool MaySpin() noexcept;
    bool IsAnyNamedReady(std::uint32_t end) const noexcept;
    std::uint32_t ClaimedOr(WaiterState from, WaiterState to, std::uint32_t result) noexcept;
    void TakeOff(std::uint32_t index) noexcept;

    Waiter& waiter;
    std::atomic<std::uint32_t>& state;
    WaitObjects& objects;
    std::uint32_t hung = 0; // so many members, from the first on, have a record or a look
    std::int64_t slice = 0; // nanoseconds, where the kernel cannot wait for several words
    // Filled as far as `hung`: a record where the member is of this process, a look where it has a name.
    WaitRecord records[MAXIMUM_WAIT_OBJECTS]; // NOLINT
    NamedLook looks[MAXIMUM_WAIT_OBJECTS]; // NOLINT
};

} // namespace Platform

// One wait of one thread, for objects of this process and for those with a name.
#pragma once

#include "platform/linux/futex.h"
#include "platform/linux/named/named_object.h"
#include "platform/linux/waits/waitable.h"
#include "platform/waits.h"

namespace Platform {

// What stands in a wait is one of these, or an object of this process that signals like one of them.
constexpr bool IsNamed(ObjectKind kind)
{
    return kind == ObjectKind::NamedEvent || kind == ObjectKind::NamedMutex;
}

// With named members (FORMAT.md of named/) the thread sleeps on their words together with its own state. Such
// a member is taken in two steps, the waiter's own claim and then the object, and only in this order: a
// member that is taken could not be given back if somebody else claimed the waiter. After every sleep, and
// every take that failed, the wait looks at all members anew, for while it had claimed itself others may have
// passed it over.
class Wait {
public:
    // The objects are the caller's, and live as long.
    Wait(Waiter& itsWaiter, CountedObject* const* itsObjects, std::uint32_t itsCount) noexcept;

    static constexpr std::uint32_t nothing = UINT32_MAX;
    // The index of the object that was taken, or nothing if the time is up.
    std::uint32_t Run(std::uint32_t milliseconds) noexcept;

private:
    static constexpr std::uint32_t lookAgain = nothing - 1;

    Waitable& Local(std::uint32_t index) const noexcept { return static_cast<Waitable&>(*objects[index]); }
    NamedObject& Named(std::uint32_t index) const noexcept
    {
        return static_cast<NamedObject&>(*objects[index]);
    }

    std::uint32_t Look(WaiterState after) noexcept;
    bool PassBy(std::uint32_t index) noexcept;
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
    CountedObject* const* const objects;
    const std::uint32_t count;
    std::uint32_t namedCount = 0;
    std::uint32_t hung = 0; // so many members, from the first on, have a record or a look
    std::int64_t slice = 0; // nanoseconds, where the kernel cannot wait for several words
    // Filled as far as `hung`: a record where the member is of this process, a look where it has a name.
    WaitRecord records[MAXIMUM_WAIT_OBJECTS]; // NOLINT
    NamedLook looks[MAXIMUM_WAIT_OBJECTS]; // NOLINT
};

} // namespace Platform

// A mutex of this process.
#pragma once

#include "platform/linux/waits/waitable.h"

namespace Platform {

// What follows `owner` is the owner's alone: whoever gives the mutex away writes it before the word or the
// claim publishes it, so a thread's list of held mutexes needs no lock.
class Mutex final : public Waitable {
public:
    static constexpr ObjectKind objectKind = ObjectKind::Mutex;

    Mutex() noexcept : Waitable(objectKind, Taking::Ownership, true) { }

    // Counts one more ownership of the thread that has taken it; true at the first one behind an owner that
    // ended without releasing it.
    bool CountOwnership(Waiter& waiter) noexcept;
    // False if the thread does not own it.
    bool Release(Waiter& waiter) noexcept;
    // Gives on what an ending thread owns, all levels of it.
    void Abandon(Waiter& waiter) noexcept;

private:
    void GiveOn(Waiter& waiter) noexcept;

    std::uint32_t depth = 0;
    bool abandoned = false;
    Mutex* previousHeld = nullptr;
    Mutex* nextHeld = nullptr;
};

} // namespace Platform

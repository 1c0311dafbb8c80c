// A mutex of this process.
#pragma once

#include "platform/linux/waits/ownership.h"
#include "platform/linux/waits/waitable.h"

namespace Platform {

class Mutex final : public Waitable, public Ownership {
public:
    static constexpr ObjectKind objectKind = ObjectKind::Mutex;

    Mutex() noexcept
        : Waitable(objectKind, Taking::Ownership, true), Ownership(*static_cast<CountedObject*>(this))
    {
    }

    // Counts the ownership of the thread that has taken it; true at the first one behind an owner that ended
    // without releasing it.
    bool CountOwnership(Waiter& waiter) noexcept;
    // False if the thread does not own it.
    bool Release(Waiter& waiter) noexcept;
    void Abandon(Waiter& waiter) noexcept override;

private:
    void GiveOn() noexcept;
};

} // namespace Platform

// What the handles of a thread stand for. It outlives the thread while somebody has one.
#pragma once

#include "platform/linux/suspension.h"
#include "platform/linux/waits/waitable.h"

namespace Platform {

class ThreadObject final : public Waitable {
public:
    static constexpr ObjectKind objectKind = ObjectKind::Thread;

    ThreadObject() noexcept : Waitable(objectKind, Taking::Nothing, false) { }

    // The reference of the thread itself, which it drops at its end, as the last thing of all.
    void Begin(Waiter& waiter) noexcept;
    void End() noexcept;

    Suspension suspension;
    std::atomic<int> priority{0}; // as asked
};

} // namespace Platform

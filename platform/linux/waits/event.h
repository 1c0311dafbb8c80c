// An event of this process.
#pragma once

#include "platform/linux/waits/waitable.h"

namespace Platform {

class Event final : public Waitable {
public:
    static constexpr ObjectKind objectKind = ObjectKind::Event;

    Event(bool manualReset, bool signalled) noexcept
        : Waitable(objectKind, manualReset ? Taking::Nothing : Taking::Signal, signalled)
    {
    }
};

} // namespace Platform

// Blockers: everything that a thread can wait for.
#pragma once

#include <tessel/base/handle.h>
#include <tessel/object/face.h>

#include <cstdint>

namespace Mt {

struct Blocker : Face<> {
    static constexpr Iid iid = u"IID_Mt::Blocker"_iid;

    // Returns when the condition holds, or throws. Every wait ends with the interrupt error
    // (Error::interrupted) when somebody interrupts the calling thread, see thread.h; a blocker says so if it
    // has a condition that counts before the interrupt.
    virtual void Block() = 0;
};

namespace Win32 {

// A message of the system, as it comes out of a thread's queue.
struct SystemMessage {
    ::Handle window;
    std::uint32_t number;
    std::uint64_t wParam;
    std::int64_t lParam;
    std::uint32_t time; // milliseconds since the boot
    std::int32_t cursorX;
    std::int32_t cursorY;
};
static_assert(sizeof(SystemMessage) == 48);

// Where a wait puts a message of the thread that waits, and a flag that it sets then.
struct MessageSlot {
    SystemMessage* message;
    bool* received;
};

// A blocker that can state its condition has this face beside its own: a composite wait needs no thread for
// it then (multi_blocker.h).
struct BlockerInfo : Face<> {
    static constexpr Iid iid = u"IID_Mt::Win32::BlockerInfo"_iid;

    // Fills in one of the three and leaves the others alone: a handle of the system that will be signalled,
    // a span in milliseconds, or a slot for a message. The caller has set them to what means nothing: a null
    // handle, 0xFFFFFFFF, null pointers. What is named stays valid as long as the blocker.
    virtual void GetWaitInfo(::Handle& handle, std::uint32_t& timeout, MessageSlot& messageSlot) = 0;
};

} // namespace Win32
} // namespace Mt

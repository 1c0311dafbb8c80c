// Timers: waiting for a span of time, or until interrupted.
#pragma once

#include <tessel/mt/blocker.h>
#include <tessel/object/face_ptr.h>

namespace Mt {

// "CID_Mt::TimeBasedBlocker" makes one. It holds a span and no deadline: every Block waits the whole span
// anew.
struct TimeBasedBlocker : Face<Blocker> {
    static constexpr Iid iid = u"IID_Mt::TimeBasedBlocker"_iid;

    // Milliseconds; 0, as at first, is no time at all, and then Block does not even look at the interrupt.
    // 0xFFFFFFFF is for ever. A Block under way keeps its span.
    virtual void SetTimeout(std::uint32_t milliseconds) = 0;
};

constexpr const char16_t* timeBasedBlockerClass = u"CID_Mt::TimeBasedBlocker";

// Waits that long; 0xFFFFFFFF until the thread is interrupted.
inline void Sleep(std::uint32_t milliseconds)
{
    const FacePtr<TimeBasedBlocker> timer{Clsid(timeBasedBlockerClass)};
    timer->SetTimeout(milliseconds);
    timer->Block();
}

} // namespace Mt

// Events: conditions that the program sets and resets itself.
#pragma once

#include <tessel/mt/blocker.h>
#include <tessel/object/face_ptr.h>

namespace Mt {

// Two classes: one stays set until it is reset, the other until a wait has taken the signal. Any thread may
// use it at any time. If event and interrupt are there at once the event counts, and the interrupt stays.
struct EventBasedBlocker : Face<Blocker> {
    static constexpr Iid iid = u"IID_Mt::EventBasedBlocker"_iid;

    // Throw "SetEvent()err %d" and "ResetEvent()err %d", tag "tessel/mt", as Block throws "WFMO evt err %d".
    virtual void Set() = 0;
    virtual void Reset() = 0;
    // Takes the signal, like any wait, of an event that resets itself. Throws "WFSO evt err %d".
    virtual bool IsReset() = 0;
    // It stays the object's own.
    virtual ::Handle GetHandle() = 0;
};

constexpr const char16_t* manualEventClass = u"CID_Mt::ManualEventBasedBlocker";
constexpr const char16_t* autoEventClass = u"CID_Mt::AutoEventBasedBlocker";

namespace Win32 {

struct EventFactory : Face<> {
    static constexpr Iid iid = u"IID_Mt::Win32::EventFactory"_iid;

    // A blocker around an open handle of an event, which it takes over and does not check.
    virtual FacePtr<EventBasedBlocker> CreateFromHandle(::Handle handle) = 0;
};

constexpr const char16_t* eventFactoryClass = u"CID_Mt::Win32::EventFactory";

} // namespace Win32
} // namespace Mt

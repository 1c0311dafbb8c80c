// Changes of the desktop session of this process: its lock, logon, console, remoteness.
#pragma once

#include <tessel/mt/blocker.h>
#include <tessel/object/face_ptr.h>

#include <cstdint>

namespace Win32 {

// "CID_Win32::SessionChangeBlocker" makes one. It remembers what it has seen last; Block returns when that
// has changed, and also, at once, for a change between two waits. One thread at a time uses it.
//
//     const FacePtr<Win32::SessionChangeBlocker> session{Clsid(Win32::sessionChangeBlockerClass)};
//     for (;;) {
//         session->Block();
//         if (session->GetSessionState() == Win32::SessionChangeBlocker::locked) ...
//     }
//
// How it learns of changes depends on the system:
// - With a login manager it is told of locks and logons at once; the other two are seen a second later at the
//   latest. While the manager cannot be reached yet the state counts as loggedOff, so a state that was known
//   before is seen changing, and each second it is tried again. Once that has succeeded it stays so. A
//   manager that does not answer holds up whoever makes a blocker or looks by it, half a second at a time.
// - Without session notifications each second the event "KV7_LOGON_LOCK" is looked at, whoever makes it: a
//   logon is active while it is not set and locked while it is. As long as there is none, loggedOff.
// - Without session services the state is loggedOff.
// Which of these it is the first blocker finds out, and it stays so for as long as there is any: a system bus
// that comes up later, or for which no file descriptor was left, is seen when all have gone.
//
// Making one, or the first use behind it, throws, tag "win32": "wtsexp:%s:err:%d" or "wtsexp:%s:err%d" for an
// incomplete "WTSAPI32.DLL", what the message monitor throws, and Block and Update "wtsrsn err %d" for any
// failure to register but 1702, which tells that the manager cannot be reached yet.
struct SessionChangeBlocker : Face<Mt::Blocker> {
    static constexpr Iid iid = u"IID_Win32::SessionChangeBlocker"_iid;

    static constexpr std::int32_t loggedOff = 0; // or not active when first asked
    static constexpr std::int32_t active = 1;
    static constexpr std::int32_t locked = 2;

    // These three as of the last Update, which Block makes, too; the state is looked up before the first one.
    virtual bool IsConsoleSession() = 0;
    virtual bool IsRemoteSession() = 0;
    virtual std::int32_t GetSessionState() = 0;
    // Looks anew. True if any of the three has changed since the last look.
    virtual bool Update() = 0;
    // Whether a step from one state to another would be noticed on this system.
    virtual bool CanSeeTransition(std::int32_t from, std::int32_t to) = 0;
};

constexpr const char16_t* sessionChangeBlockerClass = u"CID_Win32::SessionChangeBlocker";

} // namespace Win32

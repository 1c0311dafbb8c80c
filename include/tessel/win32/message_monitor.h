// The message monitor: messages that the system sends to a window, for observers that have none.
#pragma once

#include <tessel/mt/blocker.h>
#include <tessel/object/face_ptr.h>

#include <cstdint>

namespace Win32 {

// "CID_Win32::MessageMonitor" gives the one of the process: one hidden window on a thread of its own. It is
// made at the first use, which may be anywhere and on several threads at once, and ends with its last
// reference; the next use makes a new one, with another window. The first use throws "msgmon-regcls-%d" or
// "msgmon-crewnd-%d", tag "win32", or the interrupt error if its thread is interrupted, and leaves
// nothing. Other first users wait meanwhile, so who is told of the start of threads (mt/current_thread.h)
// must not ask for the monitor there.
//
// The last reference may be dropped on any thread. Elsewhere than in an observer the release returns when
// thread and window have gone; in an observer, or while one is being called, the window thread ends the
// monitor by itself, soon after that call. So a release never waits for an observer, and may be made under a
// lock that observers take.
//
// Any thread may call the operations.
struct MessageMonitor : Face<> {
    static constexpr Iid iid = u"IID_Win32::MessageMonitor"_iid;

    struct Observer;

    // From now on the observer is told of the messages of this number, behind those that were added before
    // it. It is not kept alive, and leaves by being destroyed. It may stand under several numbers, and under
    // one number several times, which tells it as often.
    virtual void AddObserver(std::uint32_t message, const FacePtr<Observer>& observer) = 0;
    // The window, for whoever is to post messages to it: it gets broadcasts as well. The same as long as the
    // monitor lives, and of no use to CloseHandle or a wait.
    virtual ::Handle GetWindow() = 0;
};

struct MessageMonitor::Observer : Face<> {
    static constexpr Iid iid = u"IID_Win32::MessageMonitor::Observer"_iid;

    // Called on the window thread, one observer at a time and with no lock held, so it may do whatever it
    // likes: add observers, ask for the monitor, drop the last reference to it. It is kept alive meanwhile,
    // so a call that is under way or just about to begin outlasts the release by its owner: nothing that it
    // uses may go before it. A slow one holds up all others. An Error that it throws is dropped; any other
    // exception ends the process.
    virtual void OnMessage(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) = 0;
};

constexpr const char16_t* messageMonitorClass = u"CID_Win32::MessageMonitor";

} // namespace Win32

// The message queue of a thread as a blocker, beside everything else that a thread can wait for.
#pragma once

#include <tessel/mt/blocker.h>

namespace Gui {

// "CID_Gui::MessageQueue" gives a new one. It is tied to no thread: every operation is about the queue of the
// thread that calls it, and in a composite wait of the thread on which the wait's system call is made, see
// mt/multi_blocker.h. Making one gives the calling thread its queue, so that messages that are posted from
// then on are kept for it; the queue goes when the thread ends, with what it holds. Without a lock of its
// own: one thread at a time.
//
// Block fetches a message: the oldest one, which leaves the queue. One that is there already goes before a
// pending interrupt; but a wait that an interrupt has ended throws the interrupt error, and a message that
// came at the same moment stays in the queue. A message fetched earlier that nobody has collected is lost to
// the next Block, or composite wait: collect first. Several queues in one wait get the same message.
struct MessageQueue : Face<Mt::Blocker> {
    static constexpr Iid iid = u"IID_Gui::MessageQueue"_iid;

    // Whether a message is there to be collected; if none is, fetches one without waiting.
    virtual bool HasMessage() = 0;
    // Collects the message that was fetched, by Block, HasMessage or a composite wait. Never fetches: if
    // there is none, out.number becomes 0, and the rest means nothing.
    virtual void GetMessage(Mt::Win32::SystemMessage& out) = 0;
};

constexpr const char16_t* messageQueueClass = u"CID_Gui::MessageQueue";

// Put a message into a queue, behind all that are there, from any thread: into that of a thread (Mt::Thread's
// GetId), which has one as soon as it has made a MessageQueue; or into that of the window's thread, and for a
// null window of the calling one, and for window 0xFFFF for each window of the process. Throw an Error of one
// layer with the system's number: 1444 for no such queue, 1400 for no such window, 1816 where 10,000 messages
// wait already, 8 for want of memory; for 0xFFFF if any one window was refused, but all others have it.
TESSEL_API void PostThreadMessage(
    std::uint32_t thread, std::uint32_t number, std::uint64_t wParam, std::int64_t lParam);
TESSEL_API void PostMessage(::Handle window, std::uint32_t number, std::uint64_t wParam, std::int64_t lParam);

} // namespace Gui

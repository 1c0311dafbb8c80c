// Composite waits: for any one, or for all, of any number of blockers.
//
//     FacePtr<Mt::MultiBlocker> any{Clsid(Mt::multiBlockerClass)};
//     any->Add(event);
//     any->Add(timer);
//     any->Block();
//     for (const FacePtr<Mt::Blocker>& met : any->GetSignalled()) ...
#pragma once

#include <tessel/mt/blocker.h>
#include <tessel/object/face_ptr.h>

#include <vector>

namespace Mt {

// One wait at a time, by one thread; members are changed between waits only. It may be a member itself, of
// one other.
//
// Events, mutexes, timers and message queues, up to 62 with a handle, become one wait of the calling thread;
// of the handles that are signalled the first added is met, alone. Whatever else there is waits on a thread
// of its own that lives no longer than the wait, with a stack of 1 MB at most; there more than one may be
// met, and a mutex that is met ends with its thread as an abandoned one. All members of the other kind of
// multi-blocker wait on threads of their own.
//
// An interrupt of the calling thread is thrown and stays, as in every wait; interrupts that reach a member's
// thread are passed on to the caller. To end its own wait this class interrupts its threads, too, so an
// Interrupter can be called without an interrupt from outside. A member's Error ends the wait and is thrown,
// but for the interrupt, which goes first.
struct MultiBlocker : Face<Blocker> {
    static constexpr Iid iid = u"IID_Mt::MultiBlocker"_iid;

    // A blocker can be a member once. Throws "mblck-null", tag "mt", for null.
    virtual void Add(const FacePtr<Blocker>& blocker) = 0;
    // It has to be a member.
    virtual void Remove(const FacePtr<Blocker>& blocker) = 0;
    // After a wait, the members whose condition was met, in the order in which they were added.
    virtual std::vector<FacePtr<Blocker>> GetSignalled() = 0;
};

// The wait for any one; without members it returns at once, without a look at the interrupt.
constexpr const char16_t* multiBlockerClass = u"CID_Mt::MultiBlocker";
// The wait for all. A member that is met counts at once, whatever the others do.
constexpr const char16_t* multiBlockerAllClass = u"CID_Mt::MultiBlockerAll";

} // namespace Mt

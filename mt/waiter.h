// The strands of a composite wait: one on the calling thread, the first, and each other one on a thread of
// its own.
//
// A strand is stopped by an interrupt to its thread, which has to be told from those that came from outside.
// So the stop and the interrupts that it raised change together, under the strand's lock:
//
//     Stop      raises interrupts until the thread is interrupted (more than one where its count was below 0)
//     Settle    takes all interrupts off the thread at the end of the strand's wait; those beyond the number
//               that Stop had raised came from outside, and the report carries them to the caller
//
// On the thread of the caller a stop that has come stays in force until the whole wait is wound up, so Settle
// raises it anew there.
#pragma once

#include "mt/thread_impl.h"
#include <tessel/base/error.h>

namespace Mt {

class Waiter : public Face<Runnable> {
public:
    // A thread of its own for the strand, which has begun when this returns. Throws the interrupt error where
    // the start was interrupted, by whomever.
    void Start();
    // Notes the thread; one that was stopped before it had come is stopped here.
    void Initialize() override;

    // Makes the strand end, unless it is over or does so by itself, and gives the thread to wait for, if
    // there is one to wait for.
    FacePtr<ThreadImpl> RequestStop();
    // From now on the wait is being wound up, and a stop does nothing.
    void Finish();

    struct Settlement {
        bool stopped; // a stop was in force
        std::int32_t interrupts; // those from outside
        std::int32_t raised; // those that are on the thread again, for the stop goes on
    };
    // On the strand's thread. Clears the error if it is only that of the stop.
    Settlement Settle(Error& error);
    // Behind the end of the strand's own thread: interrupts from outside that came before Settle could take
    // them, or after it had.
    std::int32_t CountLeftInterrupts();

protected:
    Waiter(bool forAll, ThreadImpl& caller) noexcept : allMode(forAll), owner(&caller) { }

private:
    void RaiseStop();

    const bool allMode; // always false in a merged waiter
    CriticalSection lock; // guards the next four; a thread's follows
    bool stopRequested = false;
    bool finished = false;
    std::int32_t stopInterrupts = 0; // what the stop has raised
    FacePtr<ThreadImpl> thread; // null until it starts, or until Initialize
    const FacePtr<ThreadImpl> owner; // the thread that called Block
};

} // namespace Mt

// Threads, and how any wait of theirs is ended: by an interrupt.
//
//     struct Counting : Face<Mt::Runnable> {
//         void Initialize() override { ... }
//         void Run() override { ... }
//     };
//     const FacePtr<Mt::Runnable> counting = MakeFace<Impl<Counting, Module>>();
//     const FacePtr<Mt::Thread> thread = Mt::CurrentThread()->CreateThread(counting, 0);
//     thread->Join(false); // interrupts it, and waits for its end
#pragma once

#include <tessel/mt/blocker.h>
#include <tessel/object/face_ptr.h>

namespace Mt {

// The work of a thread.
struct Runnable : Face<> {
    static constexpr Iid iid = u"IID_Mt::Runnable"_iid;

    // Called first, on the new thread, while its creator waits: what it throws comes out of CreateThread.
    virtual void Initialize() = 0;
    // Called when the creator has gone on. An Error that comes out of it is dropped, for nobody is there to
    // catch it; any other exception ends the process.
    virtual void Run() = 0;
};

// A thread of the system, whoever has made it. Any thread may call any of the operations; holding or dropping
// this face neither keeps the thread running nor ends it.
struct Thread : Face<> {
    static constexpr Iid iid = u"IID_Mt::Thread"_iid;

    virtual std::uint32_t GetId() = 0;
    // Stops the thread until it was resumed as often, and returns when it stands. It may then hold the
    // allocator's lock, the dynamic linker's or one of the program's own, so its suspender must not do
    // anything that could want them. Throws "SuspendThread() err %d", Resume "ResumeThread() err %d".
    virtual void Suspend() = 0;
    virtual void Resume() = 0;
    // From -2, the lowest, to 2. It is kept as asked, and applied as far as the system lets.
    virtual std::int32_t GetPriority() = 0;
    // Any other value does nothing.
    virtual void SetPriority(std::int32_t priority) = 0;

    // Adds one to the thread's interrupts. At the step from 0 to 1 its wait ends, and its interrupters are
    // called, the last registered first, on the calling thread. It stays interrupted, and all its further
    // waits end at once, until it has cleared as many (current_thread.h).
    virtual void Interrupt() = 0;
    virtual bool IsInterrupted() = 0;
    // A new blocker for the end of the thread. It always looks at the interrupt, also when the thread has
    // ended.
    virtual FacePtr<Blocker> GetBlocker() = 0;
    // Waits for the end of the thread, with `waitOnly` false after an interrupt to it. The one wait that no
    // interrupt ends; a thread that joins itself never returns.
    virtual void Join(bool waitOnly) = 0;
};

} // namespace Mt

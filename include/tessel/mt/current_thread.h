// What a thread can ask of its own.
//
//     Mt::CurrentThread()->CheckInterrupted();
#pragma once

#include <tessel/mt/thread.h>
#include <tessel/object/clsid.h>

#include <atomic>

namespace Mt {

// For code that is held up in something other than a Blocker.
struct Interrupter : Face<> {
    // Called on the thread that interrupts, while that one holds the lock of the interrupted thread's record:
    // it must not throw, nor wait for a thread that interrupts or asks for interrupts of the same one.
    virtual void OnInterrupt() = 0;
};

// While it lives its interrupter is registered. The last Release takes the thread's topmost interrupter off,
// whichever that is: drop registrations in reverse order. May be dropped on any thread.
struct InterrupterRegistration : Face<> { };

// "CID_Mt::CurrentThreadImpl" gives it, as "IID_BaseFace"; CurrentThread below is the way to it. Every
// operation is about the calling thread.
struct CurrentThreadImpl : Face<> {
    // The thread itself. One that was made elsewhere gets its record here, or with any other operation, and
    // loses it when it ends.
    virtual FacePtr<Thread> GetThread() = 0;
    // Gives up the rest of the time slice.
    virtual void Yield() = 0;
    // Starts a thread, and returns when the runnable has been initialised there. Throws what Initialize
    // throws, when that thread has ended; if Initialize was interrupted, the thread that is returned has
    // ended. An interrupt of the caller interrupts Initialize as well, and is thrown when that thread has
    // ended or has gone on to Run. Throws "_beginthreadex() err %d" and, for null, "thr-null", tag
    // "tessel/mt". `reserved` is ignored.
    virtual FacePtr<Thread> CreateThread(const FacePtr<Runnable>& runnable, std::uint32_t reserved) = 0;

    // A face under a key of the thread's own; keys are called "TID_" and a qualified name. Null erases it.
    virtual void SetLocal(const WideString& key, const FacePtr<BaseFace>& value) = 0;
    // Null for a key that is not there.
    virtual FacePtr<BaseFace> GetLocal(const WideString& key) = 0;

    // Throws the interrupt error if the thread is interrupted already; nothing is registered then.
    virtual FacePtr<InterrupterRegistration> RegisterInterrupter(const FacePtr<Interrupter>& interrupter) = 0;
    // Takes back one interrupt. The count may go below 0: then as many interrupts are not heard.
    virtual void ClearInterrupt() = 0;
    // Throws the interrupt error if the thread is interrupted. It stays so.
    virtual void CheckInterrupted() = 0;
};

constexpr const char16_t* currentThreadClass = u"CID_Mt::CurrentThreadImpl";

// The service, asked for once in each module and kept for ever: the library never leaves.
class TESSEL_HIDDEN CurrentThread {
public:
    // A face among a thread's locals that has this one, too, observes threads.
    struct Notification : Face<> {
        static constexpr Iid iid = u"IID_Mt::CurrentThread::Notification"_iid;

        // Called on each thread that the one with the local creates, before its runnable. What it throws
        // fails that creation.
        virtual void OnThreadStart() = 0;
        // Called when the thread with the local ends, in the order of the keys. An Error is dropped.
        virtual void OnThreadEnd() = 0;
    };

    CurrentThreadImpl* operator->() const
    {
        CurrentThreadImpl* const known = service.load(std::memory_order_acquire);
        return known != nullptr ? known : Ask();
    }

private:
    static CurrentThreadImpl* Ask()
    {
        BaseFace* const asked = Object::CreateObject(currentThreadClass, BaseFace::iid).Detach();
        auto* const found = FromPrimary<CurrentThreadImpl>(asked);
        // One reference is kept, that of whoever came last.
        if (CurrentThreadImpl* const replaced = service.exchange(found, std::memory_order_acq_rel))
            replaced->Release();
        return found;
    }

    static constinit inline std::atomic<CurrentThreadImpl*> service{nullptr};
};

} // namespace Mt

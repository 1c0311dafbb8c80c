// The record of one thread, shared by the thread itself and by everybody who holds its Mt::Thread.
#pragma once

#include "platform/waits.h"
#include <tessel/base/critical_section.h>
#include <tessel/base/error.h>
#include <tessel/base/string.h>
#include <tessel/mt/current_thread.h>
#include <tessel/object/impl.h>

#include <map>
#include <vector>

namespace Mt {

class ThreadImpl : public Face<Thread> {
public:
    class CreationData; // thread_creation.h

    // The thread's own, and while it creates a thread and waits for it, that one's to look at.
    using Locals = std::map<WideString, FacePtr<BaseFace>>;

    ThreadImpl();
    ~ThreadImpl();
    ThreadImpl(const ThreadImpl&) = delete;
    ThreadImpl& operator=(const ThreadImpl&) = delete;

    // That of the calling thread. One without gets one, and keeps a reference to it until it ends.
    static ThreadImpl& Current() { return current ? *current : Adopt(); }
    // A new thread, which stands in `created` before it begins to run; see thread_creation.cpp. False if its
    // start-up was interrupted: then it does not run, and has ended or is about to. The bytes of its stack
    // are the system's with 0.
    static bool Create(
        const FacePtr<Runnable>& runnable, FacePtr<ThreadImpl>& created, std::uint32_t stackSize = 0);
    static FacePtr<ThreadImpl> Create(const FacePtr<Runnable>& runnable)
    {
        FacePtr<ThreadImpl> created;
        Create(runnable, created);
        return created;
    }

    std::uint32_t GetId() override { return id.load(std::memory_order_relaxed); }
    void Suspend() override;
    void Resume() override;
    std::int32_t GetPriority() override;
    void SetPriority(std::int32_t priority) override;
    void Interrupt() override;
    bool IsInterrupted() override { return GetInterruptCount() > 0; }
    FacePtr<Blocker> GetBlocker() override;
    void Join(bool waitOnly) override;

    std::int32_t GetInterruptCount() const { return interruptCount.load(std::memory_order_acquire); }
    void ClearInterrupt();
    // Throws the interrupt error.
    void CheckInterrupted()
    {
        if (IsInterrupted())
            throw MakeInterrupted();
    }
    // Also without memory: an interrupt does not turn into another exception.
    static Error MakeInterrupted();
    FacePtr<InterrupterRegistration> Register(const FacePtr<Interrupter>& interrupter);
    void PushInterrupter(const FacePtr<Interrupter>& interrupter);
    void PopInterrupter();

    // Signalled while the thread is interrupted; every wait of the thread includes it.
    const Platform::KnownObject& GetInterruptEvent() const { return interruptEvent; }
    Platform::Handle GetHandle() const { return handle; }

    Locals locals;

private:
    static ThreadImpl& Adopt();
    static void OnThreadEnd(bool processDetach);
    static void EndCurrent();
    static void Main(void* thread);
    void Start();
    bool StartUp(Runnable& runnable);

    // With the reference of the thread itself.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local ThreadImpl* current;

    Platform::Handle handle = Platform::NULL_HANDLE; // null if the thread cannot be waited for
    std::atomic<std::uint32_t> id{0};
    // Guards the next three; interrupters are called under it. No other lock is taken under it.
    CriticalSection lock;
    std::atomic<std::int32_t> interruptCount{0}; // written under the lock; interrupted while above 0
    const Platform::KnownObject interruptEvent;
    std::vector<FacePtr<Interrupter>> interrupters; // the last registered last
    FacePtr<CreationData> creationData; // until the start-up is over
};

} // namespace Mt

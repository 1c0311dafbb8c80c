// What passes between a thread and its creator while the new thread starts up.
#pragma once

#include "mt/thread_impl.h"

#include <exception>

namespace Mt {

class ThreadImpl::CreationData : public Face<> {
public:
    CreationData(FacePtr<Runnable> work, const Locals& locals);
    ~CreationData();
    CreationData(const CreationData&) = delete;
    CreationData& operator=(const CreationData&) = delete;

    // Decides between "it runs" and "it was given up": true for one of the two threads, whichever is first.
    bool Claim()
    {
        std::uint32_t unclaimed = 0;
        return claim.compare_exchange_strong(unclaimed, 1);
    }

    const FacePtr<Runnable> runnable;
    const Locals& creatorLocals; // of the creator, which leaves when this is looked at no more
    const Platform::Handle startedEvent; // the start-up is over, well or badly; null for want of memory
    // The new thread's until `startedEvent`: what the start-up has thrown, and whether the runnable is to
    // run.
    std::exception_ptr failure;
    bool runs = false;

private:
    std::atomic<std::uint32_t> claim{0};
};

} // namespace Mt

#include "mt/waiter.h"

#include <algorithm>

namespace Mt {

namespace {
// Small enough for the system to keep the stacks of many strands for the next wait: making and unmaking them
// is a third of what a strand costs.
constexpr std::uint32_t stackSize = 1 << 20;
} // namespace

void Waiter::RaiseStop()
{
    do {
        thread->Interrupt();
        ++stopInterrupts;
    } while (!thread->IsInterrupted());
}

void Waiter::Start()
{
    if (!ThreadImpl::Create(FacePtr<Runnable>(this), thread, stackSize))
        throw ThreadImpl::MakeInterrupted();
}

void Waiter::Initialize()
{
    const SectionLock section(lock);
    thread = FacePtr<ThreadImpl>(&ThreadImpl::Current());
    if (stopRequested)
        RaiseStop();
}

FacePtr<ThreadImpl> Waiter::RequestStop()
{
    // Without the lock: it is the calling thread itself that has written this, or it is another one.
    if (!allMode && thread.Get() == &ThreadImpl::Current())
        return {};
    const SectionLock section(lock);
    if (finished)
        return {};
    const bool isFirst = !stopRequested && thread;
    if (isFirst)
        RaiseStop();
    stopRequested = true;
    return isFirst && thread.Get() != owner.Get() ? thread : FacePtr<ThreadImpl>();
}

void Waiter::Finish()
{
    const SectionLock section(lock);
    finished = true;
}

Waiter::Settlement Waiter::Settle(Error& error)
{
    ThreadImpl& self = ThreadImpl::Current();
    const SectionLock section(lock);
    Settlement settled{stopRequested, 0, 0};
    while (self.IsInterrupted()) {
        ++settled.interrupts;
        self.ClearInterrupt();
    }
    if (!stopRequested)
        return settled;
    stopRequested = false;
    settled.interrupts -= std::exchange(stopInterrupts, 0);
    if (error.HasCode(Error::interrupted))
        error.Clear();
    if (thread.Get() == owner.Get()) {
        stopRequested = true;
        RaiseStop();
        settled.raised = stopInterrupts;
    }
    return settled;
}

std::int32_t Waiter::CountLeftInterrupts()
{
    const SectionLock section(lock);
    return thread ? std::max(0, thread->GetInterruptCount() - stopInterrupts) : 0;
}

} // namespace Mt

#include "mt/timer_factory.h"

#include "mt/thread_impl.h"
#include "platform/waits.h"

namespace Mt {

// A wait that fails counts as one that has ended.
void TimerImpl::Block()
{
    const std::uint32_t span = timeout.load(std::memory_order_relaxed);
    if (span == 0)
        return;
    ThreadImpl& self = ThreadImpl::Current();
    if (Platform::WaitForSingleObject(self.GetInterruptEvent().GetHandle(), span) == Platform::WAIT_OBJECT_0)
        self.CheckInterrupted();
}

void TimerImpl::SetTimeout(std::uint32_t milliseconds)
{
    timeout.store(milliseconds, std::memory_order_relaxed);
}

void TimerImpl::GetWaitInfo(::Handle&, std::uint32_t& span, Win32::MessageSlot&)
{
    span = timeout.load(std::memory_order_relaxed);
}

} // namespace Mt

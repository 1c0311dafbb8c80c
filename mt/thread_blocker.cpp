#include "mt/thread_blocker.h"

#include "mt/wait_handle.h"
#include "platform/waits.h"

namespace Mt {

// Whatever has ended the wait, the interrupt is looked at, and goes before the end of the thread.
void ThreadBasedBlocker::Block()
{
    ThreadImpl& self = ThreadImpl::Current();
    const Platform::Handle handles[] = {thread->GetHandle(), self.GetInterruptEvent().GetHandle()};
    Platform::WaitForMultipleObjects(2, handles, Platform::INFINITE);
    self.CheckInterrupted();
}

void ThreadBasedBlocker::GetWaitInfo(::Handle& handle, std::uint32_t&, Win32::MessageSlot&)
{
    handle = ToPublic(thread->GetHandle());
}

} // namespace Mt

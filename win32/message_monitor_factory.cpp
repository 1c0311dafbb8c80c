#include "win32/message_monitor_factory.h"

#include "mt/thread_impl.h"
#include "mt/wait_handle.h"
#include "win32/window_thread.h"
#include <tessel/module.h>
#include <tessel/object/global.h>

namespace Win32 {

// The window is there when Create returns. Where that throws the new thread may run all the same, for an
// interrupt of this one can come too late for it: `thread` is set, and the destructor ends it.
void MessageMonitorImpl::OnFirstReference()
{
    const FacePtr<WindowThread> work(new Impl<WindowThread, Module>(FacePtr<MessageMonitorImpl>(this)));
    if (!Mt::ThreadImpl::Create(work, thread))
        throw Mt::ThreadImpl::MakeInterrupted();
    window = work->GetWindow();
}

// The window thread finds its weak reference dead from here on, and leaves when it wakes. If it is this one,
// it only has to find a message; where none can be posted, its queue is full of others.
MessageMonitorImpl::~MessageMonitorImpl()
{
    if (!thread)
        return;
    if (thread->GetId() == Platform::GetCurrentThreadId())
        Platform::PostMessageW(window, Platform::WM_NULL, 0, 0);
    else
        thread->Join(false);
}

void MessageMonitorImpl::AddObserver(std::uint32_t message, const FacePtr<Observer>& observer)
{
    observers.Add(message, observer);
}

::Handle MessageMonitorImpl::GetWindow()
{
    return Mt::ToPublic(window);
}

std::vector<FacePtr<MessageMonitor::Observer>> MessageMonitorImpl::GetObservers(std::uint32_t message)
{
    std::vector<FacePtr<Observer>> living;
    observers.Find(message, living);
    return living;
}

void MessageMonitorFactory::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    if (clsid == messageMonitorClass)
        out = FacePtr<BaseFace>(Primary(ImplGlobal<MessageMonitorImpl, Module>::Get().Get()));
}

void MessageMonitorFactory::ListClasses(Object::ClassInfoList& out)
{
    out.push_back(Object::DescribeClass<MessageMonitorImpl>(messageMonitorClass));
}

} // namespace Win32

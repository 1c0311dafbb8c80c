#include "win32/message_monitor_factory.h"

#include "mt/thread_impl.h"
#include "mt/wait_handle.h"
#include "win32/window_thread.h"
#include <tessel/module.h>
#include <tessel/object/global.h>

namespace Win32 {

// The window is there when Create returns. It may be there, too, when that throws: an interrupt of this
// thread that comes too late for the new one throws here, and the new one runs all the same.
void MessageMonitorImpl::OnFirstReference()
{
    const FacePtr<WindowThread> work(new Impl<WindowThread, Module>(FacePtr<MessageMonitorImpl>(this)));
    try {
        thread = Mt::ThreadImpl::Create(work);
    } catch (...) {
        window = work->GetWindow();
        throw;
    }
    window = work->GetWindow();
}

// The window thread finds its weak reference dead from here on, and leaves when it wakes. Where it cannot be
// joined, for it is this thread or unknown, it only has to find a message; if one cannot be posted, its queue
// is full of others, or it has left.
MessageMonitorImpl::~MessageMonitorImpl()
{
    if (thread && thread.Get() != &Mt::ThreadImpl::Current())
        thread->Join(false);
    else if (window != Platform::NULL_HANDLE)
        Platform::PostMessageW(window, Platform::WM_NULL, 0, 0);
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

#include "mt/event_factory.h"

#include "mt/thread_impl.h"
#include "mt/wait_handle.h"
#include <tessel/base/error.h>
#include <tessel/module.h>

namespace Mt {

namespace {

constexpr const char* tag = "tessel/mt";

FacePtr<EventBasedBlocker> MakeEvent(Platform::Handle handle)
{
    return FacePtr<EventBasedBlocker>(MakeAround<Impl<EventImpl, Module>>(handle));
}

} // namespace

EventImpl::~EventImpl()
{
    Platform::CloseHandle(event.GetHandle());
}

// The event stands first, so it counts before the interrupt.
void EventImpl::Block()
{
    ThreadImpl& self = ThreadImpl::Current();
    const std::uint32_t result = Platform::WaitForEither(event, self.GetInterruptEvent());
    if (result == Platform::WAIT_FAILED)
        throw Error("WFMO evt err %d", tag, Platform::GetLastError());
    if (result == 1)
        self.CheckInterrupted();
}

void EventImpl::Set()
{
    if (!Platform::SetEvent(event))
        throw Error("SetEvent()err %d", tag, Platform::GetLastError());
}

void EventImpl::Reset()
{
    if (!Platform::ResetEvent(event.GetHandle()))
        throw Error("ResetEvent()err %d", tag, Platform::GetLastError());
}

bool EventImpl::IsReset()
{
    const std::uint32_t result = Platform::WaitForSingleObject(event.GetHandle(), 0);
    if (result == Platform::WAIT_FAILED)
        throw Error("WFSO evt err %d", tag, Platform::GetLastError());
    return result == Platform::WAIT_TIMEOUT;
}

::Handle EventImpl::GetHandle()
{
    return ToPublic(event.GetHandle());
}

void EventImpl::GetWaitInfo(::Handle& out, std::uint32_t&, Win32::MessageSlot&)
{
    out = ToPublic(event.GetHandle());
}

FacePtr<EventBasedBlocker> EventFactory::CreateFromHandle(::Handle handle)
{
    return MakeEvent(ToPlatform(handle));
}

void EventFactory::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    if (clsid == Win32::eventFactoryClass)
        out = FacePtr<BaseFace>(Primary(this));
    else if (clsid == manualEventClass || clsid == autoEventClass)
        out = MakeEvent(Platform::CreateEventW(clsid == manualEventClass, false));
}

void EventFactory::ListClasses(Object::ClassInfoList& out)
{
    out.push_back(Object::DescribeClass<Win32::EventFactory>(Win32::eventFactoryClass));
    out.push_back(Object::DescribeClass<EventImpl>(manualEventClass));
    out.push_back(Object::DescribeClass<EventImpl>(autoEventClass));
}

} // namespace Mt

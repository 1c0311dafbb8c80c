#include "mt/current_thread_factory.h"

#include "mt/thread_impl.h"
#include <tessel/module.h>
#include <tessel/object/global.h>

namespace Mt {

FacePtr<Thread> CurrentThreadFactory::GetThread()
{
    return FacePtr<Thread>(&ThreadImpl::Current());
}

void CurrentThreadFactory::Yield()
{
    Platform::Sleep(0);
}

FacePtr<Thread> CurrentThreadFactory::CreateThread(const FacePtr<Runnable>& runnable, std::uint32_t)
{
    return ThreadImpl::Create(runnable);
}

// What is replaced goes last, for its destruction may come back here.
void CurrentThreadFactory::SetLocal(const WideString& key, const FacePtr<BaseFace>& value)
{
    ThreadImpl::Locals& locals = ThreadImpl::Current().locals;
    FacePtr<BaseFace> replaced;
    if (value) {
        replaced = std::exchange(locals[key], value);
    } else if (const auto found = locals.find(key); found != locals.end()) {
        replaced = std::move(found->second);
        locals.erase(found);
    }
}

FacePtr<BaseFace> CurrentThreadFactory::GetLocal(const WideString& key)
{
    const ThreadImpl::Locals& locals = ThreadImpl::Current().locals;
    const auto found = locals.find(key);
    return found == locals.end() ? FacePtr<BaseFace>() : found->second;
}

FacePtr<InterrupterRegistration> CurrentThreadFactory::RegisterInterrupter(
    const FacePtr<Interrupter>& interrupter)
{
    return ThreadImpl::Current().Register(interrupter);
}

void CurrentThreadFactory::ClearInterrupt()
{
    ThreadImpl::Current().ClearInterrupt();
}

void CurrentThreadFactory::CheckInterrupted()
{
    ThreadImpl::Current().CheckInterrupted();
}

void CurrentThreadFactory::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    if (clsid == currentThreadClass)
        out = FacePtr<BaseFace>(Primary(ImplGlobal<CurrentThreadFactory, Module>::Get().Get()));
}

void CurrentThreadFactory::ListClasses(Object::ClassInfoList& out)
{
    out.push_back(Object::DescribeClass<CurrentThreadFactory>(currentThreadClass));
}

} // namespace Mt

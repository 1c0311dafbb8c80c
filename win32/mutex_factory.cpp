#include "win32/mutex_factory.h"

#include "mt/thread_impl.h"
#include "mt/wait_handle.h"
#include "platform/errors.h"
#include <tessel/base/error.h>
#include <tessel/module.h>

namespace Win32 {

namespace {

constexpr const char* tag = "win32";

FacePtr<Mutex> MakeMutex(Platform::Handle handle)
{
    return FacePtr<Mutex>(Mt::MakeAround<Impl<MutexImpl, Module>>(handle));
}

} // namespace

MutexImpl::~MutexImpl()
{
    Platform::CloseHandle(mutex.GetHandle());
}

// The mutex stands first, so it counts before the interrupt; an abandoned one is acquired like any other.
void MutexImpl::Block()
{
    Mt::ThreadImpl& self = Mt::ThreadImpl::Current();
    const std::uint32_t result = Platform::WaitForEither(mutex, self.GetInterruptEvent());
    if (result == Platform::WAIT_FAILED)
        throw Error("WFMO mtx %d", tag, Platform::GetLastError());
    if (result == 1)
        self.CheckInterrupted();
}

bool MutexImpl::TryLock()
{
    const std::uint32_t result = Platform::WaitForSingleObject(mutex.GetHandle(), 0);
    if (result == Platform::WAIT_TIMEOUT)
        return false;
    if (result != Platform::WAIT_OBJECT_0 && result != Platform::WAIT_ABANDONED_0)
        throw Error("WFSO mtx (tmout 0) %d", tag, Platform::GetLastError());
    return true;
}

void MutexImpl::Unlock()
{
    Platform::ReleaseMutex(mutex.GetHandle());
}

::Handle MutexImpl::GetHandle()
{
    return Mt::ToPublic(mutex.GetHandle());
}

void MutexImpl::GetWaitInfo(::Handle& out, std::uint32_t&, Mt::Win32::MessageSlot&)
{
    out = Mt::ToPublic(mutex.GetHandle());
}

FacePtr<Mutex> MutexFactory::CreateFromHandle(::Handle handle)
{
    return MakeMutex(Mt::ToPlatform(handle));
}

FacePtr<Mutex> MutexFactory::Create(const WideString& name, bool initialOwner, const void*, bool* created)
{
    Platform::SetLastError(Platform::ERROR_SUCCESS); // of one without a name nothing is told
    const Platform::Handle handle = Platform::CreateMutexW(initialOwner, name.c_str());
    const std::uint32_t code = Platform::GetLastError();
    if (handle == Platform::NULL_HANDLE)
        throw Error("mtx-cr(%s) %d", tag, name, code);
    if (created)
        *created = code != Platform::ERROR_ALREADY_EXISTS;
    return MakeMutex(handle);
}

void MutexFactory::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    if (clsid == mutexCreatorClass)
        out = FacePtr<BaseFace>(Primary(this));
}

void MutexFactory::ListClasses(Object::ClassInfoList& out)
{
    out.push_back(Object::DescribeClass<MutexFactory>(mutexCreatorClass));
}

} // namespace Win32

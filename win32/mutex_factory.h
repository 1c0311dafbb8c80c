// "CID_Win32::Mutex_Creator", and the mutexes that it makes.
#pragma once

#include "platform/waits.h"
#include <tessel/object/factory.h>
#include <tessel/win32/mutex.h>

namespace Win32 {

class MutexImpl : public Face<Mutex, Mt::Win32::BlockerInfo> {
public:
    // Takes the handle over.
    explicit MutexImpl(Platform::Handle owned) noexcept : mutex(owned) { }
    ~MutexImpl();
    MutexImpl(const MutexImpl&) = delete;
    MutexImpl& operator=(const MutexImpl&) = delete;

    void Block() override;
    bool TryLock() override;
    void Unlock() override;
    ::Handle GetHandle() override;
    void GetWaitInfo(::Handle& out, std::uint32_t& timeout, Mt::Win32::MessageSlot& messageSlot) override;

private:
    const Platform::KnownObject mutex;
};

class MutexFactory : public Face<Object::StaticFactory, Mutex::Creator> {
public:
    FacePtr<Mutex> CreateFromHandle(::Handle handle) override;
    FacePtr<Mutex> Create(
        const WideString& name, bool initialOwner, const void* securityAttributes, bool* created) override;

    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(Object::ClassInfoList& out) override;
};

} // namespace Win32

// Events as blockers, and the three classes of them.
#pragma once

#include "platform/waits.h"
#include <tessel/mt/event.h>
#include <tessel/object/factory.h>

namespace Mt {

class EventImpl : public Face<EventBasedBlocker, Win32::BlockerInfo> {
public:
    // Takes the handle over; a null one fails at its first use.
    explicit EventImpl(Platform::Handle owned) noexcept : event(owned) { }
    ~EventImpl();
    EventImpl(const EventImpl&) = delete;
    EventImpl& operator=(const EventImpl&) = delete;

    void Block() override;
    void Set() override;
    void Reset() override;
    bool IsReset() override;
    ::Handle GetHandle() override;
    void GetWaitInfo(::Handle& out, std::uint32_t& timeout, Win32::MessageSlot& messageSlot) override;

private:
    const Platform::KnownObject event;
};

class EventFactory : public Face<Win32::EventFactory, Object::StaticFactory> {
public:
    FacePtr<EventBasedBlocker> CreateFromHandle(::Handle handle) override;

    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(Object::ClassInfoList& out) override;
};

} // namespace Mt

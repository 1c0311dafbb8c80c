// "CID_Mt::TimeBasedBlocker".
#pragma once

#include <tessel/mt/timer.h>
#include <tessel/object/class_factory.h>

#include <atomic>

namespace Mt {

class TimerImpl : public Face<TimeBasedBlocker, Win32::BlockerInfo> {
public:
    static constexpr const char16_t* clsid = timeBasedBlockerClass;

    void Block() override;
    void SetTimeout(std::uint32_t milliseconds) override;
    void GetWaitInfo(::Handle& handle, std::uint32_t& span, Win32::MessageSlot& messageSlot) override;

private:
    std::atomic<std::uint32_t> timeout{0}; // milliseconds; others may set it during a Block
};

using TimerFactory = Object::ClassFactory<TimerImpl>;

} // namespace Mt

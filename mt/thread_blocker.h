// The end of a thread as a condition.
#pragma once

#include "mt/thread_impl.h"

namespace Mt {

class ThreadBasedBlocker : public Face<Blocker, Win32::BlockerInfo> {
public:
    explicit ThreadBasedBlocker(FacePtr<ThreadImpl> awaited) noexcept : thread(std::move(awaited)) { }

    void Block() override;
    void GetWaitInfo(::Handle& handle, std::uint32_t& timeout, Win32::MessageSlot& messageSlot) override;

private:
    const FacePtr<ThreadImpl> thread;
};

} // namespace Mt

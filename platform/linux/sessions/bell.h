// What wakes the service out of its sleep, and tells it to end.
#pragma once

#include "platform/linux/sessions/calls.h"

#include <atomic>

namespace Platform {

// Rung by any thread, heard by one.
class Bell {
public:
    Bell() = default;
    ~Bell() { Close(); }
    Bell(const Bell&) = delete;
    Bell& operator=(const Bell&) = delete;

    // False with errno.
    bool Open() noexcept
    {
        isEnding = false;
        return (descriptor = Seam::MakeEventDescriptor()) >= 0;
    }
    void Close() noexcept
    {
        if (descriptor >= 0)
            ::close(descriptor);
        descriptor = -1;
    }

    void Ring() noexcept { ::eventfd_write(descriptor, 1); } // fails only where it has rung long since
    void RingTheEnd() noexcept
    {
        isEnding = true;
        Ring();
    }

    int GetDescriptor() const noexcept { return descriptor; }
    void Silence() noexcept
    {
        eventfd_t count;
        ::eventfd_read(descriptor, &count);
    }
    bool IsTheEnd() const noexcept { return isEnding; }

private:
    int descriptor = -1;
    std::atomic<bool> isEnding{false};
};

} // namespace Platform

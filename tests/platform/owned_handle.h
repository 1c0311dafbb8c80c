// Handles for tests, closed at the end of the scope.
#pragma once

#include "platform/waits.h"

#include <utility>

class OwnedHandle {
public:
    explicit OwnedHandle(Platform::Handle owned = Platform::NULL_HANDLE) : handle(owned) { }
    OwnedHandle(OwnedHandle&& other) noexcept : handle(other.Detach()) { }
    ~OwnedHandle()
    {
        if (handle != Platform::NULL_HANDLE)
            Platform::CloseHandle(handle);
    }

    operator Platform::Handle() const { return handle; }
    Platform::Handle* Out() { return &handle; }
    Platform::Handle Detach() { return std::exchange(handle, Platform::NULL_HANDLE); }

private:
    Platform::Handle handle;
};

inline OwnedHandle Event(bool manualReset = false)
{
    return OwnedHandle(Platform::CreateEventW(manualReset, false));
}

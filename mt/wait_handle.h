// The handles of interfaces and those of the platform are the same number.
#pragma once

#include "platform/handles.h"
#include <tessel/base/handle.h>

namespace Mt {

constexpr ::Handle ToPublic(Platform::Handle handle)
{
    return {static_cast<std::uint64_t>(handle)};
}
constexpr Platform::Handle ToPlatform(::Handle handle)
{
    return Platform::Handle{handle.value};
}

// A new object that takes the handle over, also where it cannot be made.
template <class Object>
Object* MakeAround(Platform::Handle handle)
{
    try {
        return new Object(handle);
    } catch (...) {
        Platform::CloseHandle(handle);
        throw;
    }
}

} // namespace Mt

// Handles for tests, closed at the end of the scope.
#pragma once

#include "platform/waits.h"

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

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

// A random choice in random order, of at least so many.
inline std::vector<Platform::Handle> Choose(
    std::minstd_rand& random, const std::vector<OwnedHandle>& all, std::size_t least)
{
    std::vector<Platform::Handle> chosen(all.begin(), all.end());
    std::shuffle(chosen.begin(), chosen.end(), random);
    chosen.resize(least + random() % (chosen.size() - least + 1));
    return chosen;
}
// Beside the others, first or last.
inline void PutAtOneEnd(
    std::minstd_rand& random, std::vector<Platform::Handle>& chosen, Platform::Handle added)
{
    chosen.insert(random() % 2 == 0 ? chosen.begin() : chosen.end(), added);
}
inline std::uint32_t WaitForAny(const std::vector<Platform::Handle>& handles, std::uint32_t milliseconds)
{
    return Platform::WaitForMultipleObjects(
        static_cast<std::uint32_t>(handles.size()), handles.data(), milliseconds);
}
inline std::size_t PlaceOf(Platform::Handle handle, const std::vector<OwnedHandle>& all)
{
    return static_cast<std::size_t>(std::find(all.begin(), all.end(), handle) - all.begin());
}

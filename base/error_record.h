// What an Error points at. Shared by copies; changed only while one Error holds it.
#pragma once

#include <tessel/base/error.h>

#include <atomic>
#include <vector>

struct Error::Layer {
    std::uint32_t code;
    WideString text;
};

struct Error::Record {
    static constexpr std::uint32_t currentVersion = 2;
    static constexpr std::uint32_t noLayer = 0xFFFFFFFF;

    std::atomic<std::int32_t> refCount{1};
    std::uint32_t version = currentVersion; // of the archive form
    Binary data; // opaque, travels in the archive form
    std::vector<Layer> layers; // the oldest first
    WideString details;
    std::uint32_t shownLayer = noLayer; // index from the oldest

    // With two threads that both see the other's reference, each may copy; neither writes through.
    bool IsShared() const noexcept { return refCount.load(std::memory_order_acquire) > 1; }
};

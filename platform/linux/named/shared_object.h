// The memory of a named object, as FORMAT.md lays it down.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <pthread.h>

namespace Platform {

enum class NamedKind : std::uint16_t { ManualEvent = 1, AutoEvent = 2, Mutex = 3 };

// Nothing moves to fill gaps: other processes have it as it is.
struct SharedObject { // NOLINT(clang-analyzer-optin.performance.Padding)
    static constexpr std::uint32_t validMagic = 0x4F4E5354;
    static constexpr std::uint16_t presentVersion = 1;

    std::atomic<std::uint32_t> magic;
    std::uint16_t version;
    NamedKind kind;
    std::uint32_t size; // bytes
    std::uint32_t nameLength; // chars

    alignas(64) std::atomic<std::uint32_t> word;
    std::atomic<std::uint32_t> owed;
    std::atomic<std::uint32_t> processor;

    alignas(64) pthread_mutex_t mutex;

    alignas(64) char16_t name[1]; // nameLength of them
};
static_assert(offsetof(SharedObject, word) == 64 && offsetof(SharedObject, owed) == 68);
static_assert(offsetof(SharedObject, processor) == 72 && offsetof(SharedObject, mutex) == 128);
static_assert(offsetof(SharedObject, name) == 192 && sizeof(pthread_mutex_t) <= 64);
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

} // namespace Platform

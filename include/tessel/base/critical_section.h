// A recursive lock that is ready before any constructor has run and needs no destruction, so that threads
// that are still alive while the process ends may take it. 16 bytes, the same in every module.
//
// For a lock that only one's own module sees, std::mutex is as good; this one is for objects that modules
// built apart share, and for statics.
#pragma once

#include <tessel/export.h>

#include <atomic>
#include <cstdint>

class CriticalSection {
public:
    constexpr CriticalSection() noexcept = default;
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    // Blocks until the calling thread owns the section; a thread that owns it already goes one level deeper.
    TESSEL_API void Enter() noexcept;
    // One level back, by the owner only; the last level lets the next thread in.
    TESSEL_API void Leave() noexcept;

private:
    std::atomic<std::uint32_t> word{0}; // 0 free, 1 owned, 2 owned and somebody may sleep on it
    std::uint32_t depth{0}; // the owner's alone
    std::atomic<const void*> owner{nullptr}; // identity of the owning thread; null while nobody owns it
};
static_assert(sizeof(CriticalSection) == 16);

// Owns a section for a scope.
class [[nodiscard]] SectionLock {
public:
    explicit SectionLock(CriticalSection& entered) noexcept : section(entered) { section.Enter(); }
    ~SectionLock() { section.Leave(); }
    SectionLock(const SectionLock&) = delete;
    SectionLock& operator=(const SectionLock&) = delete;

private:
    CriticalSection& section;
};

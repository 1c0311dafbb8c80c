// The counted, zeroed buffer behind a string.
#pragma once

#include <tessel/export.h>

#include <atomic>
#include <cstdint>

// Layout shared by all modules: 8 bytes, then `capacity` bytes of characters.
struct StringHeader {
    // Number of strings that share the buffer. Negative: a buffer in static memory, which is never counted,
    // never freed and always counts as shared. A holder that reads 1 is the only one, and nobody else can
    // raise it.
    std::atomic<std::int32_t> refCount;
    std::uint32_t capacity; // bytes of the character area, terminator included

    // A buffer with refCount 1 and characters not yet written, or null for want of memory.
    TESSEL_API static StringHeader* Allocate(std::uint32_t capacity) noexcept;

    void* Characters() noexcept { return this + 1; }

    void Share() noexcept
    {
        // relaxed: whoever copies holds a reference already, so the buffer cannot go meanwhile
        if (refCount.load(std::memory_order_relaxed) >= 0)
            refCount.fetch_add(1, std::memory_order_relaxed);
    }

    // Drops one reference; the last one zeroes the whole character area and frees the block.
    void Release() noexcept
    {
        // acquire: what other holders did with the buffer happens before it is zeroed. Who reads 1 needs no
        // locked instruction to know that it is the last.
        const std::int32_t count = refCount.load(std::memory_order_acquire);
        if (count == 1 || (count > 1 && refCount.fetch_sub(1, std::memory_order_acq_rel) == 1))
            Free(this);
    }

    bool IsShared() const noexcept { return refCount.load(std::memory_order_acquire) != 1; }

private:
    TESSEL_API static void Free(StringHeader* header) noexcept;
};
static_assert(sizeof(StringHeader) == 8);

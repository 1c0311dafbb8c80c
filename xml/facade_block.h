// FacadeBlock: memory for the facades that one call hands out, in one piece that goes with the last of them.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

namespace Xml {

class alignas(8) FacadeBlock {
public:
    static constexpr std::size_t slotBytes = 48;
    // One facade that is held on to keeps no more than so many slots.
    static constexpr std::size_t mostSlots = 32;

    // Throws std::bad_alloc. Each slot gets a facade, and is given back by it.
    static FacadeBlock& Make(std::size_t slots)
    {
        void* const memory = ::operator new(sizeof(FacadeBlock) + slots * slotBytes);
        return *::new (memory) FacadeBlock(static_cast<std::uint32_t>(slots));
    }

    void* GetSlot(std::size_t index) noexcept
    {
        return reinterpret_cast<std::byte*>(this + 1) + index * slotBytes;
    }
    // In any thread. release: the facade is gone before the memory is; acquire: for whoever frees it
    void GiveBackSlot() noexcept
    {
        if (used.load(std::memory_order_acquire) == 1 || used.fetch_sub(1, std::memory_order_acq_rel) == 1)
            ::operator delete(this);
    }

private:
    explicit FacadeBlock(std::uint32_t slots) noexcept : used(slots) { }

    std::atomic<std::uint32_t> used;
};
static_assert(sizeof(FacadeBlock) == 8);

} // namespace Xml

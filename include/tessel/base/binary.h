// Binary: the byte buffer of the system. One pointer wide, shared by reference count, copied before it is
// written through, zeroed in memory over its whole capacity when its last reference goes.
//
// Null is the empty Binary and needs no memory; a block of size 0 means the same to every reader. Several
// objects that share a block may be used in several threads; one object is for one thread at a time.
// Nothing here throws. For want of memory a Binary becomes null, and the operation says so by a null result
// where it has one.
#pragma once

#include <tessel/export.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

class Binary {
public:
    static constexpr std::uint32_t everything = 0xFFFFFFFF;

    constexpr Binary() noexcept = default;
    // A copy of so many bytes.
    Binary(const void* bytes, std::uint32_t count) noexcept;
    Binary(const Binary& other) noexcept : block(other.block) { Share(block); }
    Binary(Binary&& other) noexcept : block(std::exchange(other.block, nullptr)) { }
    ~Binary() { Release(block); }

    Binary& operator=(const Binary& other) noexcept // NOLINT(bugprone-unhandled-self-assignment)
    {
        Share(other.block); // before the release, for other may be this
        Release(std::exchange(block, other.block));
        return *this;
    }
    Binary& operator=(Binary&& other) noexcept
    {
        std::swap(block, other.block);
        return *this;
    }

    // Bytes in use.
    std::uint32_t GetSize() const noexcept { return block != nullptr ? block->size : 0; }
    std::uint32_t GetCapacity() const noexcept { return block != nullptr ? block->capacity : 0; }
    bool IsEmpty() const noexcept { return GetSize() == 0; }
    // Whether others hold the block, too, so that a change will copy it.
    bool IsShared() const noexcept
    {
        return block != nullptr && block->refCount.load(std::memory_order_acquire) > 1;
    }
    // The bytes for reading; null for a null Binary. Valid until this object is changed or destroyed.
    const unsigned char* GetData() const noexcept { return block != nullptr ? block->Bytes() : nullptr; }
    // The bytes of a private block for writing, the size unchanged. With `keep` a copy holds the old bytes,
    // without it they are undefined if the block was shared. Null for a null Binary or for want of memory.
    unsigned char* GetWritableData(bool keep = true) noexcept
    {
        return block != nullptr ? PrepareWriting(block->size, keep, true) : nullptr;
    }

    // A shared block is let go, a private one stays with size 0 and all its bytes.
    TESSEL_API void Clear() noexcept;
    // Copies at most maxBytes from offset; true if nothing behind them was left.
    TESSEL_API bool CopyTo(void* target, std::uint32_t maxBytes, std::uint32_t offset = 0) const noexcept;
    // Exactly so many bytes; those that are new are undefined, and so are all without `keepContents` where
    // a new block is made.
    TESSEL_API void SetSize(std::uint32_t size, bool keepContents) noexcept;
    // Like memcmp, the shorter one being less. Only the sign counts.
    TESSEL_API int RawCompare(const void* bytes, std::uint32_t count) const noexcept;
    // The same on at most maxBytes of either side; `everything` compares whole buffers.
    TESSEL_API int Compare(const Binary& other, std::uint32_t maxBytes = everything) const noexcept;
    // Sets count bytes from offset, growing as needed; `everything` means up to the present size. Between an
    // old size and a larger offset the bytes are undefined. An end beyond 32 bits makes the Binary null.
    TESSEL_API void Fill(unsigned char value, std::uint32_t offset, std::uint32_t count) noexcept;

    // Adds the other's bytes; a Binary without bytes shares the other's block instead.
    Binary& operator+=(const Binary& other) noexcept;

    friend bool operator==(const Binary& left, const Binary& right) noexcept
    {
        return left.Compare(right) == 0;
    }

private:
    friend class ReadArchive;
    friend class WriteArchive;

    // Layout shared by all modules; the bytes follow directly.
    struct Block {
        std::atomic<std::int32_t> refCount; // above 1: not to be written through
        std::uint32_t capacity;
        std::uint32_t size; // at most capacity

        unsigned char* Bytes() noexcept { return reinterpret_cast<unsigned char*>(this + 1); }
    };
    static_assert(sizeof(Block) == 12);

    // A first block of that size; its bytes, undefined, or null for want of memory (then this is null).
    TESSEL_API unsigned char* CtorPrepareWriting(std::uint32_t size) noexcept;
    // A private block of at least `size` bytes and a pointer to them; never null but for want of memory, and
    // then this is null. A smaller request never shrinks. With keepSize the size stays as it is, and the
    // request is at least that; else a larger one becomes the size.
    TESSEL_API unsigned char* PrepareWriting(std::uint32_t size, bool keepContents, bool keepSize) noexcept;
    TESSEL_API static void Free(Block* block) noexcept;

    static void Share(Block* shared) noexcept
    {
        // relaxed: whoever copies holds a reference already
        if (shared != nullptr)
            shared->refCount.fetch_add(1, std::memory_order_relaxed);
    }
    static void Release(Block* released) noexcept
    {
        // acquire and release: what others did with the bytes happens before they are zeroed
        if (released != nullptr
            && (released->refCount.load(std::memory_order_acquire) == 1
                || released->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1))
            Free(released);
    }

    Block* block = nullptr;
};
static_assert(sizeof(Binary) == sizeof(void*));

inline Binary::Binary(const void* bytes, std::uint32_t count) noexcept
{
    if (count != 0 && CtorPrepareWriting(count) != nullptr)
        std::memcpy(block->Bytes(), bytes, count);
}

inline Binary& Binary::operator+=(const Binary& other) noexcept
{
    if (IsEmpty())
        return *this = other;
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): other may be this
    const Binary source = other;
    const std::uint32_t size = GetSize();
    const std::uint32_t added = source.GetSize();
    if (added == 0)
        return *this;
    if (added > everything - size)
        return *this = Binary();
    if (unsigned char* const bytes = PrepareWriting(size + added, true, false))
        source.CopyTo(bytes + size, added);
    return *this;
}

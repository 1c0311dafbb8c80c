#include <tessel/base/binary.h>

#include "base/zeroing.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

namespace {

// 16 to 512 by doubling, then multiples of 512; 0 where that is beyond 32 bits.
constexpr std::uint32_t StepUp(std::uint32_t size) noexcept
{
    return size <= 512 ? std::max(16U, std::bit_ceil(size)) : (size + 511U) & ~511U;
}

// What a request for nothing gets: not null, the sign of success, and not to be read or written.
unsigned char nothing[1];

} // namespace

unsigned char* Binary::CtorPrepareWriting(std::uint32_t size) noexcept
{
    const std::uint32_t capacity = StepUp(size);
    void* const memory =
        capacity != 0 ? ::operator new (sizeof(Block) + std::size_t{capacity}, std::nothrow) : nullptr;
    if (memory == nullptr)
        return nullptr;
    block = ::new (memory) Block{{1}, capacity, size};
    return block->Bytes();
}

unsigned char* Binary::PrepareWriting(std::uint32_t size, bool keepContents, bool keepSize) noexcept
{
    if (block == nullptr && size == 0)
        return nothing;
    if (keepSize)
        size = std::max(size, GetSize());
    if (block != nullptr && size <= block->capacity && block->refCount.load(std::memory_order_acquire) <= 1) {
        if (!keepSize)
            block->size = std::max(block->size, size);
        return block->Bytes();
    }
    Binary fresh;
    unsigned char* const bytes = fresh.CtorPrepareWriting(size);
    if (bytes != nullptr) {
        if (keepSize)
            fresh.block->size = GetSize();
        if (keepContents && block != nullptr)
            std::memcpy(bytes, block->Bytes(), std::min(block->size, size));
    }
    *this = std::move(fresh);
    return bytes;
}

void Binary::Free(Block* block) noexcept
{
    ZeroForever(block->Bytes(), block->capacity);
    ::operator delete(block);
}

void Binary::Clear() noexcept
{
    if (block == nullptr)
        return;
    if (block->refCount.load(std::memory_order_acquire) > 1)
        *this = Binary();
    else
        block->size = 0;
}

void Binary::SetSize(std::uint32_t size, bool keepContents) noexcept
{
    if (block == nullptr && size == 0)
        return;
    const bool shrinks =
        block != nullptr && size <= block->size && block->refCount.load(std::memory_order_acquire) <= 1;
    if (!shrinks && PrepareWriting(size, keepContents, false) == nullptr)
        return;
    block->size = size;
}

bool Binary::CopyTo(void* target, std::uint32_t maxBytes, std::uint32_t offset) const noexcept
{
    if (GetSize() <= offset)
        return true;
    const std::uint32_t left = block->size - offset;
    if (maxBytes != 0)
        std::memcpy(target, block->Bytes() + offset, std::min(left, maxBytes));
    return left <= maxBytes;
}

int Binary::RawCompare(const void* bytes, std::uint32_t count) const noexcept
{
    if (block == nullptr)
        return count > 0 ? -1 : 0;
    const int order = count != 0 ? std::memcmp(block->Bytes(), bytes, std::min(block->size, count)) : 0;
    return order != 0 ? order : static_cast<int>(block->size - count);
}

int Binary::Compare(const Binary& other, std::uint32_t maxBytes) const noexcept
{
    const std::uint32_t length = std::min(GetSize(), maxBytes);
    const std::uint32_t otherLength = std::min(other.GetSize(), maxBytes);
    const std::uint32_t common = std::min(length, otherLength);
    const int order = common != 0 ? std::memcmp(GetData(), other.GetData(), common) : 0;
    return order != 0 ? order : static_cast<int>(length - otherLength);
}

void Binary::Fill(unsigned char value, std::uint32_t offset, std::uint32_t count) noexcept
{
    const std::uint32_t size = GetSize();
    if (count == everything)
        count = size > offset ? size - offset : 0;
    if (count == 0)
        return;
    if (count > everything - offset) {
        *this = Binary();
        return;
    }
    const std::uint32_t end = offset + count;
    const bool keep = offset != 0 || end < size;
    if (unsigned char* const bytes = PrepareWriting(std::max(size, end), keep, false))
        std::memset(bytes + offset, value, count);
}

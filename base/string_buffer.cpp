#include <tessel/base/string_buffer.h>

#include "base/zeroing.h"

#include <cstddef>
#include <new>

StringHeader* StringHeader::Allocate(std::uint32_t capacity) noexcept
{
    void* const block = ::operator new (sizeof(StringHeader) + std::size_t{capacity}, std::nothrow);
    return block != nullptr ? ::new (block) StringHeader{{1}, capacity} : nullptr;
}

void StringHeader::Free(StringHeader* header) noexcept
{
    ZeroForever(header->Characters(), header->capacity);
    ::operator delete(header);
}

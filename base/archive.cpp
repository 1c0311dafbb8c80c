#include <tessel/base/archive.h>

#include <algorithm>
#include <cstddef>
#include <new>

void WriteArchive::Grow(std::uint64_t size)
{
    constexpr std::uint64_t largest = 0xFFFFFE00; // the largest block that a Binary can have
    const std::uint32_t used = bytes.GetSize();
    if (size > largest)
        throw std::bad_alloc();
    // Half as much again as there is: many small items then cost a time that is linear in their number.
    const std::uint64_t ahead = std::min(largest, std::uint64_t{used} + used / 2);
    Binary grown;
    unsigned char* const target = grown.CtorPrepareWriting(static_cast<std::uint32_t>(std::max(size, ahead)));
    if (target == nullptr)
        throw std::bad_alloc();
    if (used != 0)
        std::memcpy(target, bytes.block->Bytes(), used);
    std::memset(target + used, 0, grown.block->capacity - used);
    grown.block->size = used;
    bytes = std::move(grown);
}

ArchiveFormatType ReadArchive::RetrieveFormat(const Binary& binary)
{
    // The layout that modules built apart share.
    static_assert(offsetof(ReadArchive, format) == 0 && offsetof(ReadArchive, position) == 4
        && offsetof(ReadArchive, size) == 8 && offsetof(ReadArchive, data) == 16
        && sizeof(ReadArchive) == 24);
    if (binary.IsEmpty())
        return ArchiveFormatAligned;
    std::uint32_t marker = 0;
    if (binary.GetSize() < sizeof(marker))
        ThrowBadFormat();
    std::memcpy(&marker, binary.GetData(), sizeof(marker));
    if (marker != ArchiveFormatPacked && marker != ArchiveFormatAligned && marker != ArchiveFormatSwapped)
        ThrowBadFormat();
    return static_cast<ArchiveFormatType>(marker);
}

const unsigned char* ReadArchive::StartReading(std::uint32_t& needed, std::uint32_t alignment)
{
    const std::uint32_t begin = AlignedOffset(position, alignment);
    if (std::uint64_t{begin} + needed > size)
        ThrowBadFormat();
    position = begin;
    needed = size - begin;
    return data.GetData() + begin;
}

void ReadArchive::ThrowBadFormat()
{
    Error error;
    error.AddLayer(Error::badFormat, {}, false);
    throw error;
}

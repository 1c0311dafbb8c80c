#include "io/memory/file_impl.h"

#include "io/room.h"
#include <tessel/base/error.h>

#include <algorithm>
#include <cstring>

namespace Io::Memory {

namespace {

// The end of a range, or a failure where a Binary cannot reach it.
std::uint32_t CheckedEnd(std::uint64_t offset, std::uint32_t count)
{
    if (count > largestBlock || offset > largestBlock - count)
        throw Error("memory-file-range(%llu, %u)", "memory", offset, count);
    return static_cast<std::uint32_t>(offset) + count;
}

} // namespace

std::uint64_t FileImpl::GetSize()
{
    const SectionLock guard(lock);
    return data.GetSize();
}

void FileImpl::SetSize(std::uint64_t size)
{
    const std::uint32_t newSize = CheckedEnd(size, 0);
    const SectionLock guard(lock);
    const std::uint32_t oldSize = data.GetSize();
    if (newSize > oldSize)
        Extend(newSize, oldSize, newSize);
    else if (newSize == oldSize)
        return;
    else if (data.IsShared())
        data = CopyOf(data.GetData(), newSize);
    else
        data.SetSize(newSize, true);
}

Binary FileImpl::Read(std::uint64_t offset, std::uint32_t count)
{
    const SectionLock guard(lock);
    const std::uint32_t size = data.GetSize();
    if (offset == 0 && count >= size)
        return data;
    if (offset >= size)
        return {};
    const std::uint32_t begin = static_cast<std::uint32_t>(offset);
    return CopyOf(data.GetData() + begin, std::min(count, size - begin));
}

void FileImpl::Write(std::uint64_t offset, const Binary& written)
{
    if (written.IsEmpty())
        return;
    const std::uint32_t end = CheckedEnd(offset, written.GetSize());
    const std::uint32_t begin = end - written.GetSize();
    const SectionLock guard(lock);
    const std::uint32_t oldSize = data.GetSize();
    if (begin == 0 && end >= oldSize) {
        data = written;
        return;
    }
    Extend(end, std::min(oldSize, begin), begin);
    written.CopyTo(data.GetWritableData() + begin, written.GetSize());
}

// Makes the block private and so large, and what lies between its old end and `gapEnd` 0: nobody's old bytes
// show.
void FileImpl::Extend(std::uint32_t size, std::uint32_t gapBegin, std::uint32_t gapEnd)
{
    GrowTo(data, size);
    std::memset(data.GetWritableData() + gapBegin, 0, gapEnd - gapBegin);
}

} // namespace Io::Memory

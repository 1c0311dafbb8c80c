#include "io/fs/file_impl.h"

#include "io/fs/failure.h"
#include "io/fs/messages.h"
#include "io/room.h"
#include "platform/errors.h"
#include "platform/files.h"
#include <tessel/base/error.h>

#include <algorithm>

namespace Io::Fs {

namespace {

constexpr std::uint32_t largestRead = 16384;

} // namespace

FileImpl::~FileImpl()
{
    Platform::CloseHandle(handle);
}

std::uint64_t FileImpl::Seek(std::uint64_t offset, std::uint32_t method)
{
    auto high = static_cast<std::int32_t>(offset >> 32);
    const std::uint32_t low =
        Platform::SetFilePointer(handle, static_cast<std::int32_t>(offset), &high, method);
    if (low == Platform::INVALID_SET_FILE_POINTER)
        if (const std::uint32_t code = Platform::GetLastError(); code != Platform::ERROR_SUCCESS)
            throw Error("seek %d", "fs", code);
    return std::uint64_t{static_cast<std::uint32_t>(high)} << 32 | low;
}

std::uint64_t FileImpl::GetSize()
{
    const SectionLock guard(lock);
    return Seek(0, Platform::FILE_END);
}

void FileImpl::SetSize(std::uint64_t size)
{
    const SectionLock guard(lock);
    Seek(size, Platform::FILE_BEGIN);
    if (!Platform::SetEndOfFile(handle))
        Raise(writeFileMessage, path);
}

Binary FileImpl::Read(std::uint64_t offset, std::uint32_t count)
{
    const SectionLock guard(lock);
    Seek(offset, Platform::FILE_BEGIN);
    Binary block = NewBlock(std::min(count, largestRead));
    std::uint32_t transferred = 0;
    if (!Platform::ReadFile(handle, block.GetWritableData(), block.GetSize(), &transferred))
        Raise(readFileMessage, path);
    block.SetSize(transferred, true);
    return block;
}

void FileImpl::Write(std::uint64_t offset, const Binary& data)
{
    const SectionLock guard(lock);
    Seek(offset, Platform::FILE_BEGIN);
    std::uint32_t transferred = 0;
    for (std::uint32_t done = 0; done < data.GetSize(); done += transferred)
        if (!Platform::WriteFile(handle, data.GetData() + done, data.GetSize() - done, &transferred))
            Raise(writeFileMessage, path);
}

void FileImpl::Flush()
{
    const SectionLock guard(lock);
    if (!Platform::FlushFileBuffers(handle))
        Raise(writeFileMessage, path);
}

} // namespace Io::Fs

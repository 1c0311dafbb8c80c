// Reading, writing, and the one position of a handle.
#include "platform/files.h"

#include "platform/errors.h"
#include "platform/linux/files/calls.h"
#include "platform/linux/files/open_file.h"
#include "platform/linux/handles/handle_table.h"

namespace Platform {

namespace {

constexpr std::uint32_t LowHalf(std::int64_t number)
{
    return static_cast<std::uint32_t>(number);
}
constexpr std::uint32_t HighHalf(std::int64_t number)
{
    return static_cast<std::uint32_t>(number >> 32);
}

bool ReadSize(const OpenFile& file, std::int64_t& size) noexcept
{
    struct stat status;
    if (Seam::StatAt(file.descriptor.Get(), "", &status, AT_EMPTY_PATH) != 0)
        return FailWithErrno();
    size = status.st_size;
    return true;
}

// Moves the position. The system looks at it only when bytes are moved there.
bool Move(OpenFile& file, std::int64_t offset, std::uint32_t method) noexcept
{
    std::int64_t origin = method == FILE_CURRENT ? file.position : 0;
    std::int64_t target = 0;
    if (method > FILE_END)
        return Fail(ERROR_INVALID_PARAMETER);
    if (method == FILE_END && !ReadSize(file, origin))
        return false;
    if (__builtin_add_overflow(origin, offset, &target))
        return Fail(ERROR_INVALID_PARAMETER);
    if (target < 0)
        return Fail(ERROR_NEGATIVE_SEEK);
    file.position = target;
    return true;
}

} // namespace

// Fewer than `size` bytes mean the end of the file and nothing else, although the kernel also gives
// less after a signal and above 0x7ffff000 bytes. Bytes read before a failure count as a success:
// the next call meets the failure again, and no byte is lost or read twice.
bool ReadFile(Handle handle, void* buffer, std::uint32_t size, std::uint32_t* transferred) noexcept
{
    *transferred = 0;
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, GENERIC_READ);
    if (!file)
        return false;
    const std::lock_guard guard(file->lock);
    while (*transferred < size) {
        char* const rest = static_cast<char*>(buffer) + *transferred;
        const ssize_t count = Seam::ReadAt(file->descriptor.Get(), rest, size - *transferred, file->position);
        if (count == 0)
            break;
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return *transferred > 0 || FailWithErrno();
        *transferred += static_cast<std::uint32_t>(count);
        file->position += count;
    }
    return true;
}

bool WriteFile(Handle handle, const void* buffer, std::uint32_t size, std::uint32_t* transferred) noexcept
{
    *transferred = 0;
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, GENERIC_WRITE);
    if (!file)
        return false;
    const std::lock_guard guard(file->lock);
    while (*transferred < size) {
        const char* const rest = static_cast<const char*>(buffer) + *transferred;
        const ssize_t count =
            Seam::WriteAt(file->descriptor.Get(), rest, size - *transferred, file->position);
        if (count == 0) // no progress and no reason: a caller that loops would loop for ever
            return *transferred > 0 || Fail(ERROR_DISK_FULL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return *transferred > 0 || FailWithErrno();
        *transferred += static_cast<std::uint32_t>(count);
        file->position += count;
    }
    return true;
}

std::uint32_t SetFilePointer(
    Handle handle, std::int32_t distance, std::int32_t* distanceHigh, std::uint32_t method) noexcept
{
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, 0);
    if (!file)
        return INVALID_SET_FILE_POINTER;
    const std::int64_t offset = distanceHigh
        ? static_cast<std::int64_t>(std::uint64_t{static_cast<std::uint32_t>(*distanceHigh)} << 32
            | static_cast<std::uint32_t>(distance))
        : distance;
    const std::lock_guard guard(file->lock);
    if (!Move(*file, offset, method))
        return INVALID_SET_FILE_POINTER;
    if (distanceHigh)
        *distanceHigh = static_cast<std::int32_t>(HighHalf(file->position));
    SetLastError(ERROR_SUCCESS);
    return LowHalf(file->position);
}

bool SetEndOfFile(Handle handle) noexcept
{
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, GENERIC_WRITE);
    if (!file)
        return false;
    const std::lock_guard guard(file->lock);
    int result = 0;
    do
        result = Seam::Truncate(file->descriptor.Get(), file->position);
    while (result != 0 && errno == EINTR);
    return result == 0 || FailWithErrno();
}

// Not repeated after a failure: the system reports a write error once, and a second call would succeed.
bool FlushFileBuffers(Handle handle) noexcept
{
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, GENERIC_WRITE);
    if (!file)
        return false;
    int result = 0;
    do
        result = Seam::Sync(file->descriptor.Get());
    while (result != 0 && errno == EINTR);
    return result == 0 || FailWithErrno();
}

bool SettleWrites(Handle handle) noexcept
{
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, GENERIC_WRITE);
    return file && (Seam::CloseCopy(file->descriptor.Get()) == 0 || errno == EINTR || FailWithErrno());
}

std::uint32_t GetFileSize(Handle handle, std::uint32_t* sizeHigh) noexcept
{
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, 0);
    if (!file)
        return INVALID_FILE_SIZE;
    std::int64_t size = 0;
    if (!ReadSize(*file, size))
        return INVALID_FILE_SIZE;
    if (sizeHigh)
        *sizeHigh = HighHalf(size);
    SetLastError(ERROR_SUCCESS);
    return LowHalf(size);
}

} // namespace Platform

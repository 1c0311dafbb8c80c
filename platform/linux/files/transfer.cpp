// Reading, writing, and the one position of a handle.
#include "platform/files.h"

#include "platform/errors.h"
#include "platform/linux/files/calls.h"
#include "platform/linux/files/open_file.h"
#include "platform/linux/handles/handle_table.h"

namespace Platform {

namespace {

// The descriptors here are open while their objects live; one that refuses a call as bad was opened for
// attributes only.
bool FailTransfer() noexcept
{
    return errno == EBADF ? Fail(ERROR_ACCESS_DENIED) : FailWithErrno();
}

constexpr std::uint32_t LowHalf(std::int64_t number)
{
    return static_cast<std::uint32_t>(number);
}
constexpr std::uint32_t HighHalf(std::int64_t number)
{
    return static_cast<std::uint32_t>(number >> 32);
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
    while (*transferred < size) {
        char* const rest = static_cast<char*>(buffer) + *transferred;
        const ssize_t count = Seam::Read(file->descriptor.Get(), rest, size - *transferred);
        if (count == 0)
            break;
        if (count > 0)
            *transferred += static_cast<std::uint32_t>(count);
        else if (errno != EINTR)
            return *transferred > 0 || FailTransfer();
    }
    return true;
}

bool WriteFile(Handle handle, const void* buffer, std::uint32_t size, std::uint32_t* transferred) noexcept
{
    *transferred = 0;
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, GENERIC_WRITE);
    if (!file)
        return false;
    while (*transferred < size) {
        const char* const rest = static_cast<const char*>(buffer) + *transferred;
        const ssize_t count = Seam::Write(file->descriptor.Get(), rest, size - *transferred);
        if (count > 0)
            *transferred += static_cast<std::uint32_t>(count);
        else if (count == 0) // no progress and no reason: a caller that loops would loop for ever
            return *transferred > 0 || Fail(ERROR_DISK_FULL);
        else if (errno != EINTR)
            return *transferred > 0 || FailTransfer();
    }
    return true;
}

std::uint32_t SetFilePointer(
    Handle handle, std::int32_t distance, std::int32_t* distanceHigh, std::uint32_t method) noexcept
{
    static_assert(FILE_BEGIN == SEEK_SET && FILE_CURRENT == SEEK_CUR && FILE_END == SEEK_END);
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, 0);
    if (!file)
        return INVALID_SET_FILE_POINTER;
    if (method > FILE_END) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_SET_FILE_POINTER;
    }
    const std::int64_t offset = distanceHigh
        ? static_cast<std::int64_t>(std::uint64_t{static_cast<std::uint32_t>(*distanceHigh)} << 32
            | static_cast<std::uint32_t>(distance))
        : distance;
    const std::int64_t position = Seam::Seek(file->descriptor.Get(), offset, static_cast<int>(method));
    if (position < 0) {
        // The system says EINVAL for what would lie before the start, EOVERFLOW for what lies too far.
        if (errno == EINVAL && offset < 0)
            SetLastError(ERROR_NEGATIVE_SEEK);
        else if (errno == EOVERFLOW)
            SetLastError(ERROR_INVALID_PARAMETER);
        else
            FailTransfer();
        return INVALID_SET_FILE_POINTER;
    }
    if (distanceHigh)
        *distanceHigh = static_cast<std::int32_t>(HighHalf(position));
    SetLastError(ERROR_SUCCESS);
    return LowHalf(position);
}

bool SetEndOfFile(Handle handle) noexcept
{
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, GENERIC_WRITE);
    if (!file)
        return false;
    const off_t position = Seam::Seek(file->descriptor.Get(), 0, SEEK_CUR);
    if (position < 0)
        return FailTransfer();
    int result = 0;
    do
        result = Seam::Truncate(file->descriptor.Get(), position);
    while (result != 0 && errno == EINTR);
    return result == 0 || FailTransfer();
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
    return result == 0 || FailTransfer();
}

std::uint32_t GetFileSize(Handle handle, std::uint32_t* sizeHigh) noexcept
{
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, 0);
    if (!file)
        return INVALID_FILE_SIZE;
    struct stat status;
    if (Seam::StatAt(file->descriptor.Get(), "", &status, AT_EMPTY_PATH) != 0) {
        FailWithErrno();
        return INVALID_FILE_SIZE;
    }
    if (sizeHigh)
        *sizeHigh = HighHalf(status.st_size);
    SetLastError(ERROR_SUCCESS);
    return LowHalf(status.st_size);
}

} // namespace Platform

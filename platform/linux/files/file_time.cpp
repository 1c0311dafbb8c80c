#include "platform/linux/files/file_time.h"

#include "platform/errors.h"
#include "platform/linux/files/calls.h"
#include "platform/linux/files/entry_status.h"
#include "platform/linux/files/open_file.h"
#include "platform/linux/handles/handle_table.h"

namespace Platform {

bool GetFileTime(Handle handle, FILETIME* creation, FILETIME* lastAccess, FILETIME* lastWrite) noexcept
{
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, FILE_READ_ATTRIBUTES);
    if (!file)
        return false;
    struct statx status;
    constexpr unsigned wanted = STATX_ATIME | STATX_MTIME | STATX_CTIME | STATX_BTIME;
    if (Seam::StatAtExtended(file->descriptor.Get(), "", AT_EMPTY_PATH, wanted, &status) != 0)
        return FailWithErrno();
    if (creation)
        *creation = CreationTime(status);
    if (lastAccess)
        *lastAccess = ToFileTime(status.stx_atime.tv_sec, status.stx_atime.tv_nsec);
    if (lastWrite)
        *lastWrite = ToFileTime(status.stx_mtime.tv_sec, status.stx_mtime.tv_nsec);
    return true;
}

bool SetFileTime(
    Handle handle, const FILETIME* creation, const FILETIME* lastAccess, const FILETIME* lastWrite) noexcept
{
    const ObjectRef<OpenFile> file = FindHandle<OpenFile>(handle, FILE_WRITE_ATTRIBUTES);
    if (!file)
        return false;
    if (creation)
        return Fail(ERROR_NOT_SUPPORTED);
    timespec times[2] = {{0, UTIME_OMIT}, {0, UTIME_OMIT}};
    if ((lastAccess && !FromFileTime(*lastAccess, times[0]))
        || (lastWrite && !FromFileTime(*lastWrite, times[1])))
        return Fail(ERROR_INVALID_PARAMETER);
    return Seam::SetTimes(file->descriptor.Get(), times, file->pathOnly) == 0 || FailWithErrno();
}

} // namespace Platform

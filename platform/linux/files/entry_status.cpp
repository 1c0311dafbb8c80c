#include "platform/linux/files/entry_status.h"

#include "platform/linux/files/calls.h"
#include "platform/linux/files/disk_path.h"
#include "platform/linux/files/file_time.h"

namespace Platform {

namespace {

constexpr unsigned wanted = STATX_BASIC_STATS | STATX_BTIME;

std::uint32_t AttributesOf(mode_t mode) noexcept
{
    constexpr mode_t anybodyWrites = S_IWUSR | S_IWGRP | S_IWOTH;
    const std::uint32_t readOnly = (mode & anybodyWrites) == 0 ? FILE_ATTRIBUTE_READONLY : 0;
    if (S_ISDIR(mode))
        return FILE_ATTRIBUTE_DIRECTORY | readOnly;
    return S_ISREG(mode) ? readOnly : FILE_ATTRIBUTE_DEVICE;
}

FILETIME TimeOf(const statx_timestamp& time) noexcept
{
    return ToFileTime(time.tv_sec, time.tv_nsec);
}

bool IsEarlier(const statx_timestamp& left, const statx_timestamp& right) noexcept
{
    return left.tv_sec != right.tv_sec ? left.tv_sec < right.tv_sec : left.tv_nsec < right.tv_nsec;
}

} // namespace

FILETIME CreationTime(const struct statx& status) noexcept
{
    if (status.stx_mask & STATX_BTIME)
        return TimeOf(status.stx_btime);
    return TimeOf(IsEarlier(status.stx_mtime, status.stx_ctime) ? status.stx_mtime : status.stx_ctime);
}

bool ReadEntryStatus(int folder, const char* name, bool hidden, EntryStatus& status) noexcept
{
    struct statx entry;
    if (Seam::StatAtExtended(folder, name, AT_SYMLINK_NOFOLLOW, wanted, &entry) != 0)
        return false;
    const bool link = S_ISLNK(entry.stx_mode);
    const bool reached = !link || Seam::StatAtExtended(folder, name, 0, wanted, &entry) == 0;
    status.attributes = reached ? AttributesOf(entry.stx_mode) : 0;
    if (link)
        status.attributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    if (hidden)
        status.attributes |= FILE_ATTRIBUTE_HIDDEN;
    if (status.attributes == 0)
        status.attributes = FILE_ATTRIBUTE_NORMAL;
    status.creation = CreationTime(entry);
    status.lastAccess = TimeOf(entry.stx_atime);
    status.lastWrite = TimeOf(entry.stx_mtime);
    status.size = S_ISREG(entry.stx_mode) ? entry.stx_size : 0;
    return true;
}

std::uint32_t GetFileAttributesW(const char16_t* path) noexcept
{
    DiskPath place;
    if (!place.Set(path))
        return INVALID_FILE_ATTRIBUTES;
    EntryStatus status;
    if (!ReadEntryStatus(place.Folder(), place.Name(), place.IsHidden(), status)) {
        place.FailHere();
        return INVALID_FILE_ATTRIBUTES;
    }
    return status.attributes;
}

} // namespace Platform

// Making, removing and renaming entries.
#include "platform/files.h"

#include "platform/errors.h"
#include "platform/linux/files/calls.h"
#include "platform/linux/files/disk_path.h"
#include "platform/linux/files/folder_reader.h"

namespace Platform {

namespace {

bool IsLinkToFolder(const DiskPath& place) noexcept
{
    struct stat status;
    return Seam::StatAt(place.Folder(), place.Name(), &status, AT_SYMLINK_NOFOLLOW) == 0
        && S_ISLNK(status.st_mode) && Seam::StatAt(place.Folder(), place.Name(), &status, 0) == 0
        && S_ISDIR(status.st_mode);
}

bool IsThere(const DiskPath& place) noexcept
{
    struct stat status;
    return Seam::StatAt(place.Folder(), place.Name(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

// Some network file systems cannot rename without replacing. There a second name takes the place, which
// fails if there is one; folders, which have no second names, are only looked for.
bool MoveWithoutRenameFlags(const DiskPath& from, const DiskPath& to) noexcept
{
    if (Seam::LinkAt(from.Folder(), from.Name(), to.Folder(), to.Name()) == 0)
        return Seam::UnlinkAt(from.Folder(), from.Name(), 0) == 0 || from.FailHere();
    if (errno != EPERM)
        return errno == EEXIST ? Fail(ERROR_ALREADY_EXISTS) : from.FailHere();
    if (IsThere(to))
        return Fail(ERROR_ALREADY_EXISTS);
    return Seam::RenameAt(from.Folder(), from.Name(), to.Folder(), to.Name(), 0) == 0 || from.FailHere();
}

bool Rename(const DiskPath& from, const DiskPath& to, bool replace) noexcept
{
    if (Seam::RenameAt(from.Folder(), from.Name(), to.Folder(), to.Name(), replace ? 0 : RENAME_NOREPLACE)
        == 0)
        return true;
    switch (errno) {
    case EINVAL: // also: a folder into itself
        return replace ? FailWithErrno() : MoveWithoutRenameFlags(from, to);
    case EEXIST:
        return Fail(replace ? ERROR_DIR_NOT_EMPTY : ERROR_ALREADY_EXISTS);
    case ENOTDIR: // a folder in a file's place, unless the way there is none
        return IsThere(from) && IsThere(to) ? Fail(ERROR_ACCESS_DENIED) : FailWithErrno();
    case ENOENT:
        return IsThere(from) ? Fail(ERROR_PATH_NOT_FOUND) : (errno = ENOENT, from.FailHere());
    default:
        return FailWithErrno();
    }
}

// The folder of an entry keeps its name; what it holds is on the disk when it is synchronised.
bool SyncFolderOf(const DiskPath& place) noexcept
{
    InlineBuffer<char, 1024> room;
    const char* const folder = place.FolderName(room);
    if (!folder)
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    const Descriptor opened = OpenFolder(place.Folder(), folder, 0);
    return (opened && Seam::Sync(opened.Get()) == 0) || FailWithErrno();
}

} // namespace

bool DeleteFileW(const char16_t* path) noexcept
{
    DiskPath place;
    return place.Set(path) && (Seam::UnlinkAt(place.Folder(), place.Name(), 0) == 0 || place.FailHere());
}

bool CreateDirectoryW(const char16_t* path) noexcept
{
    DiskPath place;
    if (!place.Set(path))
        return false;
    if (Seam::MakeFolderAt(place.Folder(), place.Name(), 0777) == 0)
        return true;
    return errno == ENOENT ? Fail(ERROR_PATH_NOT_FOUND) : FailWithErrno();
}

bool RemoveDirectoryW(const char16_t* path) noexcept
{
    DiskPath place;
    if (!place.Set(path))
        return false;
    if (Seam::UnlinkAt(place.Folder(), place.Name(), AT_REMOVEDIR) == 0)
        return true;
    switch (errno) {
    case EEXIST: // what some file systems say instead of ENOTEMPTY
        return Fail(ERROR_DIR_NOT_EMPTY);
    case ENOTDIR:
        if (IsLinkToFolder(place))
            return Seam::UnlinkAt(place.Folder(), place.Name(), 0) == 0 || place.FailHere();
        return Fail(IsThere(place) ? ERROR_DIRECTORY : ERROR_PATH_NOT_FOUND);
    default:
        return place.FailHere();
    }
}

bool MoveFileExW(const char16_t* from, const char16_t* to, std::uint32_t flags) noexcept
{
    DiskPath source;
    DiskPath target;
    if ((flags & ~(MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) != 0)
        return Fail(ERROR_INVALID_PARAMETER);
    return source.Set(from) && target.Set(to) && Rename(source, target, flags & MOVEFILE_REPLACE_EXISTING)
        && (!(flags & MOVEFILE_WRITE_THROUGH) || SyncFolderOf(target));
}

} // namespace Platform

// The system calls of the files group, each behind the seam. Interruption is not handled here: whether
// a call goes on after a signal is decided where it is made.
#pragma once

#include "platform/linux/seam.h"

#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform::Seam {

inline int OpenAt(int folder, const char* name, int flags, mode_t mode = 0) noexcept
{
    return Guarded(-1, [&] { return ::openat(folder, name, flags | O_CLOEXEC | O_NOCTTY, mode); });
}
inline ssize_t ReadAt(int descriptor, void* buffer, std::size_t size, off_t offset) noexcept
{
    return Guarded(ssize_t{-1}, [&] { return ::pread(descriptor, buffer, size, offset); });
}
inline ssize_t WriteAt(int descriptor, const void* buffer, std::size_t size, off_t offset) noexcept
{
    return Guarded(ssize_t{-1}, [&] { return ::pwrite(descriptor, buffer, size, offset); });
}
inline off_t Seek(int descriptor, off_t offset, int from) noexcept
{
    return Guarded(off_t{-1}, [&] { return ::lseek(descriptor, offset, from); });
}
inline int Truncate(int descriptor, off_t size) noexcept
{
    return Guarded(-1, [&] { return ::ftruncate(descriptor, size); });
}
inline int Sync(int descriptor) noexcept
{
    return Guarded(-1, [&] { return ::fsync(descriptor); });
}
// Closes another descriptor of the same open file, as far as one is to be had.
inline int CloseCopy(int descriptor) noexcept
{
    return Guarded(-1, [&] {
        const int copy = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
        return copy < 0 ? 0 : ::close(copy);
    });
}
inline int Lock(int descriptor, int command, struct flock* range) noexcept
{
    return Guarded(-1, [&] { return ::fcntl(descriptor, command, range); });
}
inline int StatAt(int folder, const char* name, struct stat* status, int flags) noexcept
{
    return Guarded(-1, [&] { return ::fstatat(folder, name, status, flags); });
}
inline int StatAtExtended(
    int folder, const char* name, int flags, unsigned mask, struct statx* status) noexcept
{
    return Guarded(-1, [&] { return ::statx(folder, name, flags, mask, status); });
}
// A descriptor that was opened with O_PATH has its times set by an empty name.
inline int SetTimes(int descriptor, const timespec* times, bool pathOnly) noexcept
{
    return Guarded(-1, [&] {
        return pathOnly ? ::utimensat(descriptor, "", times, AT_EMPTY_PATH) : ::futimens(descriptor, times);
    });
}
inline int UnlinkAt(int folder, const char* name, int flags) noexcept
{
    return Guarded(-1, [&] { return ::unlinkat(folder, name, flags); });
}
inline int MakeFolderAt(int folder, const char* name, mode_t mode) noexcept
{
    return Guarded(-1, [&] { return ::mkdirat(folder, name, mode); });
}
inline int RenameAt(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept
{
    return Guarded(-1, [&] { return ::renameat2(fromFolder, from, toFolder, to, flags); });
}
inline int LinkAt(int fromFolder, const char* from, int toFolder, const char* to) noexcept
{
    return Guarded(-1, [&] { return ::linkat(fromFolder, from, toFolder, to, 0); });
}
inline ssize_t ReadEntries(int folder, void* buffer, std::size_t size) noexcept
{
    return Guarded(ssize_t{-1}, [&] { return ::getdents64(folder, buffer, size); });
}
inline ssize_t ReadLinkAt(int folder, const char* name, char* buffer, std::size_t size) noexcept
{
    return Guarded(ssize_t{-1}, [&] { return ::readlinkat(folder, name, buffer, size); });
}
inline char* WorkingFolder(char* buffer, std::size_t size) noexcept
{
    return Guarded(static_cast<char*>(nullptr), [&] { return ::getcwd(buffer, size); });
}

} // namespace Platform::Seam

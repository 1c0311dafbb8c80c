// The system calls of the registry's store that the files group has not, each behind the seam.
#pragma once

#include "platform/linux/files/calls.h"

#include <cstdint>
#include <linux/openat2.h>
#include <sys/syscall.h>

namespace Platform::Seam {

inline ssize_t ReadFrom(int descriptor, void* buffer, std::size_t size, off_t position) noexcept
{
    return Guarded(ssize_t{-1}, [&] { return ::pread(descriptor, buffer, size, position); });
}
inline ssize_t WriteTo(int descriptor, const void* buffer, std::size_t size, off_t position) noexcept
{
    return Guarded(ssize_t{-1}, [&] { return ::pwrite(descriptor, buffer, size, position); });
}
// Opens what lies below a folder; meeting a symbolic link on the way, or at the end of it, is ELOOP.
inline int OpenBeneath(int folder, const char* path, int flags) noexcept
{
    open_how how{};
    how.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC);
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
    return Guarded(
        -1, [&] { return static_cast<int>(::syscall(SYS_openat2, folder, path, &how, sizeof how)); });
}
inline int Status(int descriptor, struct stat* status) noexcept
{
    return Guarded(-1, [&] { return ::fstat(descriptor, status); });
}
inline int SetMode(int descriptor, mode_t mode) noexcept
{
    return Guarded(-1, [&] { return ::fchmod(descriptor, mode); });
}
// Whether the process's effective user may do this.
inline int AccessAt(int folder, const char* name, int wanted) noexcept
{
    return Guarded(-1, [&] { return ::faccessat(folder, name, wanted, AT_EACCESS); });
}
inline int MakeLinkAt(const char* text, int folder, const char* name) noexcept
{
    return Guarded(-1, [&] { return ::symlinkat(text, folder, name); });
}

} // namespace Platform::Seam

// The system calls of named objects, each behind the seam.
#pragma once

#include "platform/linux/files/calls.h"

#include <climits>
#include <cstdlib>
#include <ctime>
#include <linux/futex.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/syscall.h>

namespace Platform::Seam {

// The name ends in XXXXXX, which is replaced by what nobody has.
inline int MakeFolderOfNewName(char* name) noexcept
{
    return Guarded(-1, [&] { return ::mkdtemp(name) ? 0 : -1; });
}
inline int ChangeModeAt(int folder, const char* name, mode_t mode) noexcept
{
    return Guarded(-1, [&] { return ::fchmodat(folder, name, mode, 0); });
}
// Exclusively, waiting, until it is closed.
inline int LockFolder(int folder) noexcept
{
    return Guarded(-1, [&] { return ::flock(folder, LOCK_EX); });
}

// Reserves the memory, so that no later access fails for want of it.
inline int Allocate(int descriptor, off_t size) noexcept
{
    return Guarded(-1, [&] { return ::fallocate(descriptor, 0, 0, size); });
}
inline void* Map(int descriptor, std::size_t size) noexcept
{
    return Guarded(
        MAP_FAILED, [&] { return ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0); });
}
// Until one of the words is no longer what it was, or a wake; the end is a point on the monotonic clock.
inline long WaitForWords(const futex_waitv* words, unsigned count, const timespec* end) noexcept
{
    return Guarded(-1L, [&] { return ::syscall(SYS_futex_waitv, words, count, 0, end, CLOCK_MONOTONIC); });
}

} // namespace Platform::Seam

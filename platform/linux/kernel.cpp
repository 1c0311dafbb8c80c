#include "platform/kernel.h"

#include "platform/errors.h"
#include "platform/linux/seam.h"

#include <cerrno>
#include <charconv>
#include <climits>
#include <ctime>
#include <iterator>
#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace Platform {

namespace {

// Initial-exec and without a destructor: it works in the last destructors of a thread, and takes no
// allocation on first use.
[[gnu::tls_model("initial-exec")]] constinit thread_local std::uint32_t lastError = 0;
[[gnu::tls_model("initial-exec")]] constinit thread_local std::uint32_t threadId = 0;

struct ErrorPair {
    int number;
    std::uint32_t code;
};

// The first row of a number serves the way there, the first row of a code the way back.
constexpr ErrorPair errorPairs[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EBADF, ERROR_INVALID_HANDLE},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EXDEV, ERROR_NOT_SAME_DEVICE},
    {EROFS, ERROR_WRITE_PROTECT},
    {ENXIO, ERROR_NOT_READY},
    {ENODEV, ERROR_NOT_READY},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EAGAIN, ERROR_LOCK_VIOLATION},
    {EDEADLK, ERROR_LOCK_VIOLATION},
    {ENOLCK, ERROR_LOCK_VIOLATION},
    {ENOTSUP, ERROR_NOT_SUPPORTED},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {EPIPE, ERROR_BROKEN_PIPE},
    {ENOSPC, ERROR_DISK_FULL},
    {ENOSYS, ERROR_CALL_NOT_IMPLEMENTED},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {EBUSY, ERROR_BUSY},
    {EEXIST, ERROR_ALREADY_EXISTS},
    {EEXIST, ERROR_FILE_EXISTS},
    {ENOEXEC, ERROR_BAD_EXE_FORMAT},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {EFBIG, ERROR_FILE_TOO_LARGE},
    {ECANCELED, ERROR_OPERATION_ABORTED},
    {EFAULT, ERROR_NOACCESS},
    {EILSEQ, ERROR_NO_UNICODE_TRANSLATION},
    {EIO, ERROR_IO_DEVICE},
    {EMLINK, ERROR_TOO_MANY_LINKS},
    {ETIMEDOUT, ERROR_TIMEOUT},
    {EDQUOT, ERROR_NOT_ENOUGH_QUOTA},
    {ELOOP, ERROR_CANT_RESOLVE_FILENAME},
};

long Futex(const std::atomic<std::uint32_t>* address, int operation, std::uint32_t value) noexcept
{
    static_assert(sizeof(*address) == sizeof(std::uint32_t));
    return syscall(SYS_futex, address, operation | FUTEX_PRIVATE_FLAG, value, nullptr, nullptr, 0);
}

std::uint64_t MillisecondsOf(clockid_t clock) noexcept
{
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000
        + static_cast<std::uint64_t>(now.tv_nsec) / 1'000'000;
}

} // namespace

std::uint32_t GetLastError() noexcept
{
    return lastError;
}

void SetLastError(std::uint32_t code) noexcept
{
    lastError = code;
}

bool Fail(std::uint32_t code) noexcept
{
    lastError = code;
    return false;
}

bool FailWithErrno() noexcept
{
    return Fail(ErrorFromErrno(errno));
}

std::uint32_t ErrorFromErrno(int number) noexcept
{
    for (const ErrorPair& pair : errorPairs)
        if (pair.number == number)
            return pair.code;
    return number == 0 ? ERROR_SUCCESS : ERROR_GEN_FAILURE;
}

int ErrnoFromError(std::uint32_t code) noexcept
{
    for (const ErrorPair& pair : errorPairs)
        if (pair.code == code)
            return pair.number;
    return code == ERROR_SUCCESS ? 0 : EIO;
}

void Sleep(std::uint32_t milliseconds) noexcept
{
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += milliseconds / 1000;
    end.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
    if (end.tv_nsec >= 1'000'000'000) {
        end.tv_nsec -= 1'000'000'000;
        ++end.tv_sec;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) { }
}

std::uint64_t GetTickCount64() noexcept
{
    return MillisecondsOf(CLOCK_MONOTONIC);
}

std::uint64_t GetCoarseTickCount64() noexcept
{
    return MillisecondsOf(CLOCK_MONOTONIC_COARSE);
}

std::uint32_t GetCurrentThreadId() noexcept
{
    if (threadId == 0)
        threadId = static_cast<std::uint32_t>(gettid());
    return threadId;
}

std::uint32_t GetCurrentProcessId() noexcept
{
    return static_cast<std::uint32_t>(getpid());
}

bool GetVersionExW(OSVERSIONINFOW* version) noexcept
{
    if (version->dwOSVersionInfoSize != sizeof(*version))
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    utsname system{};
    if (Seam::Guarded(-1, [&] { return uname(&system); }) != 0)
        return FailWithErrno();
    const char* read = system.release;
    for (std::uint32_t* const number :
        {&version->dwMajorVersion, &version->dwMinorVersion, &version->dwBuildNumber}) {
        *number = 0;
        read = std::from_chars(read, std::end(system.release), *number).ptr;
        read += *read == '.' ? 1 : 0;
    }
    return true;
}

std::uint32_t GetCurrentProcessorNumber() noexcept
{
    const int number = sched_getcpu();
    return number < 0 ? 0 : static_cast<std::uint32_t>(number);
}

void WaitOnAddress(const std::atomic<std::uint32_t>* address, std::uint32_t compare) noexcept
{
    Futex(address, FUTEX_WAIT, compare);
}

void WakeByAddressSingle(const std::atomic<std::uint32_t>* address) noexcept
{
    Futex(address, FUTEX_WAKE, 1);
}

void WakeByAddressAll(const std::atomic<std::uint32_t>* address) noexcept
{
    Futex(address, FUTEX_WAKE, INT_MAX);
}

} // namespace Platform

// Handles, the last error, time and sleeping on a word: what the other groups of the platform layer share.
#pragma once

#include <atomic>
#include <cstdint>

namespace Platform {

// An open object of the platform: never a pointer, so that a stale one is found out and not followed.
enum class Handle : std::uint64_t {};
constexpr Handle NULL_HANDLE{0};
constexpr Handle INVALID_HANDLE_VALUE{~std::uint64_t{0}};

constexpr std::uint32_t INFINITE = 0xFFFFFFFF;

// The calling thread's last error. A function that succeeds leaves it alone unless its line says otherwise.
std::uint32_t GetLastError() noexcept;
void SetLastError(std::uint32_t code) noexcept;

// Sets the last error and gives false, for the return statement of whatever failed.
bool Fail(std::uint32_t code) noexcept;
// The same with the counterpart of the present errno.
bool FailWithErrno() noexcept;

// One table in both directions; a number without a counterpart becomes ERROR_GEN_FAILURE, or EIO.
std::uint32_t ErrorFromErrno(int number) noexcept;
int ErrnoFromError(std::uint32_t code) noexcept;

// Keeps the calling thread's last error as it was at construction, whatever happens until destruction.
class LastErrorKeeper {
public:
    LastErrorKeeper() noexcept : kept(GetLastError()) { }
    ~LastErrorKeeper() { SetLastError(kept); }
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

private:
    std::uint32_t kept;
};

// Gives up the processor for at least so many milliseconds; 0 gives up the time slice only.
void Sleep(std::uint32_t milliseconds) noexcept;

// Milliseconds on a clock that never runs backwards and has no meaning outside this boot.
std::uint64_t GetTickCount64() noexcept;
// The same clock as it was at the kernel's last tick: up to ten milliseconds behind, and next to no work.
std::uint64_t GetCoarseTickCount64() noexcept;

// A number that no other living thread of the process has; a fresh one for each thread.
std::uint32_t GetCurrentThreadId() noexcept;
std::uint32_t GetCurrentProcessId() noexcept;

struct OSVERSIONINFOW {
    std::uint32_t dwOSVersionInfoSize; // of this record in bytes; the caller's to set
    std::uint32_t dwMajorVersion;
    std::uint32_t dwMinorVersion;
    std::uint32_t dwBuildNumber;
};
// The first three numbers of the kernel's release, 0 for those that it does not have. False with
// ERROR_INSUFFICIENT_BUFFER for any other size.
bool GetVersionExW(OSVERSIONINFOW* version) noexcept;

// The processor that the calling thread runs on, for spreading load: stale as soon as it is returned.
std::uint32_t GetCurrentProcessorNumber() noexcept;

// Sleeps while *address is `compare`, until a wake by address, or for no reason at all: callers loop.
void WaitOnAddress(const std::atomic<std::uint32_t>* address, std::uint32_t compare) noexcept;
void WakeByAddressSingle(const std::atomic<std::uint32_t>* address) noexcept;
void WakeByAddressAll(const std::atomic<std::uint32_t>* address) noexcept;

} // namespace Platform

// Threads: starting them, waiting for their end (waits.h), stopping them for a while, their priority.
#pragma once

#include "platform/handles.h"

namespace Platform {

constexpr std::uint32_t THREAD_ALL_ACCESS = 0x001FFFFF;

constexpr int THREAD_PRIORITY_IDLE = -15;
constexpr int THREAD_PRIORITY_LOWEST = -2;
constexpr int THREAD_PRIORITY_NORMAL = 0;
constexpr int THREAD_PRIORITY_HIGHEST = 2;
constexpr int THREAD_PRIORITY_TIME_CRITICAL = 15;
constexpr int THREAD_PRIORITY_ERROR_RETURN = 0x7FFFFFFF;

constexpr std::uint32_t SUSPEND_FAILED = 0xFFFFFFFF;
constexpr std::uint32_t MAXIMUM_SUSPEND_COUNT = 127;

// Starts a thread that calls start(argument). Its handle stands in *thread before it begins to run. Its stack
// has so many bytes, or the system's own size if that is less or 0 is asked for. What leaves `start` as an
// exception ends the process. On failure false, with what the system answers, and NULL_HANDLE.
using ThreadStart = void (*)(void* argument);
bool _beginthreadex(ThreadStart start, void* argument, Handle* thread, std::uint32_t stackSize = 0) noexcept;

// A handle of the calling thread that other threads can use: the pseudo-handle of the thread, duplicated.
// The object is signalled when the thread has ended: behind all its thread-local destructors, and when the
// mutexes that it left owned are given on.
Handle OpenCurrentThread() noexcept;

// Makes `hook` the one that is called at the end of every thread that has asked for it by ArmThreadEnd, on
// that thread, while its waits still work. ArmThreadEnd fails with ERROR_NOT_ENOUGH_MEMORY.
void SetThreadEndHook(void (*hook)()) noexcept;
bool ArmThreadEnd() noexcept;

// Stops a thread, at the latest when it comes out of the kernel and out of the operations on waits, threads
// and handles: their locks are never held by a thread that stands. Returns when it does, with the count of
// suspensions before. A thread that waits stands at once: a signal that reaches it is its own, and it returns
// after the last resume. A thread that suspends itself returns when somebody resumes it. SUSPEND_FAILED with
// ERROR_SIGNAL_REFUSED above 127 suspensions, ERROR_ACCESS_DENIED for a thread that has ended, and
// ERROR_TIMEOUT if it has not stopped within a second (it blocks all signals, or is held up in the kernel)
// and now is not to.
//
// For the caller to know: a thread can be stopped while it holds the allocator's lock, the dynamic linker's,
// that of a module load or a registry key, or one of the program's own, so nothing that could want them may
// be done until it is resumed. Its own nanosleep, poll and the like see one EINTR.
std::uint32_t SuspendThread(Handle thread) noexcept;
// Takes back one suspension, and returns the count before; 0 did nothing.
std::uint32_t ResumeThread(Handle thread) noexcept;

// The priority is kept as asked, applied as far as the system lets the process, and answered as asked; the
// seven levels, any other is ERROR_INVALID_PARAMETER. THREAD_PRIORITY_ERROR_RETURN on failure.
int GetThreadPriority(Handle thread) noexcept;
bool SetThreadPriority(Handle thread, int priority) noexcept;

} // namespace Platform

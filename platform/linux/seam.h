// The system calls of this layer, each behind a name of its own at which a test can make the n-th one
// fail. Only builds with TESSEL_SEAMS ask; in all others a call here is the system's and nothing more.
//
// What is wrapped has a result of -1 (or null) with errno. A room with calls of its own adds them here.
// Allocations need no wrapper: all of them are operator new, which a test program replaces.
#pragma once

#include <cerrno>

namespace Platform::Seam {

#ifdef TESSEL_SEAMS
// The n-th wrapped call from now on (1 is the next one), in any thread, fails with `error`; 0 plans nothing.
void FailNth(unsigned n, int error) noexcept;
// As the error of a plan: the process is killed at the call, as by SIGKILL, instead of making it.
constexpr int KILL_PROCESS = -1;
// How many wrapped calls there were since the last FailNth.
unsigned CallCount() noexcept;
// Counts this call, and tells whether it is the one that fails; if so, errno is set.
bool Strikes() noexcept;
#else
constexpr bool Strikes() noexcept
{
    return false;
}
#endif

// Calls `call` unless the plan strikes here; then the result is `failed`.
template <class Result, class Call>
inline Result Guarded(Result failed, Call call)
{
    return Strikes() ? failed : call();
}

} // namespace Platform::Seam

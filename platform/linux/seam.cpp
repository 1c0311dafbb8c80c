#include "platform/linux/seam.h"

#ifdef TESSEL_SEAMS

#include <atomic>
#include <csignal>

namespace Platform::Seam {

namespace {
std::atomic<unsigned> calls{0};
std::atomic<unsigned> striking{0};
std::atomic<int> plannedError{0};
} // namespace

void FailNth(unsigned n, int error) noexcept
{
    striking = 0;
    calls = 0;
    plannedError = error;
    striking = n;
}

unsigned CallCount() noexcept
{
    return calls;
}

bool Strikes() noexcept
{
    if (++calls != striking)
        return false;
    if (plannedError == KILL_PROCESS)
        ::raise(SIGKILL);
    errno = plannedError;
    return true;
}

} // namespace Platform::Seam

#endif

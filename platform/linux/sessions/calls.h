// The system calls of the sessions group, and the opening of a connection, each behind the seam.
#pragma once

#include "platform/linux/seam.h"
#include "platform/linux/sessions/client_library.h"

#include <csignal>
#include <cstdint>
#include <dlfcn.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Platform::Seam {

// A library that is never unloaded.
inline void* LoadForGood(const char* name) noexcept
{
    return Guarded(static_cast<void*>(nullptr),
        [name] { return ::dlopen(name, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE); });
}
inline int OpenSystemBus(const ClientLibrary& library, sd_bus** bus) noexcept
{
    return Guarded(-1, [&] {
        const int result = library.openSystem(bus);
        errno = result < 0 ? -result : 0;
        return result < 0 ? -1 : 0;
    });
}
inline int Poll(pollfd* descriptors, nfds_t count, int milliseconds) noexcept
{
    return Guarded(-1, [&] { return ::poll(descriptors, count, milliseconds); });
}
inline int MakeEventDescriptor() noexcept
{
    return Guarded(-1, [] { return ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK); });
}
// A thread to be joined, which no signal reaches: it starts with the mask of its maker.
inline int StartDeafThread(pthread_t* thread, void* (*function)(void*), void* argument) noexcept
{
    return Guarded(-1, [&] {
        sigset_t all;
        sigset_t before;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before);
        const int failure = ::pthread_create(thread, nullptr, function, argument);
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        errno = failure;
        return failure == 0 ? 0 : -1;
    });
}

} // namespace Platform::Seam

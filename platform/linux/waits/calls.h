// The system calls of the waits group, each behind the seam.
#pragma once

#include "platform/linux/seam.h"

#include <cerrno>
#include <cstddef>
#include <pthread.h>

namespace Platform::Seam {

// A thread that nobody joins. Of the system's own size of a stack the limit, if it is not 0, can only take
// away.
inline int StartThread(void* (*function)(void*), void* argument, std::size_t stackLimit) noexcept
{
    return Guarded(-1, [&] {
        pthread_attr_t attributes;
        pthread_t thread{};
        int failure = ::pthread_attr_init(&attributes);
        if (failure == 0) {
            ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
            std::size_t stackSize = 0;
            ::pthread_attr_getstacksize(&attributes, &stackSize);
            if (stackLimit != 0 && stackLimit < stackSize)
                ::pthread_attr_setstacksize(&attributes, stackLimit);
            failure = ::pthread_create(&thread, &attributes, function, argument);
            ::pthread_attr_destroy(&attributes);
        }
        errno = failure;
        return failure == 0 ? 0 : -1;
    });
}

} // namespace Platform::Seam

// The system calls of the waits group, each behind the seam.
#pragma once

#include "platform/linux/seam.h"

#include <cerrno>
#include <pthread.h>

namespace Platform::Seam {

// A thread that nobody joins.
inline int StartThread(void* (*function)(void*), void* argument) noexcept
{
    return Guarded(-1, [&] {
        pthread_attr_t attributes;
        pthread_t thread{};
        int failure = ::pthread_attr_init(&attributes);
        if (failure == 0) {
            ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
            failure = ::pthread_create(&thread, &attributes, function, argument);
            ::pthread_attr_destroy(&attributes);
        }
        errno = failure;
        return failure == 0 ? 0 : -1;
    });
}

} // namespace Platform::Seam

// How many threads the process has.
#pragma once

#include <filesystem>
#include <string>
#include <thread>
#include <unistd.h>

// From the first thread on a sanitizer has one of its own, so that is started before anything is counted; the
// first itself is still there for a moment after it was joined.
inline std::size_t CountThreads()
{
    [[maybe_unused]] static const bool isFirstOver = [] {
        pid_t first = 0;
        std::thread([&] { first = ::gettid(); }).join();
        while (std::filesystem::exists("/proc/self/task/" + std::to_string(first)))
            std::this_thread::yield();
        return true;
    }();
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

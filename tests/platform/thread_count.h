// How many threads the process has.
#pragma once

#include <filesystem>
#include <thread>

// From the first thread on a sanitizer has one of its own, so that is started before anything is counted.
inline std::size_t CountThreads()
{
    [[maybe_unused]] static const bool isFirstOver = (std::thread([] {}).join(), true);
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

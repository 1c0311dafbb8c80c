#include "platform/linux/modules/load_failure.h"

#include "platform/linux/modules/module_list.h"
#include "platform/text.h"

#include <cstdio>
#include <cstring>
#include <iterator>

namespace Platform {

namespace {

// The last failures of all threads. A thread has at most one here, and the oldest makes room: so nothing
// belongs to a thread that would have to be given back when it ends. Guarded by loaderLock.
struct LoadFailure {
    std::uint32_t thread;
    char words[500];
};
constinit LoadFailure failures[16]{};

} // namespace

void KeepLoadFailure(const char* words) noexcept
{
    const std::uint32_t thread = GetCurrentThreadId();
    std::size_t place = 0;
    while (place + 1 < std::size(failures) && failures[place].thread != thread)
        ++place;
    std::memmove(&failures[1], &failures[0], place * sizeof failures[0]); // the newest is the first
    failures[0].thread = thread;
    std::snprintf(failures[0].words, sizeof failures[0].words, "%s", words);
}

void SetLoadFailure(const char* words) noexcept
{
    const std::lock_guard guard(loaderLock);
    KeepLoadFailure(words);
}

std::uint32_t GetLoadFailure(char16_t* buffer, std::uint32_t capacity) noexcept
{
    const std::lock_guard guard(loaderLock);
    if (capacity == 0)
        return 0;
    std::size_t written = 0;
    for (const LoadFailure& failure : failures)
        if (failure.thread == GetCurrentThreadId())
            written = Utf8ToUtf16(failure.words, std::strlen(failure.words), buffer, capacity - 1);
    buffer[written] = u'\0';
    return static_cast<std::uint32_t>(written);
}

} // namespace Platform

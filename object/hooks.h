// What higher rooms of the library hang into its Module.
#pragma once

#include <atomic>
#include <cstdint>

namespace Hooks {

// The language of the calling thread. It keeps the last error, and an Error that is made in it, which asks
// for a language as all do, does not come back to it for ever.
using Language = std::uint32_t (*)() noexcept;
// Called with false when a thread ends or the process begins to, and with true when the library goes.
using ThreadEnd = void (*)(bool processDetach);

// Each is null until it is set, and called through a copy. Here, for every message asks for the language.
inline constinit std::atomic<Language> language{nullptr};
inline constinit std::atomic<ThreadEnd> threadEnd{nullptr};

inline void SetLanguage(Language hook) noexcept
{
    language.store(hook, std::memory_order_release);
}
inline Language GetLanguage() noexcept
{
    return language.load(std::memory_order_acquire);
}

inline void SetThreadEnd(ThreadEnd hook) noexcept
{
    threadEnd.store(hook, std::memory_order_release);
}
inline ThreadEnd GetThreadEnd() noexcept
{
    return threadEnd.load(std::memory_order_acquire);
}

} // namespace Hooks

#include "object/hooks.h"

#include <atomic>

namespace Hooks {

namespace {
constinit std::atomic<Language> language{nullptr};
constinit std::atomic<ThreadEnd> threadEnd{nullptr};
} // namespace

void SetLanguage(Language hook) noexcept
{
    language = hook;
}
Language GetLanguage() noexcept
{
    return language.load(std::memory_order_acquire);
}

void SetThreadEnd(ThreadEnd hook) noexcept
{
    threadEnd = hook;
}
ThreadEnd GetThreadEnd() noexcept
{
    return threadEnd.load(std::memory_order_acquire);
}

} // namespace Hooks

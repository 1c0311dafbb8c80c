#include <tessel/base/critical_section.h>

#include "platform/kernel.h"

namespace {

constexpr std::uint32_t unlocked = 0;
constexpr std::uint32_t locked = 1;
constexpr std::uint32_t contended = 2;
constexpr int spins = 40;

// The address of a variable of the thread is its identity: nothing to ask the kernel for, and no other
// living thread has it.
const void* CurrentThread() noexcept
{
    [[gnu::tls_model("initial-exec")]] static constinit thread_local char mark = 0;
    return &mark;
}

void Pause() noexcept
{
#if defined(__x86_64__)
    __builtin_ia32_pause();
#endif
}

// Takes the word, sleeping if need be. Who has slept takes it as contended, for there may be others.
void Acquire(std::atomic<std::uint32_t>& word) noexcept
{
    for (int i = 0; i < spins; ++i) {
        std::uint32_t expected = unlocked;
        if (word.load(std::memory_order_relaxed) == unlocked
            && word.compare_exchange_weak(expected, locked, std::memory_order_acquire))
            return;
        Pause();
    }
    while (word.exchange(contended, std::memory_order_acquire) != unlocked)
        Platform::WaitOnAddress(&word, contended);
}

} // namespace

void CriticalSection::Enter() noexcept
{
    const void* const self = CurrentThread();
    // relaxed: only this thread ever stores its own identity here, so a match is no race
    if (owner.load(std::memory_order_relaxed) == self) {
        ++depth;
        return;
    }
    std::uint32_t expected = unlocked;
    if (!word.compare_exchange_strong(expected, locked, std::memory_order_acquire))
        Acquire(word);
    owner.store(self, std::memory_order_relaxed);
}

void CriticalSection::Leave() noexcept
{
    if (depth != 0) {
        --depth;
        return;
    }
    owner.store(nullptr, std::memory_order_relaxed);
    if (word.exchange(unlocked, std::memory_order_release) == contended)
        Platform::WakeByAddressSingle(&word);
}

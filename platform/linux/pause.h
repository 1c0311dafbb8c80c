#pragma once

namespace Platform {

// Tells the processor that this is a loop which waits for another one.
inline void Pause() noexcept
{
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

} // namespace Platform

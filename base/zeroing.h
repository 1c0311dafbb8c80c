// Zeroing that is not optimised away although nobody reads the memory again.
#pragma once

#include <cstddef>
#include <cstring>

inline void ZeroForever(void* memory, std::size_t bytes) noexcept
{
    std::memset(memory, 0, bytes);
    // For all the compiler knows, this statement reads the memory.
    __asm__ __volatile__("" : : "r"(memory) : "memory");
}

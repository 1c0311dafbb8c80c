// What tests share that go on for a short while; the environment variable TESSEL_STORM_SECONDS makes it
// longer.
#pragma once

#include <chrono>
#include <cstdlib>
#include <new>
#include <sys/mman.h>

inline std::chrono::milliseconds Duration()
{
    const char* const seconds = std::getenv("TESSEL_STORM_SECONDS");
    return std::chrono::milliseconds(seconds ? 1000 * std::atoi(seconds) : 2000);
}

// Memory that outlives the process that writes it.
template <class T>
class Shared {
public:
    Shared()
        : memory(::mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)),
          object(new (memory) T)
    {
    }
    ~Shared() { ::munmap(memory, sizeof(T)); }
    T* operator->() const { return object; }
    T& operator*() const { return *object; }

private:
    void* memory;
    T* object;
};

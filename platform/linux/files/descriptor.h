// Owns one file descriptor, or none (-1).
#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace Platform {

class Descriptor {
public:
    Descriptor() noexcept = default;
    explicit Descriptor(int owned) noexcept : number(owned) { }
    Descriptor(Descriptor&& other) noexcept : number(std::exchange(other.number, -1)) { }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number, other.number);
        return *this;
    }
    ~Descriptor() { Close(); }

    // Never repeated: after an interrupted close the number is free, and perhaps another thread's already.
    // errno is kept, for a close is mostly the way out of a failure.
    void Close() noexcept
    {
        if (number < 0)
            return;
        const int kept = errno;
        ::close(std::exchange(number, -1));
        errno = kept;
    }

    int Get() const noexcept { return number; }
    // Gives it up to the caller.
    int Release() noexcept { return std::exchange(number, -1); }
    explicit operator bool() const noexcept { return number >= 0; }

private:
    int number = -1;
};

} // namespace Platform

// The conversions between UTF-8 and UTF-16 with all that a caller inside this room may want to know.
#pragma once

#include <cstddef>

namespace Platform::Utf {

struct Conversion {
    std::size_t read; // units of the source that were taken
    std::size_t written; // units of the target
    bool replaced; // something was no valid text and became U+FFFD
};

// The portable road is the one of processors that lack what the fastest one uses; the results are the same.
enum class Road {
    Fastest,
    Portable,
};

// As Platform::Utf8ToUtf16 and Platform::Utf16ToUtf8.
Conversion ToUtf16(const char* source, std::size_t bytes, char16_t* target, std::size_t capacity,
    Road road = Road::Fastest) noexcept;
Conversion ToUtf8(const char16_t* source, std::size_t chars, char* target, std::size_t capacity,
    Road road = Road::Fastest) noexcept;

// The same with a target of any size that is not written to.
Conversion MeasureUtf16(const char* source, std::size_t bytes, Road road = Road::Fastest) noexcept;
Conversion MeasureUtf8(const char16_t* source, std::size_t chars, Road road = Road::Fastest) noexcept;

} // namespace Platform::Utf

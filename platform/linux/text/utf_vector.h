// UTF-8 and UTF-16 many characters at a time, on processors with SSSE3 (the check is made at run time).
//
// A run takes whole valid characters from the start of the source, as many as it can, and leaves the
// rest to the caller: from the first invalid character on, and the end of the source or of the target's
// room where its steps no longer fit. Without SSSE3 it takes nothing.
#pragma once

#include <cstddef>

namespace Platform::Utf::Vector {

template <class From, class To>
struct Run {
    const From* source; // what was not taken
    To* target; // what was not written
};
Run<unsigned char, char16_t> ToUtf16(const unsigned char* source, const unsigned char* sourceEnd,
    char16_t* target, char16_t* targetEnd) noexcept;
Run<char16_t, char> ToUtf8(
    const char16_t* source, const char16_t* sourceEnd, char* target, char* targetEnd) noexcept;

// The same without a target: only its length in units.
template <class From>
struct Count {
    const From* source;
    std::size_t units;
};
Count<unsigned char> MeasureUtf16(const unsigned char* source, const unsigned char* sourceEnd) noexcept;
Count<char16_t> MeasureUtf8(const char16_t* source, const char16_t* sourceEnd) noexcept;

} // namespace Platform::Utf::Vector

// One conversion each way for every kind of code page, all with the same outcome.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Platform::CodePages {

enum class Outcome {
    Done,
    Untranslatable, // strict was asked for, and something has no counterpart
    TooSmall,
    Unknown, // no such code page
    NoMemory,
};

struct Conversion {
    Outcome outcome;
    std::size_t written; // or needed, when the target is null
};

// A null target only measures. Strict fails where the lenient way puts a replacement.
struct Bytes {
    const char* start;
    std::size_t count;
};
struct Chars {
    const char16_t* start;
    std::size_t count;
};
template <class Unit>
struct Target {
    Unit* start;
    std::size_t capacity;
    bool strict;
};

// 1250 to 1258, from tables.
bool IsSingleBytePage(std::uint32_t codePage) noexcept;
Conversion FromSingleBytePage(std::uint32_t codePage, Bytes source, Target<char16_t> target) noexcept;
Conversion ToSingleBytePage(std::uint32_t codePage, Chars source, Target<char> target) noexcept;

// All others, by the C library.
bool IsLibraryPage(std::uint32_t codePage) noexcept;
Conversion FromLibraryPage(std::uint32_t codePage, Bytes source, Target<char16_t> target) noexcept;
Conversion ToLibraryPage(std::uint32_t codePage, Chars source, Target<char> target) noexcept;

} // namespace Platform::CodePages

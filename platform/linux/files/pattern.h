// The wildcard patterns of a search, as platform/files.h describes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Platform {

bool HasWildcard(const char16_t* text, std::size_t chars) noexcept;

// One pattern, used by one thread at a time.
class Pattern {
public:
    // False if there is no memory.
    bool Set(const char16_t* text, std::size_t chars) noexcept;

    bool MatchesAll() const noexcept { return all; }
    bool Matches(const char16_t* name, std::size_t chars) noexcept;

private:
    bool Reserve(std::size_t count) noexcept;

    std::unique_ptr<std::uint32_t[]> rules; // folded chars, and the wildcards of pattern.cpp
    std::size_t ruleCount = 0;
    std::unique_ptr<bool[]> reached; // twice ruleCount + 1: while matching, the rules that may come next
    bool all = false;
};

} // namespace Platform

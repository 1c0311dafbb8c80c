// Between the name of an entry on disk (bytes) and its name in a path text (UTF-16): the mapping that
// platform/files.h describes, one name at a time.
#pragma once

#include <cstddef>

namespace Platform {

// The name in a path text, not terminated; returns its chars. There are never more than bytes, so
// `target` has room for `bytes` of them. Every name on disk has one.
std::size_t NameToText(const char* name, std::size_t bytes, char16_t* target) noexcept;

// The name on disk, not terminated; returns its bytes, at most 3 for each char. 0 says that no name on
// disk has this text: it is empty, or holds one of the characters that never stand for themselves, half
// a surrogate pair, or a mapped byte that would be mapped otherwise or not at all.
std::size_t NameToDisk(const char16_t* text, std::size_t chars, char* target) noexcept;

} // namespace Platform

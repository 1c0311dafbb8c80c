// Whether a file can be a module of this process at all: told by its first bytes, before the system's
// loader gets to see it.
#pragma once

#include <cstddef>

namespace Platform {

// Of a file's first bytes, up to this many.
constexpr std::size_t moduleHeaderBytes = 64;

// Null if it can, otherwise what it is instead, in words.
const char* WhatIsNoModule(const unsigned char* header, std::size_t size) noexcept;

} // namespace Platform

// Strings of a module's string tables.
#pragma once

#include <tessel/export.h>

#include <cstdint>

// The module whose code or data lies at the address; null if none does.
TESSEL_API void* ModuleAt(const void* address) noexcept;

// The string of that id in the language of the calling thread, or in the module's own choice of language
// where it has no block in that one. True gives a length in characters and the first of them, in the
// module's memory and without a terminator; an id that its block lacks is a string of length 0. False where
// there is no such block. The last error stays as it was.
TESSEL_API bool LoadResString(
    void* module, unsigned id, std::uint32_t& length, const char16_t*& text) noexcept;

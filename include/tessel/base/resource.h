// Strings of a module's string tables.
#pragma once

#include <tessel/export.h>

#include <cstdint>

// One block of sixteen strings in one language: block n holds the ids from 16 * (n - 1). A module that has
// strings exports a row of blocks under the name "Module_StringTables":
//
//     extern "C" TESSEL_API const ResourceBlock Module_StringTables[] = {
//         {2, 0x409, u"\0" u"\5first" u"\6second" ...},   // ids 16 to 31 in English, 16 being absent
//         {2, 0x407, ...},
//         {},
//     };
struct ResourceBlock {
    std::uint16_t block;
    std::uint16_t language;
    const char16_t* strings; // each a count of characters and then that many; null in the row that closes
};

// The module whose code or data lies at the address; null if none does.
TESSEL_API void* ModuleAt(const void* address) noexcept;

// The string of that id in a module's tables (null: those of the program), in the language of the calling
// thread, or in the module's own choice of language where it has no block in that one. True gives a length in
// characters and the first of them, in the module's memory and without a terminator; an id that its block
// lacks is a string of length 0. False where there is no such block. The last error stays as it was.
TESSEL_API bool LoadResString(
    void* module, unsigned id, std::uint32_t& length, const char16_t*& text) noexcept;

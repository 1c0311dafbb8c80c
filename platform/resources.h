// The string tables that a module carries: plain constants that it exports under one name.
//
//     extern "C" [[gnu::visibility("default")]] const Platform::StringTable Module_StringTables[] = {
//         {2, 0x0409, u"\0" u"\5first" u"\6second" ...},   // ids 16 to 31 in English
//         {2, 0x0407, ...},
//         {},
//     };
//
// NULL_MODULE is the program of the process. Found tables belong to the module and live as long as it is
// loaded.
#pragma once

#include "platform/modules.h"

#include <cstdint>

namespace Platform {

// One block of sixteen strings in one language: block n holds the ids from 16 * (n - 1). The strings
// stand in a row, each as a count of chars and then that many, no terminator; an absent one has count 0.
struct StringTable {
    std::uint16_t block;
    std::uint16_t language;
    const char16_t* strings; // null in the row that closes the array
};

constexpr const char* stringTablesName = "Module_StringTables";
constexpr std::uint32_t RT_STRING = 6; // the only type of resource that there is

// The table of that block in that language. Null if there is none, with ERROR_RESOURCE_DATA_NOT_FOUND (the
// module has no tables), ERROR_RESOURCE_TYPE_NOT_FOUND, ERROR_RESOURCE_NAME_NOT_FOUND (no such block) or
// ERROR_RESOURCE_LANG_NOT_FOUND; ERROR_INVALID_HANDLE for no module. Tables of the modules that a module
// needs are not its own.
const StringTable* FindResourceExW(
    Module module, std::uint32_t type, std::uint32_t name, std::uint16_t language) noexcept;

// The same in whatever language there is: neutral (0) before American English (0x409) before the first.
const StringTable* FindResourceW(Module module, std::uint32_t name, std::uint32_t type) noexcept;

// Tables need no loading; null, with ERROR_INVALID_HANDLE, for null.
const StringTable* LoadResource(Module module, const StringTable* found) noexcept;
// The first count of the block.
const char16_t* LockResource(const StringTable* loaded) noexcept;

} // namespace Platform

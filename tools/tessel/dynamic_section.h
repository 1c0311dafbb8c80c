// What a shared object tells the system's loader: its symbols and flags, read from the file without loading
// it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {

struct Symbol {
    std::string_view name; // mangled, without a version; lies in the file's bytes
    bool isDefined;
    bool isUnique; // at most one in the whole process, whatever module defines it
};

struct DynamicSection {
    std::vector<Symbol> visible; // what the loader knows
    std::vector<Symbol> local; // what only a debugger knows; empty in a stripped file
    bool isSymbolic = false; // linked with -Bsymbolic
    bool isNeverUnloaded = false; // linked with -z nodelete
};

// The bytes may be anything. Throws std::runtime_error, which says what is wrong with them, for all that is
// no 64-bit little-endian shared object with section headers.
DynamicSection ReadDynamicSection(const std::string& file);

} // namespace Tool

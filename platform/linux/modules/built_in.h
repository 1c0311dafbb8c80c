// Modules inside this layer: a name, and entry points that are found at run time like those of any other
// module, so that a test can take them away.
#pragma once

#include "platform/modules.h"

#include <cstddef>

namespace Platform {

struct BuiltInEntry {
    const char* name;
    FARPROC address;
};

template <class Function>
FARPROC AddressOf(Function* function) noexcept
{
    return reinterpret_cast<FARPROC>(function);
}

struct BuiltInModule {
    const char16_t* name;
    const BuiltInEntry* entries;
    std::size_t entryCount;
    // Whether what the module stands on is there on this machine; null if it always is.
    bool (*isAvailable)() noexcept;
};

// The module of this name in any case, null if there is none or it is not available.
const BuiltInModule* FindBuiltIn(const char16_t* name) noexcept;
// The built-in module that this is, or null.
const BuiltInModule* AsBuiltIn(Module module) noexcept;
FARPROC FindBuiltInEntry(const BuiltInModule& module, const char* name) noexcept;

inline Module ToModule(const BuiltInModule* module) noexcept
{
    return static_cast<Module>(reinterpret_cast<std::uintptr_t>(module));
}

#ifdef TESSEL_SEAMS
namespace Seam {
// From now on the entry point is not there, or with a null entry the whole module is not. Up to 16 at a time;
// the texts are kept by address.
void HideBuiltIn(const char16_t* module, const char* entry) noexcept;
void ShowBuiltIns() noexcept;
} // namespace Seam
#endif

} // namespace Platform

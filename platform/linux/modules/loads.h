// The modules that were loaded or counted through this layer, with the path that each was loaded by.
#pragma once

#include "platform/linux/modules/module_list.h"

#include <memory>

namespace Platform {

struct LoadedModule {
    Module module = NULL_MODULE;
    void* handle = nullptr; // the linker's, which counts too: once for each of `count`
    std::uint32_t count = 0;
    std::unique_ptr<char[]> path; // on disk; absolute, or a bare name for which the linker searched
    LoadedModule* next = nullptr;
};

// All three are called under loaderLock.

// The module's entry, null if it has none.
LoadedModule* FindLoad(Module module) noexcept;

// Takes over one load by the linker. `path` is what it was loaded by. Without memory the load is taken back:
// NULL_MODULE with ERROR_NOT_ENOUGH_MEMORY.
Module CountLoad(void* handle, const char* path) noexcept;

// Takes one load away and gives the linker's handle for the caller to close; null if there is none.
void* UncountLoad(Module module) noexcept;

} // namespace Platform

// The modules in this process, as the dynamic linker knows them.
#pragma once

#include "platform/modules.h"

#include <link.h>
#include <mutex>

namespace Platform {

// Held around every load and free, so that they never meet in the dynamic linker, whose own lock is held
// while constructors and destructors run: whoever takes a lock of this library in a constructor would
// meet a thread that has that lock and wants to load. Taken before any lock of the linker, and recursive for
// the loads that constructors make. Guards the list of loads (loads.h) as well.
extern constinit std::recursive_mutex loaderLock;

// A Module is the address of the linker's record, or that of a built-in module.
inline Module ToModule(const link_map* map) noexcept
{
    return static_cast<Module>(reinterpret_cast<std::uintptr_t>(map));
}

// Visits the linker's records in the order of loading, the executable first, until `visit` gives true; gives
// what the last visit gave. No module comes or goes meanwhile, and `visit` calls nothing of the linker.
template <class Visit>
bool AnyModule(Visit visit) noexcept;

// What a module occupies.
struct AddressRange {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;

    bool Contains(std::uintptr_t address) const { return address >= begin && address < end; }
};

bool IsLoaded(Module module) noexcept;

// The range from the first to the last byte of the module; empty if it is not loaded.
AddressRange RangeOf(Module module) noexcept;

// The record of the module that the address lies in, null if in none.
link_map* RecordOf(const void* address) noexcept;

// ---- Implementation of the template

using ModuleVisit = bool (*)(void* context, const link_map& map);
bool AnyModule(ModuleVisit visit, void* context) noexcept;

template <class Visit>
bool AnyModule(Visit visit) noexcept
{
    return AnyModule(
        [](void* context, const link_map& map) { return (*static_cast<Visit*>(context))(map); }, &visit);
}

} // namespace Platform

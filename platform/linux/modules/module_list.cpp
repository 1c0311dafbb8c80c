#include "platform/linux/modules/module_list.h"

#include <dlfcn.h>

namespace Platform {

constinit std::recursive_mutex loaderLock;

namespace {

struct Walk {
    ModuleVisit visit;
    void* context;
    bool found;
};

// Called by dl_iterate_phdr, which holds the lock under which the linker changes its list. The first call is
// enough: the list is walked here, for only it tells which record is which.
int WalkList(dl_phdr_info*, std::size_t, void* context)
{
    Walk& walk = *static_cast<Walk*>(context);
    for (const link_map* map = _r_debug.r_map; map && !walk.found; map = map->l_next)
        walk.found = walk.visit(walk.context, *map);
    return 1;
}

struct RangeSearch {
    const void* dynamicSection;
    AddressRange range;
};

// The dynamic section is the one address that both the linker's record and this description have.
int FindRange(dl_phdr_info* info, std::size_t, void* context)
{
    RangeSearch& search = *static_cast<RangeSearch*>(context);
    AddressRange range;
    bool isIt = false;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto& header = info->dlpi_phdr[i];
        const std::uintptr_t begin = info->dlpi_addr + header.p_vaddr;
        isIt = isIt
            || (header.p_type == PT_DYNAMIC && reinterpret_cast<const void*>(begin) == search.dynamicSection);
        if (header.p_type != PT_LOAD)
            continue;
        if (range.end == 0)
            range.begin = begin;
        range.end = begin + header.p_memsz;
    }
    if (isIt)
        search.range = range;
    return isIt;
}

int FindAddress(dl_phdr_info* info, std::size_t, void* context)
{
    const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(context) - info->dlpi_addr;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto& header = info->dlpi_phdr[i];
        if (header.p_type == PT_LOAD && offset >= header.p_vaddr && offset - header.p_vaddr < header.p_memsz)
            return 1;
    }
    return 0;
}

} // namespace

bool AnyModule(ModuleVisit visit, void* context) noexcept
{
    Walk walk{visit, context, false};
    dl_iterate_phdr(&WalkList, &walk);
    return walk.found;
}

bool IsLoaded(Module module) noexcept
{
    return AnyModule([module](const link_map& map) { return ToModule(&map) == module; });
}

AddressRange RangeOf(Module module) noexcept
{
    RangeSearch search{nullptr, {}};
    const bool loaded = AnyModule([module, &search](const link_map& map) {
        search.dynamicSection = map.l_ld;
        return ToModule(&map) == module;
    });
    if (loaded)
        dl_iterate_phdr(&FindRange, &search);
    return search.range;
}

link_map* RecordOf(const void* address) noexcept
{
    Dl_info symbol;
    void* map = nullptr;
    return dladdr1(address, &symbol, &map, RTLD_DL_LINKMAP) != 0 ? static_cast<link_map*>(map) : nullptr;
}

bool IsModuleAddress(const void* address) noexcept
{
    return dl_iterate_phdr(&FindAddress, const_cast<void*>(address)) != 0;
}

} // namespace Platform

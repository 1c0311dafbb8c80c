#include "platform/resources.h"

#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/linux/seam.h"

#include <cstddef>
#include <dlfcn.h>
#include <initializer_list>
#include <link.h>

namespace Platform {

namespace {

constexpr std::uint16_t neutral = 0;
constexpr std::uint16_t americanEnglish = 0x0409;

std::nullptr_t FailNull(std::uint32_t code) noexcept
{
    Fail(code);
    return nullptr;
}

// dlsym also looks into what the module was linked with. Only what lies in the module itself counts.
bool IsWithin(void* handle, const void* symbol) noexcept
{
    link_map* ofModule = nullptr;
    void* ofSymbol = nullptr;
    Dl_info place{};
    return dlinfo(handle, RTLD_DI_LINKMAP, &ofModule) == 0
        && dladdr1(symbol, &place, &ofSymbol, RTLD_DL_LINKMAP) != 0 && ofModule == ofSymbol;
}

const StringTable* TablesOf(Module module) noexcept
{
    // The program's handle needs no closing: it is never unloaded.
    void* const handle = module == Module{} ? dlopen(nullptr, RTLD_LAZY)
                                            : reinterpret_cast<void*>(static_cast<std::uintptr_t>(module));
    void* const symbol = Seam::Guarded<void*>(nullptr, [handle] { return dlsym(handle, stringTablesName); });
    return symbol != nullptr && IsWithin(handle, symbol) ? static_cast<const StringTable*>(symbol) : nullptr;
}

// Calls `accept` for each table of the block until it is content with one.
template <class Accept>
const StringTable* FindTable(Module module, std::uint32_t type, std::uint32_t name, Accept accept) noexcept
{
    if (type != RT_STRING)
        return FailNull(ERROR_RESOURCE_TYPE_NOT_FOUND);
    const StringTable* table = TablesOf(module);
    if (table == nullptr)
        return FailNull(ERROR_RESOURCE_DATA_NOT_FOUND);
    bool hasBlock = false;
    for (; table->strings != nullptr; ++table) {
        hasBlock |= table->block == name;
        if (table->block == name && accept(table))
            return table;
    }
    return FailNull(hasBlock ? ERROR_RESOURCE_LANG_NOT_FOUND : ERROR_RESOURCE_NAME_NOT_FOUND);
}

} // namespace

const StringTable* FindResourceExW(
    Module module, std::uint32_t type, std::uint32_t name, std::uint16_t language) noexcept
{
    return FindTable(
        module, type, name, [=](const StringTable* table) { return table->language == language; });
}

const StringTable* FindResourceW(Module module, std::uint32_t name, std::uint32_t type) noexcept
{
    {
        const LastErrorKeeper keeper;
        for (const std::uint16_t language : {neutral, americanEnglish})
            if (const StringTable* const table = FindResourceExW(module, type, name, language))
                return table;
    }
    return FindTable(module, type, name, [](const StringTable*) { return true; });
}

const StringTable* LoadResource(Module, const StringTable* found) noexcept
{
    return found != nullptr ? found : FailNull(ERROR_INVALID_HANDLE);
}

const char16_t* LockResource(const StringTable* loaded) noexcept
{
    return loaded != nullptr ? loaded->strings : FailNull(ERROR_INVALID_HANDLE);
}

} // namespace Platform

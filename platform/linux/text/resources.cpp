#include "platform/resources.h"

#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/modules.h"

#include <cstddef>
#include <initializer_list>

namespace Platform {

namespace {

constexpr std::uint16_t neutral = 0;
constexpr std::uint16_t americanEnglish = 0x0409;

std::nullptr_t FailNull(std::uint32_t code) noexcept
{
    Fail(code);
    return nullptr;
}

const StringTable* TablesOf(Module module) noexcept
{
    const FARPROC symbol =
        GetProcAddress(module == NULL_MODULE ? GetModuleHandleW(nullptr) : module, stringTablesName);
    if (symbol == nullptr && GetLastError() == ERROR_PROC_NOT_FOUND)
        Fail(ERROR_RESOURCE_DATA_NOT_FOUND);
    return reinterpret_cast<const StringTable*>(symbol);
}

// Calls `accept` for each table of the block until it is content with one.
template <class Accept>
const StringTable* FindTable(Module module, std::uint32_t type, std::uint32_t name, Accept accept) noexcept
{
    if (type != RT_STRING)
        return FailNull(ERROR_RESOURCE_TYPE_NOT_FOUND);
    const StringTable* table = TablesOf(module);
    if (table == nullptr)
        return nullptr;
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

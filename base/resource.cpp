#include <tessel/base/resource.h>

#include "platform/kernel.h"
#include "platform/modules.h"
#include "platform/resources.h"
#include <tessel/module.h>

#include <cstddef>

static_assert(sizeof(ResourceBlock) == sizeof(Platform::StringTable)
    && offsetof(ResourceBlock, strings) == offsetof(Platform::StringTable, strings));

void* ModuleAt(const void* address) noexcept
{
    constexpr std::uint32_t byAddressUncounted = Platform::GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS
        | Platform::GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    Platform::Module module = Platform::NULL_MODULE;
    Platform::GetModuleHandleExW(byAddressUncounted, address, &module);
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(module));
}

bool LoadResString(void* module, unsigned id, std::uint32_t& length, const char16_t*& text) noexcept
{
    const Platform::LastErrorKeeper keeper;
    const auto handle = static_cast<Platform::Module>(reinterpret_cast<std::uintptr_t>(module));
    const auto block = static_cast<std::uint16_t>(id / 16 + 1);
    const auto language = static_cast<std::uint16_t>(Module::GetLangId());
    auto found = Platform::FindResourceExW(handle, Platform::RT_STRING, block, language);
    if (found == nullptr)
        found = Platform::FindResourceW(handle, block, Platform::RT_STRING);
    if (found == nullptr)
        return false;
    const char16_t* at = Platform::LockResource(Platform::LoadResource(handle, found));
    if (at == nullptr)
        return false;
    for (unsigned position = id % 16; position != 0; --position)
        at += *at + 1; // a count, then so many characters
    length = *at;
    text = at + 1;
    return true;
}

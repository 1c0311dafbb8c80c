// Module of the library itself: nothing is counted, for the library is never unloaded.
#include <tessel/module.h>

#include "object/hooks.h"
#include "platform/locale.h"

constinit LiveObjects* const Module::liveObjects = nullptr;

void Module::Lock() noexcept { }
void Module::Unlock() noexcept { }

std::uint32_t Module::GetLangId() noexcept
{
    const Hooks::Language hook = Hooks::GetLanguage();
    return hook != nullptr ? hook() : Platform::GetUserDefaultLangID();
}

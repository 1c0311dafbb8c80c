// Module of the library itself: nothing is counted, for the library is never unloaded.
#include <tessel/module.h>

#include "object/hooks.h"
#include "platform/kernel.h"
#include "platform/locale.h"
#include <tessel/nls/language.h>

constinit LiveObjects* const Module::liveObjects = nullptr;

void Module::Lock() noexcept { }
void Module::Unlock() noexcept { }

// The hook may fail, and its Error wants a language too: whoever comes back here while the hook runs gets the
// user's default.
std::uint32_t Module::GetLangId() noexcept
{
    [[gnu::tls_model("initial-exec")]] static constinit thread_local bool asking = false;
    const Platform::LastErrorKeeper keeper;
    const Hooks::Language hook = Hooks::GetLanguage();
    if (hook == nullptr || asking)
        return Platform::GetUserDefaultLangID();
    asking = true;
    const std::uint32_t language = hook();
    asking = false;
    return language;
}

std::uint32_t Nls::TesselGetLangId() noexcept
{
    return Module::GetLangId();
}

// Stands for the library: a module that holds the platform layer and makes itself visible when it is loaded.
#include "platform/modules.h"

extern "C" [[gnu::visibility("default")]] int carriedSymbol()
{
    return 7;
}

extern "C" [[gnu::visibility("default")]] unsigned ownPath(char16_t* buffer, unsigned capacity)
{
    Platform::Module own = Platform::NULL_MODULE;
    constexpr unsigned flags = Platform::GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS
        | Platform::GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    Platform::GetModuleHandleExW(flags, reinterpret_cast<const void*>(&ownPath), &own);
    return Platform::GetModuleFileNameW(own, buffer, capacity);
}

namespace {

[[gnu::constructor(101)]] void Attach()
{
    Platform::MakeOwnModuleGlobal();
}

} // namespace

// What makes a shared object a client module: two exports, by which the library knows it.
#include "module/clock.h"
#include <tessel/object/registration.h>

namespace {

constinit std::uint64_t loadedAt = 0;

// The library has started long before it loads a client module.
struct StartedModule : Module {
    [[gnu::constructor(101)]] static void Enter() noexcept
    {
        loadedAt = MillisecondsSinceBoot();
        SetState(StateType::started);
    }
};

} // namespace

extern "C" {

// The chain of the module's registrations; the argument is 0. The nodes stay the module's.
TESSEL_API Object::FactoryRegistration* Module_GetStaticList(int reserved);
// Whether the module has had no object for so many milliseconds, or none at all since it was loaded so long
// ago; with 0, whether it has none now.
TESSEL_API bool Module_IsUnlocked(std::uint32_t milliseconds);

Object::FactoryRegistration* Module_GetStaticList(int /*reserved*/)
{
    return Module::GetStaticList();
}

bool Module_IsUnlocked(std::uint32_t milliseconds)
{
    // acquire: the destructor of the last object has run
    if (Module::liveObjects->count.load(std::memory_order_acquire) != 0)
        return false;
    const std::uint64_t changed = Module::liveObjects->changed.load(std::memory_order_relaxed);
    const std::uint64_t now = MillisecondsSinceBoot();
    const std::uint64_t idleSince = changed > loadedAt ? changed : loadedAt;
    return now >= idleSince + milliseconds;
}

} // extern "C"

// Module of hosts and client modules: it counts its objects, and asks the library for what needs the system.
#include <tessel/module.h>

#include "module/clock.h"
#include <tessel/nls/language.h>

namespace {

constinit LiveObjects objects;

} // namespace

constinit LiveObjects* const Module::liveObjects = &objects;

void Module::Lock() noexcept
{
    objects.count.fetch_add(1, std::memory_order_relaxed);
}

void Module::Unlock() noexcept
{
    objects.changed.store(MillisecondsSinceBoot(), std::memory_order_relaxed);
    // release: what the caller did in the module comes before its unloading
    objects.count.fetch_sub(1, std::memory_order_release);
}

std::uint32_t Module::GetLangId() noexcept
{
    return Nls::TesselGetLangId();
}

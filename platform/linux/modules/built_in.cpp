#include "platform/linux/modules/built_in.h"

#include "platform/linux/sessions/entries.h"
#include "platform/sessions.h"
#include "platform/text.h"

#include <cstring>
#include <iterator>

#ifdef TESSEL_SEAMS
#include <atomic>
#endif

namespace Platform {

namespace {

const BuiltInEntry kernelEntries[] = {
    {"GetCurrentProcessId", AddressOf(&GetCurrentProcessId)},
    {"GetCurrentThreadId", AddressOf(&GetCurrentThreadId)},
    {"GetTickCount64", AddressOf(&GetTickCount64)},
    {"ProcessIdToSessionId", AddressOf(&ProcessIdToSessionId)},
    {"WTSGetActiveConsoleSessionId", AddressOf(&WTSGetActiveConsoleSessionId)},
};

// One row a module; what it offers stands in the table of the group that it belongs to.
const BuiltInModule builtInModules[] = {
    {u"KERNEL32.DLL", kernelEntries, std::size(kernelEntries), nullptr},
    {u"WTSAPI32.DLL", sessionEntries, std::size(sessionEntries), &IsBusReachable},
};

#ifdef TESSEL_SEAMS
struct Hidden {
    const char16_t* module;
    const char* entry;
};
Hidden hidden[16];
std::atomic<std::size_t> hiddenCount{0};

bool IsHidden(const BuiltInModule& module, const char* entry) noexcept
{
    for (std::size_t i = 0; i < hiddenCount; ++i)
        if (_wcsicmp(hidden[i].module, module.name) == 0
            && (entry && hidden[i].entry ? std::strcmp(hidden[i].entry, entry) == 0
                                         : entry == hidden[i].entry))
            return true;
    return false;
}
#else
constexpr bool IsHidden(const BuiltInModule&, const char*) noexcept
{
    return false;
}
#endif

} // namespace

#ifdef TESSEL_SEAMS
void Seam::HideBuiltIn(const char16_t* module, const char* entry) noexcept
{
    hidden[hiddenCount] = {module, entry};
    ++hiddenCount;
}

void Seam::ShowBuiltIns() noexcept
{
    hiddenCount = 0;
}
#endif

const BuiltInModule* FindBuiltIn(const char16_t* name) noexcept
{
    for (const BuiltInModule& module : builtInModules)
        if (_wcsicmp(name, module.name) == 0)
            return IsHidden(module, nullptr) || (module.isAvailable && !module.isAvailable()) ? nullptr
                                                                                              : &module;
    return nullptr;
}

const BuiltInModule* AsBuiltIn(Module module) noexcept
{
    for (const BuiltInModule& candidate : builtInModules)
        if (ToModule(&candidate) == module)
            return &candidate;
    return nullptr;
}

FARPROC FindBuiltInEntry(const BuiltInModule& module, const char* name) noexcept
{
    for (std::size_t i = 0; i < module.entryCount; ++i)
        if (std::strcmp(module.entries[i].name, name) == 0 && !IsHidden(module, name))
            return module.entries[i].address;
    return nullptr;
}

} // namespace Platform

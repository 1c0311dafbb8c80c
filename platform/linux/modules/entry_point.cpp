#include "platform/errors.h"
#include "platform/linux/modules/built_in.h"
#include "platform/linux/modules/loads.h"

#include <dlfcn.h>

namespace Platform {

namespace {

// A handle for the time of a look-up, also for modules that others loaded.
class LinkerHandle {
public:
    explicit LinkerHandle(const link_map* map) noexcept
        : handle(dlopen(map->l_name[0] ? map->l_name : nullptr, RTLD_NOW | RTLD_NOLOAD))
    {
    }
    ~LinkerHandle()
    {
        if (handle)
            dlclose(handle);
    }
    LinkerHandle(const LinkerHandle&) = delete;
    LinkerHandle& operator=(const LinkerHandle&) = delete;
    void* Get() const noexcept { return handle; }

private:
    void* const handle;
};

// The linker also looks into the modules that this one depends on; what it finds there is not meant.
FARPROC FindOwnSymbol(Module module, void* handle, const char* name) noexcept
{
    void* const symbol = handle ? dlsym(handle, name) : nullptr;
    if (symbol && ToModule(RecordOf(symbol)) == module)
        return reinterpret_cast<FARPROC>(symbol);
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}

} // namespace

FARPROC GetProcAddress(Module module, const char* name) noexcept
{
    if (const BuiltInModule* const builtIn = AsBuiltIn(module)) {
        const FARPROC address = FindBuiltInEntry(*builtIn, name);
        if (!address)
            SetLastError(ERROR_PROC_NOT_FOUND);
        return address;
    }
    const std::lock_guard guard(loaderLock);
    if (const LoadedModule* const load = FindLoad(module))
        return FindOwnSymbol(module, load->handle, name);
    if (!IsLoaded(module)) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    const LinkerHandle handle(reinterpret_cast<const link_map*>(static_cast<std::uintptr_t>(module)));
    return FindOwnSymbol(module, handle.Get(), name);
}

} // namespace Platform

#include "platform/linux/modules/loads.h"

#include "platform/errors.h"

#include <cstring>
#include <dlfcn.h>
#include <new>

namespace Platform {

namespace {

// The entries live on the heap and are reached from here alone; nothing is destroyed at exit, for exit
// actions free modules, too.
constinit LoadedModule* firstLoad = nullptr;

std::unique_ptr<char[]> CopyOf(const char* text) noexcept
{
    const std::size_t size = std::strlen(text) + 1;
    std::unique_ptr<char[]> copy(new (std::nothrow) char[size]);
    if (copy)
        std::memcpy(copy.get(), text, size);
    return copy;
}

LoadedModule* AddLoad(Module module, void* handle, const char* path) noexcept
{
    std::unique_ptr<LoadedModule> made(new (std::nothrow) LoadedModule);
    if (made)
        made->path = CopyOf(path);
    if (!made || !made->path)
        return nullptr;
    made->module = module;
    made->handle = handle;
    made->next = firstLoad;
    return firstLoad = made.release();
}

} // namespace

LoadedModule* FindLoad(Module module) noexcept
{
    LoadedModule* load = firstLoad;
    while (load && load->module != module)
        load = load->next;
    return load;
}

Module CountLoad(void* handle, const char* path) noexcept
{
    link_map* map = nullptr;
    dlinfo(handle, RTLD_DI_LINKMAP, &map);
    LoadedModule* load = FindLoad(ToModule(map));
    if (!load)
        load = AddLoad(ToModule(map), handle, path);
    if (!load) {
        dlclose(handle);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return NULL_MODULE;
    }
    ++load->count;
    return load->module;
}

void* UncountLoad(Module module) noexcept
{
    LoadedModule** link = &firstLoad;
    while (*link && (*link)->module != module)
        link = &(*link)->next;
    LoadedModule* const load = *link;
    if (!load)
        return nullptr;
    void* const handle = load->handle;
    if (--load->count == 0) {
        *link = load->next;
        delete load;
    }
    return handle;
}

} // namespace Platform

// From a module to its file, and from a file name or an address to the module.
#include "platform/errors.h"
#include "platform/files.h"
#include "platform/linux/files/calls.h"
#include "platform/linux/files/disk_path.h"
#include "platform/linux/modules/built_in.h"
#include "platform/linux/modules/loads.h"
#include "platform/linux/modules/own_module.h"
#include "platform/text.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <dlfcn.h>
#include <sys/auxv.h>

namespace Platform {

namespace {

using PathBuffer = char[2 * PATH_MAX];

bool CopyPath(const char* path, PathBuffer& target) noexcept
{
    return MakeAbsolute(path, target, sizeof target);
}

// Without a mounted /proc there still is the path that the program was started by.
bool ExecutablePath(PathBuffer& target) noexcept
{
    const ssize_t bytes = Seam::ReadLinkAt(AT_FDCWD, "/proc/self/exe", target, sizeof target - 1);
    if (bytes > 0) {
        target[bytes] = '\0';
        return true;
    }
    const auto* const started = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    return started ? CopyPath(started, target) : FailWithErrno();
}

bool DiskPathOf(Module module, PathBuffer& target) noexcept
{
    const std::lock_guard guard(loaderLock);
    if (AsBuiltIn(module))
        module = ToModule(OwnRecord());
    if (module == NULL_MODULE)
        return ExecutablePath(target);
    const LoadedModule* const load = FindLoad(module);
    if (load && std::strchr(load->path.get(), '/'))
        return CopyPath(load->path.get(), target);
    if (module == ToModule(OwnRecord()) && OwnDiskPath()[0] != '\0')
        return CopyPath(OwnDiskPath(), target);
    if (!IsLoaded(module))
        return Fail(ERROR_INVALID_HANDLE);
    const auto* const map = reinterpret_cast<const link_map*>(static_cast<std::uintptr_t>(module));
    return map->l_name[0] ? CopyPath(map->l_name, target) : ExecutablePath(target);
}

std::uint32_t GiveCut(
    const char16_t* text, std::size_t chars, char16_t* buffer, std::uint32_t capacity) noexcept
{
    if (chars < capacity) {
        *std::copy_n(text, chars, buffer) = u'\0';
        return static_cast<std::uint32_t>(chars);
    }
    if (capacity > 0)
        *std::copy_n(text, capacity - 1, buffer) = u'\0';
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return capacity;
}

// Whether a linker's name is that of the wanted file: the last component, or the whole path.
bool IsNamed(const char* linkerName, const char* wanted) noexcept
{
    if (std::strchr(wanted, '/'))
        return std::strcmp(linkerName, wanted) == 0;
    const char* const slash = std::strrchr(linkerName, '/');
    return std::strcmp(slash ? slash + 1 : linkerName, wanted) == 0;
}

bool HasSeparator(const char16_t* text) noexcept
{
    return std::any_of(text, text + wcslen(text), [](char16_t c) { return IsSeparator(c) || c == u':'; });
}

bool CopyName(const char* name, PathBuffer& target) noexcept
{
    return std::strlen(std::strncpy(target, name, sizeof target - 1)) < sizeof target - 1;
}

// The name as the linker would have it.
bool WantedName(const char16_t* name, PathBuffer& target) noexcept
{
    DiskPath place;
    if (!HasSeparator(name))
        return place.SetWithoutWalk(name) && CopyName(place.Name(), target);
    InlineBuffer<char16_t, 512> buffer;
    const std::uint32_t needed = GetFullPathNameW(name, 0, nullptr);
    char16_t* const full = needed > 0 ? buffer.Reserve(needed) : nullptr;
    return full && GetFullPathNameW(name, needed, full) < needed && place.SetWithoutWalk(full)
        && CopyPath(place.Name(), target);
}

Module FindByName(const char16_t* name) noexcept
{
    PathBuffer wanted;
    Module found = NULL_MODULE;
    if (!WantedName(name, wanted))
        return NULL_MODULE;
    AnyModule([&](const link_map& map) {
        if (!IsNamed(map.l_name, wanted))
            return false;
        found = ToModule(&map);
        return true;
    });
    return found;
}

// Adds a load by the linker to those that FreeLibrary takes back. The executable stays anyway.
bool AddCount(Module module) noexcept
{
    if (AsBuiltIn(module))
        return true;
    const std::lock_guard guard(loaderLock);
    if (!IsLoaded(module))
        return Fail(ERROR_MOD_NOT_FOUND);
    const auto* const map = reinterpret_cast<const link_map*>(static_cast<std::uintptr_t>(module));
    void* const handle = dlopen(map->l_name[0] ? map->l_name : nullptr, RTLD_NOW | RTLD_NOLOAD);
    return handle ? CountLoad(handle, map->l_name) != NULL_MODULE : Fail(ERROR_MOD_NOT_FOUND);
}

} // namespace

std::uint32_t GetModuleFileNameW(Module module, char16_t* buffer, std::uint32_t capacity) noexcept
{
    PathBuffer path;
    if (!DiskPathOf(module, path))
        return 0;
    InlineBuffer<char16_t, 512> textBuffer;
    const std::size_t room = std::strlen(path) + 4;
    char16_t* const text = textBuffer.Reserve(room);
    if (!text) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    const std::size_t chars = DiskPathToText(path, std::strlen(path), false, text, room);
    return GiveCut(text, chars, buffer, capacity);
}

Module GetModuleHandleW(const char16_t* name) noexcept
{
    if (!name)
        return ToModule(_r_debug.r_map);
    if (const BuiltInModule* const builtIn = FindBuiltIn(name))
        return ToModule(builtIn);
    const Module found = FindByName(name);
    if (found == NULL_MODULE)
        SetLastError(ERROR_MOD_NOT_FOUND);
    return found;
}

bool GetModuleHandleExW(std::uint32_t flags, const void* nameOrAddress, Module* module) noexcept
{
    constexpr std::uint32_t known =
        GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS;
    *module = NULL_MODULE;
    if ((flags & ~known) != 0)
        return Fail(ERROR_INVALID_PARAMETER);
    const Module found = flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS
        ? ToModule(RecordOf(nameOrAddress))
        : GetModuleHandleW(static_cast<const char16_t*>(nameOrAddress));
    if (found == NULL_MODULE)
        return Fail(ERROR_MOD_NOT_FOUND);
    if (!(flags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) && !AddCount(found))
        return false;
    *module = found;
    return true;
}

bool IsModuleMapped(const char16_t* path) noexcept
{
    PathBuffer wanted;
    if (!WantedName(path, wanted))
        return false;
    struct stat wantedFile;
    const bool exists = Seam::StatAt(AT_FDCWD, wanted, &wantedFile, 0) == 0;
    return AnyModule([&](const link_map& map) {
        if (IsNamed(map.l_name, wanted))
            return true;
        struct stat file;
        return exists && map.l_name[0] == '/' && ::stat(map.l_name, &file) == 0
            && file.st_dev == wantedFile.st_dev && file.st_ino == wantedFile.st_ino;
    });
}

} // namespace Platform

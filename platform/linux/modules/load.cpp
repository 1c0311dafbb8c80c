#include "platform/modules.h"

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/linux/files/disk_path.h"
#include "platform/linux/modules/built_in.h"
#include "platform/linux/modules/elf_check.h"
#include "platform/linux/modules/load_failure.h"
#include "platform/linux/modules/loads.h"
#include "platform/linux/seam.h"
#include "platform/text.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <clocale>
#include <cstring>
#include <dlfcn.h>

namespace Platform {

namespace {

Module FailLoad(std::uint32_t error, const char* words) noexcept
{
    KeepLoadFailure(words);
    SetLastError(error);
    return NULL_MODULE;
}

// What kept the file from being opened, as a load tells it.
std::uint32_t ErrorOfOpen(const char16_t* path) noexcept
{
    switch (const std::uint32_t error = GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
        return ERROR_MOD_NOT_FOUND;
    case ERROR_NOT_SUPPORTED: // a device, pipe or socket
        return ERROR_BAD_EXE_FORMAT;
    case ERROR_ACCESS_DENIED: {
        const std::uint32_t attributes = GetFileAttributesW(path);
        const bool folder = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
        return folder ? ERROR_BAD_EXE_FORMAT : error;
    }
    default:
        return error;
    }
}

// Looks at the file before the linker does: the linker tells what is wrong in words only, and would wait
// for the other end of a pipe. (Whoever can put a pipe in the file's place after this can put a module
// there.)
bool LooksLikeModule(const char16_t* path) noexcept
{
    constexpr std::uint32_t shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const Handle file = CreateFileW(path, GENERIC_READ, shareAll, OPEN_EXISTING, 0);
    if (file == INVALID_HANDLE_VALUE) {
        FailLoad(ErrorOfOpen(path), "cannot open file");
        return false;
    }
    const char* const defect = WhatIsNoModule(file);
    CloseHandle(file);
    if (defect)
        FailLoad(ERROR_BAD_EXE_FORMAT, defect);
    return !defect;
}

// The linker's words, untranslated whatever locale the host has chosen: the thread speaks C for this call.
const char* LinkerWords() noexcept
{
    const locale_t before = uselocale(newlocale(LC_ALL_MASK, "C", nullptr));
    const char* const words = dlerror();
    uselocale(before);
    return words ? words : "";
}

std::uint32_t ErrorOfWords(const char* words) noexcept
{
    const struct {
        const char* part;
        std::uint32_t error;
    } meanings[] = {
        {"undefined symbol", ERROR_PROC_NOT_FOUND},
        {"symbol lookup error", ERROR_PROC_NOT_FOUND},
        {"not found (required by", ERROR_PROC_NOT_FOUND}, // a version of a library
        {"cannot open shared object file", ERROR_MOD_NOT_FOUND},
        {"annot allocate memory", ERROR_NOT_ENOUGH_MEMORY},
        {"cannot create shared object descriptor", ERROR_NOT_ENOUGH_MEMORY},
    };
    for (const auto& meaning : meanings)
        if (std::strstr(words, meaning.part))
            return meaning.error;
    return ERROR_BAD_EXE_FORMAT;
}

Module LoadByDiskPath(const char* path) noexcept
{
    dlerror(); // what is kept there from before is not ours to tell
    void* const handle =
        Seam::Guarded(static_cast<void*>(nullptr), [path] { return dlopen(path, RTLD_NOW | RTLD_LOCAL); });
    if (!handle) {
        const char* const words = LinkerWords();
        return FailLoad(ErrorOfWords(words), words);
    }
    KeepLoadFailure("");
    return CountLoad(handle, path);
}

// The absolute place of the path, for it is kept beyond a change of the working folder.
bool SetAbsolute(DiskPath& place, const char16_t* path) noexcept
{
    InlineBuffer<char16_t, 512> buffer;
    const std::uint32_t needed = GetFullPathNameW(path, 0, nullptr);
    char16_t* const full = needed > 0 ? buffer.Reserve(needed) : nullptr;
    return full && GetFullPathNameW(path, needed, full) < needed && place.SetWithoutWalk(full);
}

Module LoadFromPath(const char16_t* path) noexcept
{
    DiskPath place;
    if (!SetAbsolute(place, path))
        return FailLoad(ErrorOfOpen(path), "no path");
    if (std::strlen(place.Name()) >= PATH_MAX)
        return FailLoad(ERROR_FILENAME_EXCED_RANGE, "path too long");
    return LooksLikeModule(path) ? LoadByDiskPath(place.Name()) : NULL_MODULE;
}

// No separator: the linker looks where the system keeps its libraries.
Module LoadFromSystem(const char16_t* name, std::size_t chars) noexcept
{
    DiskPath place;
    if (!place.SetWithoutWalk(name, chars))
        return FailLoad(ErrorOfOpen(name), "no name of a library");
    return LoadByDiskPath(place.Name());
}

} // namespace

Module LoadLibraryExW(const char16_t* path, std::uint32_t flags) noexcept
{
    const std::size_t chars = path ? wcslen(path) : 0;
    if (chars == 0 || (flags & ~LOAD_WITH_ALTERED_SEARCH_PATH) != 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return NULL_MODULE;
    }
    if (const BuiltInModule* const builtIn = FindBuiltIn(path))
        return ToModule(builtIn);
    const bool bare =
        std::none_of(path, path + chars, [](char16_t c) { return IsSeparator(c) || c == u':'; });
    const std::lock_guard guard(loaderLock);
    return bare ? LoadFromSystem(path, chars) : LoadFromPath(path);
}

Module LoadLibraryW(const char16_t* path) noexcept
{
    return LoadLibraryExW(path, 0);
}

bool FreeLibrary(Module module) noexcept
{
    if (AsBuiltIn(module))
        return true;
    const std::lock_guard guard(loaderLock);
    void* const handle = UncountLoad(module);
    if (!handle)
        return Fail(ERROR_INVALID_HANDLE);
    const LastErrorKeeper keeper;
    dlclose(handle);
    return true;
}

std::uint32_t SetErrorMode(std::uint32_t mode) noexcept
{
    static constinit std::atomic<std::uint32_t> current{0};
    return current.exchange(mode);
}

} // namespace Platform

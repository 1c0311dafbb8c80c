// Modules: shared objects in this process, loaded and found at run time, and a few that live inside this
// layer ("KERNEL32.DLL"). Failures leave the thread's last error as described; nothing throws.
//
// Loads and frees are made one after the other, whatever the thread; a module's constructors and
// destructors run inside, and may load and free themselves. A constructor that throws ends the process:
// the system's loader has no way back from there.
#pragma once

#include "platform/kernel.h"

namespace Platform {

// A loaded module. Freed ones are told with ERROR_INVALID_HANDLE, until another takes their place.
enum class Module : std::uint64_t {};
constexpr Module NULL_MODULE{0};

using FARPROC = void (*)();

constexpr std::uint32_t LOAD_WITH_ALTERED_SEARCH_PATH = 8;

constexpr std::uint32_t GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT = 2;
constexpr std::uint32_t GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS = 4;

constexpr std::uint32_t SEM_FAILCRITICALERRORS = 1;

// ---- Loading

// Loads the module, or counts one that is loaded already. All its symbols are bound at once, and none
// becomes visible to other modules. The only flag, LOAD_WITH_ALTERED_SEARCH_PATH, changes nothing: what a
// module depends on is found by its own run path. A name without a separator is looked for where the
// system keeps its libraries, never in the working folder.
// NULL_MODULE on failure, and GetLoadFailure tells the reason in words:
//     ERROR_MOD_NOT_FOUND      the file, or one that it depends on, is missing
//     ERROR_BAD_EXE_FORMAT     no module of this machine: another kind of file, a folder, pipe or device
//     ERROR_PROC_NOT_FOUND     a symbol that it needs is nowhere
// or what keeps the file from being read. Nothing is ever waited for.
Module LoadLibraryExW(const char16_t* path, std::uint32_t flags) noexcept;
Module LoadLibraryW(const char16_t* path) noexcept;

// Takes one load back. With the last one the module's destructors run and it leaves memory, unless
// something pins it: see IsModuleMapped.
bool FreeLibrary(Module module) noexcept;

// The address of a symbol that the module itself defines; null with ERROR_PROC_NOT_FOUND for any other, also
// for those of modules that it depends on.
FARPROC GetProcAddress(Module module, const char* name) noexcept;

// The loader's own words on the calling thread's last failed load. Written with a terminator as far as the
// capacity (in chars) goes; returns the length written. Empty when its last load succeeded, or so
// many others failed meanwhile that the words are gone.
std::uint32_t GetLoadFailure(char16_t* buffer, std::uint32_t capacity) noexcept;
// Words of a caller who found that a module, although it was loaded, is not what was wanted.
void SetLoadFailure(const char* words) noexcept;

// Keeps all other threads from loading and freeing, for a scope; recursive. For whoever holds a lock of its
// own while it loads: this one is taken first, because a module's constructors run under it and may want the
// other lock too.
class LoaderLock {
public:
    LoaderLock() noexcept;
    ~LoaderLock();
    LoaderLock(const LoaderLock&) = delete;
    LoaderLock& operator=(const LoaderLock&) = delete;
};

// A number that is kept for the process and returned by the next call: here nothing ever asks the user.
std::uint32_t SetErrorMode(std::uint32_t mode) noexcept;

// ---- Finding

// The path text of the module's file as it was loaded, links not resolved; of the executable for
// NULL_MODULE, links resolved. Returns its length. A text that does not fit is cut, and the result is the
// capacity, with ERROR_INSUFFICIENT_BUFFER. 0 on failure. Modules inside this layer have its own file.
std::uint32_t GetModuleFileNameW(Module module, char16_t* buffer, std::uint32_t capacity) noexcept;

// The loaded module of this file name or path, not counted; of the executable for null. NULL_MODULE with
// ERROR_MOD_NOT_FOUND. Case counts but for the modules inside this layer.
Module GetModuleHandleW(const char16_t* name) noexcept;

// The same, or with GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS the module that the address lies in. It is counted
// as if it had been loaded, unless GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT is given; there is no other
// flag.
bool GetModuleHandleExW(std::uint32_t flags, const void* nameOrAddress, Module* module) noexcept;

// Whether a module that was loaded from this file is still in memory.
bool IsModuleMapped(const char16_t* path) noexcept;
// Whether the address belongs to any module.
bool IsModuleAddress(const void* address) noexcept;

// Whether a call that the calling thread has not returned from goes through the module: then it must not be
// freed here. Costs a walk over the thread's stack; tells nothing about other threads.
bool CallStackEnters(Module module) noexcept;

// ---- For the library itself

// Makes the symbols of the module that holds this layer visible to all modules, however it was loaded: a
// module that catches what another one throws must find one definition of the type. For the library's
// first constructor, which also is the moment to note the path that it was loaded by.
bool MakeOwnModuleGlobal() noexcept;

} // namespace Platform

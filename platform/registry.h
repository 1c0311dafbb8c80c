// The registry: a tree of keys with typed values, kept on disk, shared by all processes of the machine.
//
// Below HKEY_CURRENT_USER lies the user's own hive, which lets nobody else in; below HKEY_LOCAL_MACHINE the
// machine's, which everybody reads and the administrator writes. The environment variable TESSEL_REGISTRY
// names a folder that holds both in their place (it is not heard in a program that runs with more rights
// than its caller has).
//
// Results are error codes, ERROR_SUCCESS first; the last error means nothing here. From any operation:
//   ERROR_INVALID_PARAMETER  a null, a name or a length that is not allowed; a reserved argument that is used
//   ERROR_INVALID_HANDLE     the handle is closed or no key's
//   ERROR_ACCESS_DENIED      the handle lacks the right, or the caller may not touch the hive; also where a
//                            user's hive is another's or could be written by others
//   ERROR_KEY_DELETED        the handle's key was deleted since it was opened, by whatever process
//   ERROR_INVALID_DATA       what lies on disk is none of this store's making, or damaged
//   and what the system answers: ERROR_DISK_FULL, ERROR_IO_DEVICE, ERROR_NOT_ENOUGH_MEMORY, ...
//
// Names are UTF-16 and found without regard to case (ToLower); each keeps the form in which it was first
// written. A key's name has 1 to 255 chars, all but the backslash, which separates levels in a path; empty
// levels in a path count for nothing. A value's name has 0 to 16383 chars, and no name is the empty name.
// There are at most 512 levels.
//
// Any thread may call anything. A change is seen by all other processes as soon as the call returns, and
// each set, creation and deletion is done wholly or not at all, whatever kills the process and when. A cut
// of the power can take the changes of the last moments with it (about half a minute, as the system is set):
// each value is then one that was set before, and whole.
//
// Class names, security descriptors and times of last writing are not kept: their arguments are null.
#pragma once

#include "platform/kernel.h"

#include <cstdint>

namespace Platform {

// Handles of the two roots: always open, never closed.
constexpr Handle HKEY_CURRENT_USER{0x80000001};
constexpr Handle HKEY_LOCAL_MACHINE{0x80000002};

// Rights of a key's handle. A handle with a right to write can be had only by who may write the hive.
constexpr std::uint32_t KEY_QUERY_VALUE = 0x0001;
constexpr std::uint32_t KEY_SET_VALUE = 0x0002;
constexpr std::uint32_t KEY_CREATE_SUB_KEY = 0x0004;
constexpr std::uint32_t KEY_ENUMERATE_SUB_KEYS = 0x0008;
constexpr std::uint32_t KEY_READ = 0x20019;
constexpr std::uint32_t KEY_WRITE = 0x20006;

// Types of values. The store keeps any number as it is, and never looks at the bytes.
constexpr std::uint32_t REG_NONE = 0;
constexpr std::uint32_t REG_SZ = 1;
constexpr std::uint32_t REG_EXPAND_SZ = 2;
constexpr std::uint32_t REG_BINARY = 3;
constexpr std::uint32_t REG_DWORD = 4;
constexpr std::uint32_t REG_MULTI_SZ = 7;
constexpr std::uint32_t REG_QWORD = 11;

constexpr std::uint32_t REG_CREATED_NEW_KEY = 1;
constexpr std::uint32_t REG_OPENED_EXISTING_KEY = 2;

// ---- Keys

// Opens the key at `path` below `key` (`key` itself once more if the path is null or empty). The caller
// closes *opened, which is NULL_HANDLE on failure. ERROR_FILE_NOT_FOUND if there is no such key; that the
// hive itself was never written is the same.
std::uint32_t RegOpenKeyExW(
    Handle key, const char16_t* path, std::uint32_t options, std::uint32_t access, Handle* opened) noexcept;

// The same, but makes what is missing of the path; levels that it made stay if a later one fails.
// `disposition` (may be null) tells whether the last level was made. `options` is 0. A `key` below which
// something is to be made needs KEY_CREATE_SUB_KEY.
std::uint32_t RegCreateKeyExW(Handle key, const char16_t* path, std::uint32_t reserved,
    const char16_t* className, std::uint32_t options, std::uint32_t access, const void* security,
    Handle* opened, std::uint32_t* disposition) noexcept;

// Ends the handle; calls of other threads that use it at this moment are not disturbed. The two roots
// stay open, with ERROR_SUCCESS.
std::uint32_t RegCloseKey(Handle key) noexcept;

// Deletes the key at `path` below `key` with its values. ERROR_ACCESS_DENIED if it has subkeys,
// ERROR_FILE_NOT_FOUND if there is none. Asks for no right of the handle `key`, but the caller must be
// allowed to write the hive.
std::uint32_t RegDeleteKeyW(Handle key, const char16_t* path) noexcept;

// ---- Values

// Gives type, size and bytes, as they were set together. Every pointer but *name* may be null on its own,
// with one exception: `data` needs `bytes`, which holds the room there in bytes. *bytes becomes the size of
// the value also where it is larger than the room: then ERROR_MORE_DATA if there is a `data`, whose content
// means nothing after any failure. ERROR_FILE_NOT_FOUND if there is no such value. Needs KEY_QUERY_VALUE.
std::uint32_t RegQueryValueExW(Handle key, const char16_t* name, std::uint32_t* reserved, std::uint32_t* type,
    void* data, std::uint32_t* bytes) noexcept;

// Makes the value or replaces its type and bytes. A value that is there keeps its name as first written.
// A null `data` needs a size of 0. After a failure the value is what it was. Needs KEY_SET_VALUE.
std::uint32_t RegSetValueExW(Handle key, const char16_t* name, std::uint32_t reserved, std::uint32_t type,
    const void* data, std::uint32_t bytes) noexcept;

// ERROR_FILE_NOT_FOUND if there is no such value. Needs KEY_SET_VALUE.
std::uint32_t RegDeleteValueW(Handle key, const char16_t* name) noexcept;

// ---- What a key holds

// Each pointer may be null. Lengths are in chars, terminator not counted. `longestValue` is not kept track
// of and has to be null. Needs KEY_QUERY_VALUE.
std::uint32_t RegQueryInfoKeyW(Handle key, char16_t* className, std::uint32_t* classChars,
    std::uint32_t* reserved, std::uint32_t* subKeys, std::uint32_t* longestSubKey,
    std::uint32_t* longestClass, std::uint32_t* values, std::uint32_t* longestValueName,
    std::uint32_t* longestValue, std::uint32_t* securityBytes, void* lastWriteTime) noexcept;

// The names of the subkeys, and of the values with what RegQueryValueExW gives, by an index from 0 to the
// first ERROR_NO_MORE_ITEMS; no order is promised. Index 0 begins an enumeration of what is there now. From
// then on the handle goes by that list: what others add is not told, what is deleted before its turn is
// passed over, and everything else comes exactly once. Who deletes what it finds asks for index 0 again and
// again, and gets ERROR_NO_MORE_ITEMS when the key is empty at last. What is damaged is passed over.
//
// *chars is the room at `name` with the terminator, and becomes the length of the name without it, also with
// ERROR_MORE_DATA, where something does not fit. Need KEY_ENUMERATE_SUB_KEYS and KEY_QUERY_VALUE.
std::uint32_t RegEnumKeyExW(Handle key, std::uint32_t index, char16_t* name, std::uint32_t* chars,
    std::uint32_t* reserved, char16_t* className, std::uint32_t* classChars, void* lastWriteTime) noexcept;
std::uint32_t RegEnumValueW(Handle key, std::uint32_t index, char16_t* name, std::uint32_t* chars,
    std::uint32_t* reserved, std::uint32_t* type, void* data, std::uint32_t* bytes) noexcept;

} // namespace Platform

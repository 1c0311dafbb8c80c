// What all open objects of the platform have in common: a handle is closed once, and may be given on
// under a second number with fewer rights. Safe from any thread; a closed, invented or reused number
// is told with ERROR_INVALID_HANDLE and never followed.
#pragma once

#include "platform/kernel.h"

namespace Platform {

// The rights of a handle, beside those of its kind.
constexpr std::uint32_t DELETE_ACCESS = 0x00010000;
constexpr std::uint32_t SYNCHRONIZE = 0x00100000;
constexpr std::uint32_t GENERIC_WRITE = 0x40000000;
constexpr std::uint32_t GENERIC_READ = 0x80000000;

constexpr std::uint32_t DUPLICATE_CLOSE_SOURCE = 1;
constexpr std::uint32_t DUPLICATE_SAME_ACCESS = 2;

// Ends the handle. Calls of other threads that use it at this moment are not disturbed: the object goes
// with the last of them. The handle of a search belongs to FindClose, that of a window to DestroyWindow: both
// are refused.
bool CloseHandle(Handle handle) noexcept;

// Makes a second handle of the same object. Its rights are `access`, or those of the source with
// DUPLICATE_SAME_ACCESS; a right that the source lacks is ERROR_ACCESS_DENIED. With
// DUPLICATE_CLOSE_SOURCE the source is closed, also when the call fails. *duplicate is NULL_HANDLE on
// failure.
bool DuplicateHandle(Handle source, Handle* duplicate, std::uint32_t access, std::uint32_t options) noexcept;

} // namespace Platform

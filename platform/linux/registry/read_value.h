// Reading a value's file while others may be writing it, and handing on what was found.
#pragma once

#include "platform/linux/registry/key_folder.h"
#include "platform/linux/registry/value_file.h"

namespace Platform::Registry {

// Reads the file of this name in the key's folder, as ValueFile::Read does. ERROR_FILE_NOT_FOUND if there is
// none or nothing in it, ERROR_INVALID_DATA if it is damaged or another kind of thing.
Code ReadValue(
    KeyFolder& key, const char* fileName, ValueFile& file, void* room, std::uint32_t roomBytes) noexcept;

// Where a caller wants type, bytes and size; each may be null.
struct ValueOutput {
    std::uint32_t* type;
    void* data;
    std::uint32_t* bytes; // the room at `data`, then the size of the value

    std::uint32_t Room() const noexcept { return data ? *bytes : 0; }
    // `from` holds the bytes if they fit, and may be `data`.
    Code Give(std::uint32_t valueType, const void* from, std::uint32_t size) const noexcept;
};

} // namespace Platform::Registry

// What stands at a place: kind, times and size, as far as the platform's attributes tell it.
#pragma once

#include "platform/files.h"

#include <sys/stat.h>

namespace Platform {

struct EntryStatus {
    std::uint32_t attributes;
    FILETIME creation;
    FILETIME lastAccess;
    FILETIME lastWrite;
    std::uint64_t size; // 0 for a folder
};

// Reads the status of an entry; for a link that of its target, with FILE_ATTRIBUTE_REPARSE_POINT, or if
// that cannot be reached the link's own. False with errno.
bool ReadEntryStatus(int folder, const char* name, bool hidden, EntryStatus& status) noexcept;

// When an entry was made: the earlier of last write and last change if the file system does not know.
FILETIME CreationTime(const struct statx& status) noexcept;

} // namespace Platform

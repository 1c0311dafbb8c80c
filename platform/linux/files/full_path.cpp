// Path texts made from the working folder and from other path texts.
#include "platform/files.h"

#include "platform/errors.h"
#include "platform/linux/files/calls.h"
#include "platform/linux/files/disk_path.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace Platform {

namespace {

// Gives a text length, or a failure; DiskPathToText says 0 when there is no memory.
std::uint32_t GiveText(std::size_t chars) noexcept
{
    if (chars == 0)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return static_cast<std::uint32_t>(chars);
}

// Joins a relative path to a folder; each leading ".." takes one name off the folder.
std::size_t Join(char* folder, const char* relative) noexcept
{
    std::size_t bytes = std::strlen(folder);
    while (std::strncmp(relative, "..", 2) == 0 && (relative[2] == '/' || relative[2] == '\0')) {
        while (bytes > 1 && folder[--bytes] != '/') { }
        relative += relative[2] == '/' ? 3 : 2;
    }
    if (*relative == '\0' || std::strcmp(relative, ".") == 0)
        return bytes == 0 ? 1 : bytes;
    if (bytes != 1 || folder[0] != '/')
        folder[bytes++] = '/';
    const std::size_t added = std::strlen(relative);
    std::copy_n(relative, added, folder + bytes);
    return bytes + added;
}

} // namespace

std::uint32_t GetFullPathNameW(const char16_t* path, std::uint32_t capacity, char16_t* buffer) noexcept
{
    DiskPath place;
    if (!place.SetWithoutWalk(path))
        return 0;
    const std::size_t bytes = std::strlen(place.Name());
    if (place.IsAbsolute())
        return GiveText(DiskPathToText(place.Name(), bytes, place.IsNetwork(), buffer, capacity));
    InlineBuffer<char, PATH_MAX + 1024> joined;
    char* const folder = joined.Reserve(PATH_MAX + 1 + bytes);
    if (!folder)
        return GiveText(0);
    if (!Seam::WorkingFolder(folder, PATH_MAX)) {
        FailWithErrno();
        return 0;
    }
    return GiveText(DiskPathToText(folder, Join(folder, place.Name()), false, buffer, capacity));
}

std::uint32_t GetCurrentDirectoryW(std::uint32_t capacity, char16_t* buffer) noexcept
{
    return GetFullPathNameW(u".", capacity, buffer);
}

} // namespace Platform

#include "platform/linux/files/disk_path.h"

#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/linux/files/calls.h"
#include "platform/linux/files/name_mapping.h"
#include "platform/text.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace Platform {

namespace {

constexpr char networkRoot[] = "/net";
constexpr std::size_t networkRootBytes = sizeof networkRoot - 1;

const char16_t* ComponentEnd(const char16_t* text, const char16_t* end) noexcept
{
    return std::find_if(text, end, IsSeparator);
}

const char16_t* SkipSeparators(const char16_t* text, const char16_t* end) noexcept
{
    return std::find_if_not(text, end, IsSeparator);
}

constexpr bool IsAsciiLetter(char16_t unit)
{
    return (unit | 0x20) >= u'a' && (unit | 0x20) <= u'z';
}

} // namespace

bool DiskPath::Set(const char16_t* text) noexcept
{
    return Set(text, text ? wcslen(text) : 0);
}

bool DiskPath::Set(const char16_t* text, std::size_t chars) noexcept
{
    return SetWithoutWalk(text, chars) && Walk();
}

bool DiskPath::SetWithoutWalk(const char16_t* text) noexcept
{
    return SetWithoutWalk(text, text ? wcslen(text) : 0);
}

bool DiskPath::SetWithoutWalk(const char16_t* text, std::size_t chars) noexcept
{
    if (chars == 0)
        return Fail(ERROR_PATH_NOT_FOUND);
    if (chars > maximumPathChars)
        return Fail(ERROR_FILENAME_EXCED_RANGE);
    start = end = buffer.Reserve(3 * chars + networkRootBytes + 2);
    if (!start)
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    onTheWay.Close();
    const char16_t* const textEnd = text + chars;
    if (!SetRoot(text, textEnd))
        return false;
    for (text = SkipSeparators(text, textEnd); text != textEnd; text = SkipSeparators(text, textEnd)) {
        const char16_t* const component = text;
        text = ComponentEnd(text, textEnd);
        if (!AddComponent(component, static_cast<std::size_t>(text - component)))
            return false;
    }
    if (end == start)
        *end++ = absolute ? '/' : '.';
    *end = '\0';
    name = start;
    return true;
}

// Takes the root off the text, and leaves `floor` where the names below it begin.
bool DiskPath::SetRoot(const char16_t*& text, const char16_t* textEnd) noexcept
{
    const std::size_t chars = static_cast<std::size_t>(textEnd - text);
    network = false;
    floor = end;
    if (chars >= 2 && IsAsciiLetter(text[0]) && text[1] == u':') {
        absolute = true;
        if ((text[0] | 0x20) != u'c')
            return Fail(ERROR_PATH_NOT_FOUND);
        text += 2;
        return true;
    }
    absolute = IsSeparator(text[0]);
    if (chars < 3 || !absolute || !IsSeparator(text[1]) || IsSeparator(text[2]))
        return true;
    network = true;
    end = std::copy_n(networkRoot, networkRootBytes, end);
    for (int part = 0; part < 2; ++part) { // server and share
        const char16_t* const component = SkipSeparators(text, textEnd);
        text = ComponentEnd(component, textEnd);
        floor = end;
        if (!AddComponent(component, static_cast<std::size_t>(text - component)))
            return false;
        if (end == floor)
            return Fail(ERROR_PATH_NOT_FOUND);
    }
    floor = end;
    return true;
}

bool DiskPath::AddComponent(const char16_t* component, std::size_t chars) noexcept
{
    if (chars == 0 || (chars == 1 && component[0] == u'.'))
        return true;
    if (chars == 2 && component[0] == u'.' && component[1] == u'.') {
        GoUp();
        return true;
    }
    char* target = end;
    if (absolute || end != start)
        *target++ = '/';
    const std::size_t bytes = NameToDisk(component, chars, target);
    if (bytes == 0)
        return Fail(ERROR_INVALID_NAME);
    end = target + bytes;
    return true;
}

// Above the root there is the root. Above the working folder there are its parents, and only the system
// knows their names: these ".." stay, and move the floor.
void DiskPath::GoUp() noexcept
{
    if (end != floor) {
        do
            --end;
        while (end != floor && *end != '/');
    } else if (!absolute) {
        if (end != start)
            *end++ = '/';
        *end++ = '.';
        *end++ = '.';
        floor = end;
    }
}

// The system takes PATH_MAX bytes at once, terminator included; a longer path is walked in pieces.
bool DiskPath::Walk() noexcept
{
    while (end - name >= PATH_MAX) {
        char* slash = name + PATH_MAX - 1;
        while (slash != name && *slash != '/')
            --slash;
        if (slash == name)
            return Fail(ERROR_FILENAME_EXCED_RANGE);
        *slash = '\0';
        Descriptor next(Seam::OpenAt(Folder(), name, O_PATH | O_DIRECTORY));
        if (!next)
            return errno == ENOENT ? Fail(ERROR_PATH_NOT_FOUND) : FailWithErrno();
        onTheWay = std::move(next);
        name = slash + 1;
    }
    return true;
}

int DiskPath::Folder() const noexcept
{
    return onTheWay ? onTheWay.Get() : AT_FDCWD;
}

bool DiskPath::IsHidden() const noexcept
{
    const char* const slash = std::strrchr(name, '/');
    const char* const last = slash ? slash + 1 : name;
    return last[0] == '.' && last[1] != '\0' && std::strcmp(last, "..") != 0;
}

const char* DiskPath::FolderName(InlineBuffer<char, 1024>& room) const noexcept
{
    const char* const slash = std::strrchr(name, '/');
    if (!slash)
        return ".";
    if (slash == name)
        return "/";
    const std::size_t bytes = static_cast<std::size_t>(slash - name);
    char* const folder = room.Reserve(bytes + 1);
    if (folder)
        *std::copy_n(name, bytes, folder) = '\0';
    return folder;
}

bool DiskPath::HasFolder() const noexcept
{
    InlineBuffer<char, 1024> room;
    const char* const folder = FolderName(room);
    struct stat status;
    return folder && Seam::StatAt(Folder(), folder, &status, 0) == 0;
}

bool DiskPath::FailHere() const noexcept
{
    const int number = errno;
    return Fail(number == ENOENT && !HasFolder() ? ERROR_PATH_NOT_FOUND : ErrorFromErrno(number));
}

bool MakeAbsolute(const char* path, char* target, std::size_t capacity) noexcept
{
    std::size_t used = 0;
    if (path[0] != '/') {
        if (!Seam::WorkingFolder(target, capacity))
            return FailWithErrno();
        used = std::strlen(target);
        if (used > 1)
            target[used++] = '/';
    }
    const std::size_t size = std::strlen(path) + 1;
    if (size > capacity - used)
        return Fail(ERROR_FILENAME_EXCED_RANGE);
    std::memcpy(target + used, path, size);
    return true;
}

std::size_t DiskPathToText(
    const char* path, std::size_t bytes, bool network, char16_t* text, std::size_t capacity) noexcept
{
    InlineBuffer<char16_t, 512> buffer;
    char16_t* const mapped = buffer.Reserve(bytes + 2);
    if (!mapped)
        return 0;
    char16_t* end = mapped;
    if (network) {
        path += networkRootBytes;
        bytes -= networkRootBytes;
        *end++ = u'\\';
    } else {
        *end++ = u'C';
        *end++ = u':';
    }
    // No name holds a slash, and no mapped one a backslash: the separators can be changed afterwards.
    char16_t* const names = end;
    end += NameToText(path, bytes, end);
    std::replace(names, end, u'/', u'\\');
    const std::size_t chars = static_cast<std::size_t>(end - mapped);
    if (chars >= capacity)
        return chars + 1;
    *std::copy_n(mapped, chars, text) = u'\0';
    return chars;
}

} // namespace Platform

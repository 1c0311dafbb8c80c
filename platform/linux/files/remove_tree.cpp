// Recursive removal. Each level of the walk holds its folder open and works with names below it, so that
// no step goes through a path that somebody else could bend. A folder is opened without following a link,
// and a name is removed as what it was found to be; what was swapped in between is looked at afresh.
//
// The levels form a stack on the heap, and only the deepest of them are open: one that was closed is opened
// again as the parent of the level above it and recognised by its number, so depth costs neither call stack
// nor descriptors. Reading starts over then; what was removed is not met again.
#include "platform/files.h"

#include "platform/errors.h"
#include "platform/linux/files/calls.h"
#include "platform/linux/files/disk_path.h"
#include "platform/linux/files/folder_reader.h"
#include "platform/linux/files/name_mapping.h"
#include "platform/text.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace Platform {

namespace {

constexpr std::size_t openLevels = 16;
// How often one folder is read again because it is not empty after all that was read has been removed, or one
// name is tried again because it was a folder and then none.
constexpr int patience = 100;

struct Identity {
    std::uint32_t deviceMajor;
    std::uint32_t deviceMinor;
    std::uint64_t number;
    bool isMounted; // the root of a file system

    bool IsSame(const Identity& other) const
    {
        return deviceMajor == other.deviceMajor && deviceMinor == other.deviceMinor && number == other.number;
    }
};

bool Identify(int folder, Identity& identity) noexcept
{
    struct statx status;
    if (Seam::StatAtExtended(folder, "", AT_EMPTY_PATH, STATX_INO, &status) != 0)
        return false;
    identity = {status.stx_dev_major, status.stx_dev_minor, status.stx_ino,
        (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0};
    return true;
}

struct Level {
    std::string name; // in the level below, or what the walk began with
    Identity identity;
    FolderReader reader; // stopped for all but the deepest levels
    bool removedAny = false; // since reading began
    int readings = 0;
};

// Builds a path text in a room that may be too small for it, and counts on.
class CutText {
public:
    CutText(char16_t* target, std::size_t size) noexcept : room(target), capacity(size) { }

    // The text without separators at its end.
    void AppendPath(const char16_t* path) noexcept
    {
        std::size_t chars = wcslen(path);
        while (chars > 0 && IsSeparator(path[chars - 1]))
            --chars;
        Append(path, chars);
    }
    void AppendName(std::string_view name) noexcept
    {
        char16_t mapped[256];
        const std::size_t bytes = std::min(name.size(), std::size(mapped));
        Append(u"\\", 1);
        Append(mapped, NameToText(name.data(), bytes, mapped));
    }
    // Terminates the text and gives the chars that the whole one has.
    std::uint32_t End() noexcept
    {
        if (capacity > 0)
            room[std::min(used, capacity - 1)] = u'\0';
        return static_cast<std::uint32_t>(used);
    }

private:
    void Append(const char16_t* added, std::size_t chars) noexcept
    {
        if (used < capacity)
            std::copy_n(added, std::min(chars, capacity - used), room + used);
        used += chars;
    }

    char16_t* const room;
    const std::size_t capacity;
    std::size_t used = 0;
};

class TreeRemoval {
public:
    TreeRemoval(const DiskPath& top, const char16_t* topText, REMOVE_TREE_FAILURE* told) noexcept
        : place(top), text(topText), failure(told)
    {
    }

    // False with the last error. Throws std::bad_alloc.
    bool Run();
    // Tells the caller which entry it is, in the deepest level, or that level itself; gives false.
    bool TellFailure(const char* name, bool isFolder) const noexcept;

private:
    enum class Entering { Entered, Gone, NoFolder, Failed };

    bool Step();
    bool RemoveEntry(int folder, const char* name, bool maybeFile);
    Entering EnterFolder(int folder, const char* name);
    bool FinishLevel();
    bool ReadAgain(Level& level);
    bool OpenAgain(Level& level, int child);
    bool NoteRemoval() noexcept;
    bool FailAt(const char* name, bool isFolder) noexcept;

    const DiskPath& place;
    const char16_t* const text;
    REMOVE_TREE_FAILURE* const failure;
    std::vector<Level> levels;
};

bool TreeRemoval::Run()
{
    if (!RemoveEntry(place.Folder(), place.Name(), true))
        return false;
    while (!levels.empty())
        if (!Step())
            return false;
    return true;
}

// Takes the next entry of the deepest level, or ends it.
bool TreeRemoval::Step()
{
    Level& level = levels.back();
    FolderEntry entry;
    if (!level.reader.Next(entry))
        return errno == 0 ? FinishLevel() : FailAt(nullptr, true);
    return entry.IsDots() || RemoveEntry(level.reader.Get(), entry.name, entry.kind != DT_DIR);
}

// Removes what is no folder, links among it, and enters what is one.
bool TreeRemoval::RemoveEntry(int folder, const char* name, bool maybeFile)
{
    for (int tries = 0; tries < patience; ++tries) {
        if (maybeFile || tries > 0) {
            // No folder on the way to the top counts as no top; below it there is no such way.
            if (Seam::UnlinkAt(folder, name, 0) == 0 || errno == ENOENT || errno == ENOTDIR)
                return NoteRemoval();
            if (errno != EISDIR)
                return FailAt(name, false);
        }
        switch (EnterFolder(folder, name)) {
        case Entering::Entered:
            return true;
        case Entering::Gone:
            return NoteRemoval();
        case Entering::Failed:
            return FailAt(name, true);
        case Entering::NoFolder: // somebody put something else in its place
            break;
        }
    }
    errno = EBUSY;
    return FailAt(name, false);
}

TreeRemoval::Entering TreeRemoval::EnterFolder(int folder, const char* name)
{
    Level level;
    level.name = name;
    Descriptor opened = OpenFolder(folder, name, O_NOFOLLOW);
    if (!opened && errno == EACCES) // it cannot be read, but may be empty
        return Seam::UnlinkAt(folder, name, AT_REMOVEDIR) == 0 || errno == ENOENT ? Entering::Gone
                                                                                  : Entering::Failed;
    if (!opened)
        return errno == ENOENT                   ? Entering::Gone
            : errno == ENOTDIR || errno == ELOOP ? Entering::NoFolder
                                                 : Entering::Failed;
    if (!Identify(opened.Get(), level.identity) || !level.reader.Start(std::move(opened)))
        return Entering::Failed;
    if (level.identity.isMounted && !levels.empty()) {
        errno = EBUSY;
        return Entering::Failed;
    }
    if (levels.size() >= openLevels)
        levels[levels.size() - openLevels].reader.Stop();
    levels.push_back(std::move(level));
    return Entering::Entered;
}

// The deepest level has been read to its end: its folder goes.
bool TreeRemoval::FinishLevel()
{
    Level& level = levels.back();
    int parent = place.Folder();
    if (levels.size() > 1) {
        Level& below = levels[levels.size() - 2];
        if (!below.reader && !OpenAgain(below, level.reader.Get()))
            return FailAt(nullptr, true);
        parent = below.reader.Get();
    }
    if (Seam::UnlinkAt(parent, level.name.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT) {
        levels.pop_back();
        return NoteRemoval();
    }
    if (errno == ENOTDIR) { // somebody put something else in its place
        const std::string name = std::move(level.name);
        levels.pop_back();
        return RemoveEntry(parent, name.c_str(), true);
    }
    if (errno == EEXIST) // what some file systems say
        errno = ENOTEMPTY;
    return errno == ENOTEMPTY && level.removedAny ? ReadAgain(level) : FailAt(nullptr, true);
}

// Some file systems pass entries over while others are removed, and somebody may have made new ones.
bool TreeRemoval::ReadAgain(Level& level)
{
    level.removedAny = false;
    if (++level.readings < patience && level.reader.Rewind())
        return true;
    if (level.readings == patience)
        errno = ENOTEMPTY;
    return FailAt(nullptr, true);
}

bool TreeRemoval::OpenAgain(Level& level, int child)
{
    Descriptor opened = OpenFolder(child, "..", 0);
    Identity present{};
    if (!opened || !Identify(opened.Get(), present))
        return false;
    if (!present.IsSame(level.identity)) { // the child was moved elsewhere, perhaps out of the tree
        errno = EBUSY;
        return false;
    }
    return level.reader.Start(std::move(opened));
}

bool TreeRemoval::NoteRemoval() noexcept
{
    if (!levels.empty())
        levels.back().removedAny = true;
    return true;
}

bool TreeRemoval::FailAt(const char* name, bool isFolder) noexcept
{
    FailWithErrno();
    return TellFailure(name, isFolder);
}

bool TreeRemoval::TellFailure(const char* name, bool isFolder) const noexcept
{
    if (!failure)
        return false;
    CutText path(failure->path, failure->path ? failure->capacity : 0);
    if (text)
        path.AppendPath(text);
    for (std::size_t i = 1; i < levels.size(); ++i)
        path.AppendName(levels[i].name);
    if (name && !levels.empty())
        path.AppendName(name);
    failure->isFolder = isFolder;
    failure->pathChars = path.End();
    return false;
}

// The whole disk is never meant, and "." cannot be removed.
bool MayBeRemoved(const DiskPath& place) noexcept
{
    const char* const slash = std::strrchr(place.Name(), '/');
    const char* const last = slash ? slash + 1 : place.Name();
    if (*last == '\0')
        return Fail(ERROR_ACCESS_DENIED);
    return (std::strcmp(last, ".") != 0 && std::strcmp(last, "..") != 0) || Fail(ERROR_INVALID_PARAMETER);
}

} // namespace

bool RemoveTreeW(const char16_t* path, REMOVE_TREE_FAILURE* failure) noexcept
{
    const std::uint32_t before = GetLastError();
    DiskPath place;
    TreeRemoval removal(place, path, failure);
    if (!place.Set(path))
        return (GetLastError() == ERROR_PATH_NOT_FOUND && path && *path)
            || removal.TellFailure(nullptr, false);
    if (!MayBeRemoved(place))
        return removal.TellFailure(nullptr, true);
    try {
        if (!removal.Run())
            return false;
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return removal.TellFailure(nullptr, true);
    }
    SetLastError(before);
    return true;
}

} // namespace Platform

// A new key is put together aside, as keys/.new of its parent, and renamed to its place. A key dies when its
// link `name` is removed, which is one step. What is left then is rubbish, which whoever kills the key
// removes; if that is cut short, the next who wants the place does it, or the deletion of the parent.
//
// All this goes on under the parent's lock, so that what is found half done was left by somebody killed. The
// lock of the key that dies keeps others from making subkeys there.
#include "platform/linux/registry/subkeys.h"

#include "platform/errors.h"
#include "platform/linux/files/folder_reader.h"
#include "platform/linux/registry/calls.h"
#include "platform/linux/registry/change.h"

#include <cstring>

namespace Platform::Registry {

namespace {

constexpr char newFolder[] = ".new";

bool IsDotOrDots(const char* name)
{
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

bool IsNotEmpty(int number)
{
    return number == ENOTEMPTY || number == EEXIST;
}

// Calls `visit` with the name of each entry of the folder until it gives something other than ERROR_SUCCESS.
template <class Visit>
Code ForEachEntry(int folder, Visit visit) noexcept
{
    FolderReader reader;
    FolderEntry entry;
    Descriptor opened = OpenFolder(folder, ".");
    if (!opened || !reader.Start(std::move(opened)))
        return CodeOfErrno();
    while (reader.Next(entry))
        if (!IsDotOrDots(entry.name))
            if (const Code code = visit(entry.name))
                return code;
    return errno == 0 ? ERROR_SUCCESS : CodeOfErrno();
}

bool IsNoFolder(int number)
{
    return number == ENOTDIR || number == ELOOP;
}

// Removes what is no living key: the folder with all files in it, or whatever lies there instead.
Code Discard(int parent, const char* name) noexcept
{
    const Descriptor folder = OpenFolder(parent, name);
    if (!folder)
        return IsNoFolder(errno) && Seam::UnlinkAt(parent, name, 0) == 0 ? ERROR_SUCCESS : CodeOfErrno();
    bool removed = true;
    while (Seam::UnlinkAt(parent, name, AT_REMOVEDIR) != 0) {
        // Entries may be missed where others go meanwhile, so once is not always enough.
        if (!IsNotEmpty(errno) || !removed)
            return errno == ENOENT ? ERROR_SUCCESS : CodeOfErrno();
        removed = false;
        const Code code = ForEachEntry(folder.Get(), [&](const char* entry) {
            removed = Seam::UnlinkAt(folder.Get(), entry, 0) == 0 || removed;
            return ERROR_SUCCESS;
        });
        if (code != ERROR_SUCCESS)
            return code;
    }
    return ERROR_SUCCESS;
}

Code MakeFolderFor(int subkeys, std::u16string_view name, Hive hive, Descriptor& folder) noexcept
{
    if (Seam::MakeFolderAt(subkeys, newFolder, FolderMode(hive)) != 0) {
        if (errno != EEXIST)
            return CodeOfErrno();
        if (const Code code = Discard(subkeys, newFolder))
            return code;
        if (Seam::MakeFolderAt(subkeys, newFolder, FolderMode(hive)) != 0)
            return CodeOfErrno();
    }
    folder = OpenFolder(subkeys, newFolder);
    return folder && Seam::SetMode(folder.Get(), FolderMode(hive)) == 0
            && Seam::MakeLinkAt(TextOfName(name).text, folder.Get(), "name") == 0
        ? ERROR_SUCCESS
        : CodeOfErrno();
}

// Opens the folder of the subkeys, which is made for the first one.
Code OpenOrMakeSubkeys(const KeyFolder& parent, Descriptor& subkeys) noexcept
{
    const mode_t mode = FolderMode(parent.GetHive());
    subkeys = parent.OpenSubkeys();
    if (!subkeys && errno == ENOENT && Seam::MakeFolderAt(parent.Get(), "keys", mode) == 0)
        subkeys = parent.OpenSubkeys();
    return subkeys && EnsureMode(subkeys.Get(), mode) ? ERROR_SUCCESS : CodeOfErrno();
}

// Gives the new folder its place.
Code PutInPlace(int subkeys, const char* name) noexcept
{
    if (Seam::RenameAt(subkeys, newFolder, subkeys, name, 0) == 0)
        return ERROR_SUCCESS;
    if (!IsNotEmpty(errno))
        return CodeOfErrno();
    if (const Code code = Discard(subkeys, name)) // no key lives there
        return code;
    return Seam::RenameAt(subkeys, newFolder, subkeys, name, 0) == 0 ? ERROR_SUCCESS : CodeOfErrno();
}

// Frees the folder of the subkeys from rubbish; ERROR_ACCESS_DENIED if it meets a living subkey.
Code DiscardDead(const KeyFolder& key) noexcept
{
    const Descriptor subkeys = key.OpenSubkeys();
    if (!subkeys)
        return CodeOfErrno();
    return ForEachEntry(subkeys.Get(), [&](const char* name) {
        if (std::strcmp(name, newFolder) == 0)
            return Discard(subkeys.Get(), name);
        const KeyFolder subkey(OpenFolder(subkeys.Get(), name), key.GetHive(), 0);
        const bool isFolder = subkey.Get() >= 0;
        if (isFolder && subkey.IsAlive())
            return ERROR_ACCESS_DENIED;
        const bool isRubbish = isFolder ? errno == ENOENT : IsNoFolder(errno);
        return isRubbish ? Discard(subkeys.Get(), name) : CodeOfErrno(); // else it may well be alive
    });
}

// Removes the folder of the subkeys. ERROR_ACCESS_DENIED if there are any.
Code RemoveSubkeys(const KeyFolder& key) noexcept
{
    for (bool swept = false;; swept = true) {
        if (Seam::UnlinkAt(key.Get(), "keys", AT_REMOVEDIR) == 0 || errno == ENOENT)
            return ERROR_SUCCESS;
        if (swept || !IsNotEmpty(errno))
            return CodeOfErrno();
        if (const Code code = DiscardDead(key))
            return code;
    }
}

} // namespace

Code MakeSubkey(KeyFolder& parent, std::u16string_view name, KeyFolder& subkey, bool& made) noexcept
{
    made = false;
    Change change(parent);
    if (const Code code = change.Begin())
        return code;
    if (const Code code = parent.OpenSubkey(name, subkey); code != ERROR_FILE_NOT_FOUND)
        return code;
    if (const Code code = change.Announce(true))
        return code;
    Descriptor subkeys;
    if (const Code code = OpenOrMakeSubkeys(parent, subkeys))
        return code;
    Descriptor folder;
    Code code = MakeFolderFor(subkeys.Get(), name, parent.GetHive(), folder);
    if (code == ERROR_SUCCESS)
        code = PutInPlace(subkeys.Get(), FileNameOfKey(name).text);
    if (code != ERROR_SUCCESS) {
        Discard(subkeys.Get(), newFolder);
        return code;
    }
    subkey = KeyFolder(std::move(folder), parent.GetHive(), parent.Level() + 1);
    made = true;
    return ERROR_SUCCESS;
}

Code DeleteSubkey(KeyFolder& parent, std::u16string_view name) noexcept
{
    Change outer(parent);
    if (const Code code = outer.Begin())
        return code;
    KeyFolder subkey;
    if (const Code code = parent.OpenSubkey(name, subkey))
        return code;
    Change inner(subkey);
    if (const Code code = inner.Begin())
        return code;
    if (const Code code = outer.Announce(true))
        return code;
    if (const Code code = inner.Announce(true))
        return code;
    if (const Code code = RemoveSubkeys(subkey))
        return code;
    if (Seam::UnlinkAt(subkey.Get(), "name", 0) != 0)
        return CodeOfErrno();
    inner.LeaveOpen();
    // The key is gone, whatever becomes of its rubbish now.
    if (const Descriptor subkeys = parent.OpenSubkeys())
        Discard(subkeys.Get(), FileNameOfKey(name).text);
    return ERROR_SUCCESS;
}

} // namespace Platform::Registry

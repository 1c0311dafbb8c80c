// The operations on keys.
#include "platform/linux/registry/open_key.h"
#include "platform/linux/registry/subkeys.h"
#include "platform/registry.h"
#include "platform/text.h"

namespace Platform {

using namespace Registry;

namespace {

constexpr unsigned deepestLevel = 512;
constexpr char16_t separator = u'\\';

// The levels of a path, one after the other.
class Path {
public:
    explicit Path(const char16_t* text) noexcept : rest(text ? std::u16string_view(text, wcslen(text)) : u"")
    {
        SkipSeparators();
    }

    bool IsAtEnd() const noexcept { return rest.empty(); }

    std::u16string_view Next() noexcept
    {
        const std::u16string_view level = rest.substr(0, rest.find(separator));
        rest.remove_prefix(level.size());
        SkipSeparators();
        return level;
    }

    // Whether keys of these names can exist below a key at this level.
    bool IsPossibleBelow(unsigned level) const noexcept
    {
        for (Path left = *this; !left.IsAtEnd(); ++level)
            if (left.Next().size() > keyNameLimit)
                return false;
        return level <= deepestLevel;
    }

private:
    void SkipSeparators() noexcept
    {
        while (!rest.empty() && rest.front() == separator)
            rest.remove_prefix(1);
    }

    std::u16string_view rest;
};

// Opens the key at the end of the path, a key of its own also if there is no level in it.
Code Walk(const KeyFolder& from, Path path, KeyFolder& reached) noexcept
{
    if (path.IsAtEnd())
        return from.OpenAgain(reached);
    if (const Code code = from.OpenSubkey(path.Next(), reached))
        return code;
    while (!path.IsAtEnd()) {
        const Code code = reached.OpenSubkey(path.Next(), reached);
        if (code != ERROR_SUCCESS) // a key on the way that died is nobody's handle
            return code == ERROR_KEY_DELETED ? ERROR_FILE_NOT_FOUND : code;
    }
    return ERROR_SUCCESS;
}

// The same, and makes what is missing. ERROR_KEY_DELETED if any key on the way died meanwhile.
Code WalkAndMake(OpenKey& from, Path path, KeyFolder& reached, bool mayMakeBelow, bool& made) noexcept
{
    made = false;
    std::u16string_view level = path.Next();
    Code code = from.folder.OpenSubkey(level, reached);
    if (code == ERROR_FILE_NOT_FOUND) {
        if (!mayMakeBelow)
            return ERROR_ACCESS_DENIED;
        const std::lock_guard guard(from.guard);
        code = MakeSubkey(from.folder, level, reached, made);
    }
    while (code == ERROR_SUCCESS && !path.IsAtEnd()) {
        level = path.Next();
        KeyFolder next;
        made = false;
        code = reached.OpenSubkey(level, next);
        if (code == ERROR_FILE_NOT_FOUND)
            code = MakeSubkey(reached, level, next, made);
        reached = std::move(next);
    }
    return code;
}

Code GiveHandle(KeyFolder folder, std::uint32_t access, Handle* opened) noexcept
{
    if ((access & (KEY_SET_VALUE | KEY_CREATE_SUB_KEY)) != 0)
        if (const Code code = folder.CheckWritable())
            return code;
    OpenKey* const key = new (std::nothrow) OpenKey(std::move(folder));
    if (!key)
        return ERROR_NOT_ENOUGH_MEMORY;
    *opened = MakeHandle(ObjectRef<OpenKey>::Adopt(key), access);
    return *opened != NULL_HANDLE ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

bool IsRoot(Handle key)
{
    return key == HKEY_CURRENT_USER || key == HKEY_LOCAL_MACHINE;
}

} // namespace

std::uint32_t RegOpenKeyExW(
    Handle key, const char16_t* path, std::uint32_t options, std::uint32_t access, Handle* opened) noexcept
{
    if (!opened)
        return ERROR_INVALID_PARAMETER;
    *opened = NULL_HANDLE;
    ObjectRef<OpenKey> from;
    if (const Code code = FindKey(key, 0, MissingHive::Fails, from))
        return code;
    const Path levels(path);
    if (options != 0 || !levels.IsPossibleBelow(from->folder.Level()))
        return ERROR_INVALID_PARAMETER;
    KeyFolder reached;
    if (const Code code = Walk(from->folder, levels, reached))
        return code;
    return GiveHandle(std::move(reached), access, opened);
}

std::uint32_t RegCreateKeyExW(Handle key, const char16_t* path, std::uint32_t reserved,
    const char16_t* className, std::uint32_t options, std::uint32_t access, const void* security,
    Handle* opened, std::uint32_t* disposition) noexcept
{
    if (!opened)
        return ERROR_INVALID_PARAMETER;
    *opened = NULL_HANDLE;
    ObjectRef<OpenKey> from;
    if (const Code code = FindKey(key, 0, MissingHive::IsMade, from))
        return code;
    const Path levels(path);
    if (reserved != 0 || className || options != 0 || security
        || !levels.IsPossibleBelow(from->folder.Level()))
        return ERROR_INVALID_PARAMETER;
    const bool mayMakeBelow = IsRoot(key) || FindHandle<OpenKey>(key, KEY_CREATE_SUB_KEY);
    KeyFolder reached;
    bool made = false;
    Code code = levels.IsAtEnd() ? from->folder.OpenAgain(reached) : ERROR_KEY_DELETED;
    // A key on the way that somebody deletes is made again, as long as the one where the way begins is there.
    while (code == ERROR_KEY_DELETED && from->folder.IsAlive())
        code = WalkAndMake(*from, levels, reached, mayMakeBelow, made);
    if (code != ERROR_SUCCESS)
        return code;
    if (disposition)
        *disposition = made ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return GiveHandle(std::move(reached), access, opened);
}

std::uint32_t RegCloseKey(Handle key) noexcept
{
    return IsRoot(key) || CloseHandleOfKind(key, ObjectKind::Key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

std::uint32_t RegDeleteKeyW(Handle key, const char16_t* path) noexcept
{
    ObjectRef<OpenKey> from;
    if (const Code code = FindKey(key, 0, MissingHive::Fails, from))
        return code;
    Path levels(path);
    if (levels.IsAtEnd() || !levels.IsPossibleBelow(from->folder.Level()))
        return ERROR_INVALID_PARAMETER;
    std::u16string_view level = levels.Next();
    if (levels.IsAtEnd()) {
        const std::lock_guard guard(from->guard);
        return DeleteSubkey(from->folder, level);
    }
    KeyFolder parent;
    Code code = from->folder.OpenSubkey(level, parent);
    for (level = levels.Next(); code == ERROR_SUCCESS; level = levels.Next()) {
        code = levels.IsAtEnd() ? DeleteSubkey(parent, level) : parent.OpenSubkey(level, parent);
        if (code == ERROR_KEY_DELETED)
            code = ERROR_FILE_NOT_FOUND;
        if (levels.IsAtEnd())
            return code;
    }
    return code;
}

} // namespace Platform

// Searches: a folder that is being read and the pattern that its entries must match, or one entry that
// was asked for by its name.
#include "platform/files.h"

#include "platform/errors.h"
#include "platform/linux/files/calls.h"
#include "platform/linux/files/disk_path.h"
#include "platform/linux/files/entry_status.h"
#include "platform/linux/files/folder_reader.h"
#include "platform/linux/files/name_mapping.h"
#include "platform/linux/files/pattern.h"
#include "platform/linux/handles/handle_table.h"
#include "platform/text.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>

namespace Platform {

namespace {

// A name on disk has at most 255 bytes, and never more chars than bytes.
constexpr std::size_t maximumNameBytes = 255;
static_assert(maximumNameBytes < MAX_PATH);

void Fill(const EntryStatus& status, WIN32_FIND_DATAW& found) noexcept
{
    found.dwFileAttributes = status.attributes;
    found.ftCreationTime = status.creation;
    found.ftLastAccessTime = status.lastAccess;
    found.ftLastWriteTime = status.lastWrite;
    found.nFileSizeHigh = static_cast<std::uint32_t>(status.size >> 32);
    found.nFileSizeLow = static_cast<std::uint32_t>(status.size);
}

EntryStatus StatusFromKind(unsigned char kind, bool hidden) noexcept
{
    EntryStatus status{};
    status.attributes = kind == DT_DIR ? FILE_ATTRIBUTE_DIRECTORY
        : kind == DT_LNK               ? FILE_ATTRIBUTE_REPARSE_POINT
        : kind == DT_REG               ? 0
                                       : FILE_ATTRIBUTE_DEVICE;
    if (hidden)
        status.attributes |= FILE_ATTRIBUTE_HIDDEN;
    if (status.attributes == 0)
        status.attributes = FILE_ATTRIBUTE_NORMAL;
    return status;
}

class Search final : public CountedObject {
public:
    static constexpr ObjectKind objectKind = ObjectKind::Find;

    explicit Search(FINDEX_INFO_LEVELS wanted) noexcept : CountedObject(objectKind), level(wanted) { }

    // False with the last error; one search is started once, by one thread.
    bool Start(const DiskPath& folder, const char16_t* name, std::size_t chars) noexcept;
    // False with `atEnd` when no entry is left, or what else the system answers.
    bool Next(std::uint32_t atEnd, WIN32_FIND_DATAW& found) noexcept;

private:
    bool Take(const FolderEntry& entry, WIN32_FIND_DATAW& found) noexcept;

    const FINDEX_INFO_LEVELS level;
    std::mutex lock; // guards the fields below while entries are read; nothing is taken under it
    FolderReader reader;
    Pattern pattern;
};

bool Search::Start(const DiskPath& folder, const char16_t* name, std::size_t chars) noexcept
{
    if (!pattern.Set(name, chars))
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    Descriptor opened = OpenFolder(folder.Folder(), folder.Name(), 0);
    if (!opened)
        return errno == ENOENT ? Fail(ERROR_PATH_NOT_FOUND) : FailWithErrno();
    return reader.Start(std::move(opened)) || FailWithErrno();
}

bool Search::Next(std::uint32_t atEnd, WIN32_FIND_DATAW& found) noexcept
{
    const std::lock_guard guard(lock);
    if (!reader) // the search for one entry, which has been given out
        return Fail(atEnd);
    FolderEntry entry;
    while (reader.Next(entry))
        if (Take(entry, found))
            return true;
    return errno == 0 ? Fail(atEnd) : FailWithErrno();
}

// An entry that has gone since it was listed is passed over.
bool Search::Take(const FolderEntry& entry, WIN32_FIND_DATAW& found) noexcept
{
    if (entry.bytes > maximumNameBytes || (entry.IsDots() && !pattern.MatchesAll()))
        return false;
    const std::size_t chars = NameToText(entry.name, entry.bytes, found.cFileName);
    found.cFileName[chars] = u'\0';
    if (!pattern.Matches(found.cFileName, chars))
        return false;
    const bool hidden = entry.name[0] == '.' && !entry.IsDots();
    EntryStatus status;
    if (level == FindExInfoBasic && entry.kind != DT_UNKNOWN)
        status = StatusFromKind(entry.kind, hidden);
    else if (!ReadEntryStatus(reader.Get(), entry.name, hidden, status))
        return false;
    Fill(status, found);
    return true;
}

// The search for one entry by its name: `name` is on disk what `place` leads to.
bool FindByName(
    const DiskPath& place, const char16_t* name, std::size_t chars, WIN32_FIND_DATAW& found) noexcept
{
    if (chars > maximumNameBytes)
        return Fail(ERROR_FILENAME_EXCED_RANGE);
    EntryStatus status;
    if (!ReadEntryStatus(place.Folder(), place.Name(), place.IsHidden(), status))
        return place.FailHere();
    Fill(status, found);
    *std::copy_n(name, chars, found.cFileName) = u'\0';
    return true;
}

// Where the last component begins: behind the last separator, or the colon of "C:name".
std::size_t LastComponent(const char16_t* text, std::size_t chars) noexcept
{
    std::size_t begin = chars;
    while (begin > 0 && !IsSeparator(text[begin - 1]) && !(begin == 2 && text[1] == u':'))
        --begin;
    return begin;
}

bool FindFirst(Search& search, const char16_t* text, WIN32_FIND_DATAW& found) noexcept
{
    const std::size_t chars = text ? wcslen(text) : 0;
    const std::size_t nameBegin = LastComponent(text, chars);
    const char16_t* const name = text + nameBegin;
    const std::size_t nameChars = chars - nameBegin;
    DiskPath place;
    if (nameChars == 0) // nothing is asked for in the folder
        return Fail(chars == 0 ? ERROR_PATH_NOT_FOUND : ERROR_FILE_NOT_FOUND);
    if (!HasWildcard(name, nameChars))
        return place.Set(text, chars) && FindByName(place, name, nameChars, found);
    const bool inWorkingFolder = nameBegin == 0;
    return place.Set(inWorkingFolder ? u"." : text, inWorkingFolder ? 1 : nameBegin)
        && search.Start(place, name, nameChars) && search.Next(ERROR_FILE_NOT_FOUND, found);
}

} // namespace

Handle FindFirstFileW(const char16_t* pattern, WIN32_FIND_DATAW* found) noexcept
{
    return FindFirstFileExW(pattern, FindExInfoStandard, found);
}

Handle FindFirstFileExW(const char16_t* pattern, FINDEX_INFO_LEVELS level, WIN32_FIND_DATAW* found) noexcept
{
    auto search = ObjectRef<Search>::Adopt(new (std::nothrow) Search(level));
    if (!search) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return INVALID_HANDLE_VALUE;
    }
    if (!FindFirst(*search, pattern, *found))
        return INVALID_HANDLE_VALUE;
    const Handle made = MakeHandle(std::move(search), 0);
    return made == NULL_HANDLE ? INVALID_HANDLE_VALUE : made;
}

bool FindNextFileW(Handle handle, WIN32_FIND_DATAW* found) noexcept
{
    const ObjectRef<Search> search = FindHandle<Search>(handle, 0);
    return search && search->Next(ERROR_NO_MORE_FILES, *found);
}

bool FindClose(Handle search) noexcept
{
    return CloseHandleOfKind(search, ObjectKind::Find);
}

} // namespace Platform

#include "platform/linux/registry/listing.h"

#include "platform/linux/files/folder_reader.h"

#include <algorithm>
#include <cstring>
#include <dirent.h>

namespace Platform::Registry {

Code Listing::Measure(KeyFolder& key, std::uint32_t& count, std::uint32_t& longest)
{
    const Stamp stamp = StampOf(key);
    if (!stamp.IsSettled() && !key.IsAlive())
        return key.MissingCode();
    if (!IsFresh(stamp))
        if (const Code code = Make(key))
            return code;
    count = static_cast<std::uint32_t>(entries.size());
    longest = static_cast<std::uint32_t>(longestName);
    return ERROR_SUCCESS;
}

bool Listing::IsFresh(const Stamp& stamp) const noexcept
{
    return made && madeAt.HasSettledNames() && stamp.present == madeAt.present && stamp.names == madeAt.names;
}

Code Listing::Make(KeyFolder& key)
{
    made = false;
    names.clear();
    entries.clear();
    longestName = 0;
    madeAt = StampOf(key);
    Descriptor folder = kind == Kind::Subkeys ? key.OpenSubkeys() : OpenFolder(key.Get(), ".");
    if (!folder && errno == ENOENT && key.IsAlive()) { // there never was a subkey
        made = true;
        return ERROR_SUCCESS;
    }
    if (!folder)
        return errno == ENOENT ? ERROR_KEY_DELETED : CodeOfErrno();
    FolderReader reader;
    if (!reader.Start(std::move(folder)))
        return CodeOfErrno();
    FolderEntry entry;
    while (reader.Next(entry))
        if (entry.kind == (kind == Kind::Subkeys ? DT_DIR : DT_REG) || entry.kind == DT_UNKNOWN)
            Add({entry.name, entry.bytes});
    if (errno != 0)
        return CodeOfErrno();
    std::sort(entries.begin(), entries.end(), [this](std::size_t left, std::size_t right) {
        return std::strcmp(names.c_str() + left, names.c_str() + right) > 0;
    });
    made = true;
    return ERROR_SUCCESS;
}

void Listing::Add(std::string_view fileName)
{
    const bool subkeys = kind == Kind::Subkeys;
    if (!(subkeys ? IsFileNameOfKey(fileName) : IsFileNameOfValue(fileName)))
        return;
    longestName = std::max(longestName, subkeys ? CharsOfKey(fileName) : CharsOfValue(fileName));
    entries.push_back(names.size());
    names += fileName;
    names += '\0';
}

} // namespace Platform::Registry

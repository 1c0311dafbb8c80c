#include "io/fs/folder_impl.h"

#include "io/fs/path_impl.h"
#include "io/fs/path_text.h"
#include "platform/files.h"

#include <new>
#include <string_view>

namespace Io::Fs {

namespace {

// The entries of a folder that match a pattern, one after the other.
class Search {
public:
    explicit Search(const WideString& pattern) noexcept
        : handle(Platform::FindFirstFileExW(pattern.c_str(), Platform::FindExInfoBasic, &found)),
          isOnEntry(handle != Platform::INVALID_HANDLE_VALUE)
    {
    }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;
    ~Search()
    {
        if (handle != Platform::INVALID_HANDLE_VALUE)
            Platform::FindClose(handle);
    }

    explicit operator bool() const noexcept { return isOnEntry; }
    std::u16string_view GetName() const noexcept { return found.cFileName; }
    void Step() noexcept { isOnEntry = Platform::FindNextFileW(handle, &found); }

private:
    Platform::WIN32_FIND_DATAW found;
    const Platform::Handle handle;
    bool isOnEntry;
};

} // namespace

std::vector<FacePtr<Path>> FolderImpl::Enumerate(
    const WideString& pattern, const FacePtr<EntryFilter>& filter)
{
    std::vector<FacePtr<Path>> entries;
    std::u16string_view wanted = pattern.c_str();
    if (wanted.find_first_of(u"\\/") != wanted.npos)
        return entries;
    if (wanted.empty())
        wanted = u"*.*";
    const std::u16string_view folder = path.c_str();
    for (Search search(Joined(folder, u"\\", wanted)); search; search.Step()) {
        const std::u16string_view name = search.GetName();
        if (name == u"." || name == u".." || (filter && !filter->Accept(Joined(name))))
            continue;
        entries.push_back(MakePath(Joined(folder, u"\\", name)));
    }
    return entries;
}

} // namespace Io::Fs

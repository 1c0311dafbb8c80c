#include "object/resolve_library_path.h"

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/modules.h"
#include "platform/registry.h"
#include <tessel/base/string.h>
#include <tessel/module.h>

#include <algorithm>
#include <string_view>

namespace Object {

namespace {

// A path text of at most 1279 characters.
class ShortPath {
public:
    static constexpr std::uint32_t capacity = 1280; // characters, terminator included

    // For whoever writes into it: a terminated text, or what Cut says.
    char16_t* Buffer() noexcept { return text; }
    void Cut(std::size_t newLength) noexcept
    {
        length = newLength;
        text[length] = 0;
    }
    // False, and nothing is added, where it does not fit.
    bool Append(std::u16string_view added) noexcept
    {
        if (added.size() >= capacity - length)
            return false;
        added.copy(text + length, added.size());
        Cut(length + added.size());
        return true;
    }
    std::u16string_view Get() const noexcept { return {text, length}; }

private:
    char16_t text[capacity] = {};
    std::size_t length = 0;
};

// What the administrator has named; empty where there is nothing of the kind. The registry need not terminate
// what it holds, nor hold whole characters.
void FindNamedFolder(ShortPath& path) noexcept
{
    Platform::Handle key = Platform::NULL_HANDLE;
    if (Platform::RegOpenKeyExW(
            Platform::HKEY_LOCAL_MACHINE, u"SOFTWARE\\Palisade\\LibPaths", 0, Platform::KEY_READ, &key)
        != Platform::ERROR_SUCCESS)
        return;
    std::uint32_t type = Platform::REG_NONE;
    std::uint32_t bytes = (ShortPath::capacity - 1) * sizeof(char16_t);
    const std::uint32_t code = Platform::RegQueryValueExW(key, u"", nullptr, &type, path.Buffer(), &bytes);
    Platform::RegCloseKey(key);
    const bool isText = code == Platform::ERROR_SUCCESS && type == Platform::REG_SZ;
    const std::u16string_view stored(path.Buffer(), isText ? bytes / sizeof(char16_t) : 0);
    path.Cut(std::min(stored.find(u'\0'), stored.size()));
}

// Up to and including the last backslash of this module's path; empty where it has none or is too long.
void FindOwnFolder(ShortPath& path) noexcept
{
    const auto self = static_cast<Platform::Module>(reinterpret_cast<std::uintptr_t>(Module::GetInstance()));
    const std::uint32_t length = Platform::GetModuleFileNameW(self, path.Buffer(), ShortPath::capacity);
    const std::u16string_view whole(path.Buffer(), length < ShortPath::capacity ? length : 0);
    path.Cut(whole.rfind(u'\\') + 1);
}

bool FindInNamedFolder(ShortPath& path, std::u16string_view name) noexcept
{
    FindNamedFolder(path);
    const std::u16string_view folder = path.Get();
    if (folder.empty() || (folder.back() != u'\\' && !path.Append(u"\\")))
        return false;
    return path.Append(name)
        && Platform::GetFileAttributesW(path.Get().data()) != Platform::INVALID_FILE_ATTRIBUTES;
}

bool FindInOwnFolder(ShortPath& path, std::u16string_view name) noexcept
{
    FindOwnFolder(path);
    return !path.Get().empty() && path.Append(name);
}

} // namespace

void ResolveLibraryPath(const char* name, char16_t* out, std::uint32_t outLength) noexcept
{
    const WideString wideName(name);
    ShortPath path;
    const std::u16string_view bare(wideName.c_str());
    const bool isFound = FindInNamedFolder(path, bare) || FindInOwnFolder(path, bare);
    const std::u16string_view result = isFound ? path.Get() : bare;
    const std::size_t copied = result.copy(out, outLength);
    std::fill(out + copied, out + outLength, u'\0');
}

} // namespace Object

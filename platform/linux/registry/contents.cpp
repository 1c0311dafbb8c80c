// What a key holds: its counts and its enumerations.
#include "platform/linux/registry/open_key.h"
#include "platform/linux/registry/read_value.h"
#include "platform/registry.h"

#include <algorithm>
#include <string_view>

namespace Platform {

using namespace Registry;

namespace {

// Where a caller wants a name, with a terminator. Its length is told even if it does not fit.
struct NameOutput {
    char16_t* name;
    std::uint32_t* chars;
    std::uint32_t room = *chars;

    Code Give(std::u16string_view found) const noexcept
    {
        *chars = static_cast<std::uint32_t>(found.size());
        if (found.size() >= room)
            return ERROR_MORE_DATA;
        *std::copy(found.begin(), found.end(), name) = u'\0';
        return ERROR_SUCCESS;
    }
};

// Files and folders that are no value's and no key's are passed over, and so is what is filed under a name
// that is not its own.
Code GiveSubkey(const KeyFolder& key, const char* fileName, const NameOutput& out) noexcept
{
    KeyFolder subkey;
    char16_t room[keyNameLimit];
    std::u16string_view name;
    Code code = key.OpenSubkeyFolder(fileName, subkey);
    if (code == ERROR_SUCCESS)
        code = subkey.ReadName(room, name);
    if (code == ERROR_SUCCESS && std::string_view(FileNameOfKey(name).text) != fileName)
        code = ERROR_INVALID_DATA;
    if (code != ERROR_SUCCESS)
        return code == ERROR_INVALID_DATA ? ERROR_FILE_NOT_FOUND : code;
    return out.Give(name);
}

Code GiveValue(KeyFolder& key, const char* fileName, const NameOutput& name, ValueOutput value) noexcept
{
    ValueFile file;
    const Code code = ReadValue(key, fileName, file, value.data, value.Room());
    if (code != ERROR_SUCCESS)
        return code == ERROR_INVALID_DATA ? ERROR_FILE_NOT_FOUND : code;
    if (std::string_view(FileNameOfValue(file.Name()).text) != fileName)
        return ERROR_FILE_NOT_FOUND;
    const Code nameCode = name.Give(file.Name());
    const Code valueCode = value.Give(file.Type(), value.data, file.Size());
    return nameCode != ERROR_SUCCESS ? nameCode : valueCode;
}

Code Measure(KeyFolder& key, Listing& listing, std::uint32_t* count, std::uint32_t* longest)
{
    std::uint32_t found[2] = {};
    if (!count && !longest)
        return ERROR_SUCCESS;
    const Code code = listing.Measure(key, found[0], found[1]);
    if (count)
        *count = found[0];
    if (longest)
        *longest = found[1];
    return code;
}

} // namespace

std::uint32_t RegQueryInfoKeyW(Handle key, char16_t* className, std::uint32_t* classChars,
    std::uint32_t* reserved, std::uint32_t* subKeys, std::uint32_t* longestSubKey,
    std::uint32_t* longestClass, std::uint32_t* values, std::uint32_t* longestValueName,
    std::uint32_t* longestValue, std::uint32_t* securityBytes, void* lastWriteTime) noexcept
{
    ObjectRef<OpenKey> asked;
    if (const Code code = FindKey(key, KEY_QUERY_VALUE, MissingHive::Fails, asked))
        return code;
    if (className || classChars || reserved || longestClass || longestValue || securityBytes || lastWriteTime)
        return ERROR_INVALID_PARAMETER;
    return WithoutThrowing([&] {
        const std::lock_guard guard(asked->guard);
        if (const Code code = Measure(asked->folder, asked->subkeys, subKeys, longestSubKey))
            return code;
        return Measure(asked->folder, asked->values, values, longestValueName);
    });
}

std::uint32_t RegEnumKeyExW(Handle key, std::uint32_t index, char16_t* name, std::uint32_t* chars,
    std::uint32_t* reserved, char16_t* className, std::uint32_t* classChars, void* lastWriteTime) noexcept
{
    ObjectRef<OpenKey> asked;
    if (const Code code = FindKey(key, KEY_ENUMERATE_SUB_KEYS, MissingHive::Fails, asked))
        return code;
    if (!name || !chars || reserved || className || classChars || lastWriteTime)
        return ERROR_INVALID_PARAMETER;
    return WithoutThrowing([&] {
        const std::lock_guard guard(asked->guard);
        const NameOutput out{name, chars};
        return asked->subkeys.At(asked->folder, index,
            [&](const char* fileName) { return GiveSubkey(asked->folder, fileName, out); });
    });
}

std::uint32_t RegEnumValueW(Handle key, std::uint32_t index, char16_t* name, std::uint32_t* chars,
    std::uint32_t* reserved, std::uint32_t* type, void* data, std::uint32_t* bytes) noexcept
{
    ObjectRef<OpenKey> asked;
    if (const Code code = FindKey(key, KEY_QUERY_VALUE, MissingHive::Fails, asked))
        return code;
    if (!name || !chars || reserved || (data && !bytes))
        return ERROR_INVALID_PARAMETER;
    return WithoutThrowing([&] {
        const std::lock_guard guard(asked->guard);
        const NameOutput out{name, chars};
        const std::uint32_t room = data ? *bytes : 0;
        return asked->values.At(asked->folder, index, [&](const char* fileName) {
            if (bytes)
                *bytes = room;
            return GiveValue(asked->folder, fileName, out, {type, data, bytes});
        });
    });
}

} // namespace Platform

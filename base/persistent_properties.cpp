#include <tessel/base/persistent_properties.h>

#include "base/text_builder.h"
#include "platform/errors.h"
#include "platform/registry.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace {

using Type = Properties::PropertyType;

Platform::Handle AsHandle(std::uint64_t key) noexcept
{
    return Platform::Handle{key};
}

Type TypeOfStored(std::uint32_t stored) noexcept
{
    switch (stored) {
    case Platform::REG_DWORD:
        return Type::number;
    case Platform::REG_SZ:
        return Type::string;
    case Platform::REG_BINARY:
        return Type::binary;
    default:
        return Type::none;
    }
}

// A string that fails instead of staying empty where there is no memory.
WideString MakeText(std::u16string_view text)
{
    WideString result(text.data(), text.data() + text.size());
    if (result.IsEmpty() && !text.empty())
        throw std::bad_alloc();
    return result;
}

// A value as it is stored: its bytes were set together with its type. One call reads a small one; a large one
// is read once its size is known, and again if it has grown meanwhile.
class StoredValue {
public:
    // Bytes are there only if the value has the wanted type.
    StoredValue(std::uint64_t key, const WideString& name, std::uint32_t wanted)
    {
        size = sizeof(small);
        code = Query(key, name, small);
        while (code == Platform::ERROR_MORE_DATA && type == wanted) {
            large.SetSize(size, false);
            if (large.IsEmpty())
                throw std::bad_alloc();
            code = Query(key, name, large.GetWritableData(false));
        }
        isReadable = code == Platform::ERROR_SUCCESS && type == wanted;
    }

    bool IsReadable() const noexcept { return isReadable; }
    // Why it could not be read at all; a value of another type can be.
    std::uint32_t Failure() const noexcept { return code == Platform::ERROR_MORE_DATA ? 0 : code; }

    // What was stored need not be terminated, and half a character at the end is dropped.
    WideString AsString() const
    {
        const auto* const characters = reinterpret_cast<const char16_t*>(Bytes());
        const std::u16string_view stored(characters, size / sizeof(char16_t));
        return MakeText(stored.substr(0, stored.find(u'\0')));
    }

    Binary AsBinary()
    {
        if (!large.IsEmpty()) {
            large.SetSize(size, true);
            return large;
        }
        Binary result(small, size);
        if (result.GetSize() != size)
            throw std::bad_alloc();
        return result;
    }

private:
    std::uint32_t Query(std::uint64_t key, const WideString& name, unsigned char* target) noexcept
    {
        return Platform::RegQueryValueExW(AsHandle(key), name.c_str(), nullptr, &type, target, &size);
    }
    const unsigned char* Bytes() const noexcept { return large.IsEmpty() ? small : large.GetData(); }

    std::uint32_t code;
    std::uint32_t type = Platform::REG_NONE;
    std::uint32_t size; // room before a query, what the value has after it
    bool isReadable;
    alignas(char16_t) unsigned char small[512];
    Binary large;
};

// The names that an enumeration gives. `enumerate` takes an index, room for a name and its number of
// characters; the room grows where a longer name has come since the longest one was looked up.
template <class Enumerate>
class NameEnumeration {
public:
    NameEnumeration(std::uint32_t longest, Enumerate itsEnumerate)
        : room(longest + 1), enumerate(std::move(itsEnumerate))
    {
    }

    // The registry's code, ERROR_NO_MORE_ITEMS at the end.
    std::uint32_t Next(std::uint32_t index, WideString& name)
    {
        for (;;) {
            std::uint32_t characters = room;
            char16_t* const target = buffer.PrepareWriting(room * sizeof(char16_t), false);
            if (target == nullptr)
                throw std::bad_alloc();
            *target = 0;
            const std::uint32_t code = enumerate(index, target, &characters);
            if (code == Platform::ERROR_SUCCESS)
                name = MakeText({target, characters});
            if (code != Platform::ERROR_MORE_DATA)
                return code;
            room = std::max(room, characters) * 2;
        }
    }

private:
    std::uint32_t room; // characters, terminator included
    Enumerate enumerate;
    WideString buffer;
};

auto SubkeysOf(std::uint64_t key, std::uint32_t longest)
{
    return NameEnumeration(
        longest, [key](std::uint32_t index, char16_t* name, std::uint32_t* characters) noexcept {
            return Platform::RegEnumKeyExW(
                AsHandle(key), index, name, characters, nullptr, nullptr, nullptr, nullptr);
        });
}

// Enumerates values; `type` gets the type of each.
auto ValuesOf(const std::uint64_t& key, std::uint32_t longest, std::uint32_t* type)
{
    return NameEnumeration(
        longest, [&key, type](std::uint32_t index, char16_t* name, std::uint32_t* characters) noexcept {
            return Platform::RegEnumValueW(
                AsHandle(key), index, name, characters, nullptr, type, nullptr, nullptr);
        });
}

class OpenKey {
public:
    ~OpenKey()
    {
        if (handle != Platform::NULL_HANDLE)
            Platform::RegCloseKey(handle);
    }
    OpenKey() = default;
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;

    Platform::Handle handle = Platform::NULL_HANDLE;
};

// Deletes a key with all below it and gives the registry's code; a key that is missing counts as deleted. The
// registry's limit of 512 levels is the limit of the recursion.
std::uint32_t DeleteTree(Platform::Handle parent, const WideString& name)
{
    OpenKey key;
    std::uint32_t code = Platform::RegOpenKeyExW(parent, name.c_str(), 0, Platform::KEY_READ, &key.handle);
    if (code != Platform::ERROR_SUCCESS)
        return code == Platform::ERROR_FILE_NOT_FOUND ? Platform::ERROR_SUCCESS : code;
    std::uint32_t longest = 0;
    code = Platform::RegQueryInfoKeyW(key.handle, nullptr, nullptr, nullptr, nullptr, &longest, nullptr,
        nullptr, nullptr, nullptr, nullptr, nullptr);
    if (code != Platform::ERROR_SUCCESS)
        return code;
    auto subkeys = SubkeysOf(static_cast<std::uint64_t>(key.handle), longest);
    WideString subkey;
    while ((code = subkeys.Next(0, subkey)) == Platform::ERROR_SUCCESS) {
        code = DeleteTree(key.handle, subkey);
        if (code != Platform::ERROR_SUCCESS)
            return code;
    }
    return code == Platform::ERROR_NO_MORE_ITEMS ? Platform::RegDeleteKeyW(parent, name.c_str()) : code;
}

} // namespace

PersistentProperties::PersistentProperties() noexcept = default;

PersistentProperties::~PersistentProperties()
{
    CloseKey();
}

void PersistentProperties::Open(const WideString& bagPath, bool currentUser)
{
    WideString newPath = TextBuilder().Add(u"SOFTWARE\\").Add(bagPath).Take();
    if (newPath == path && machine != currentUser)
        return;
    CloseKey();
    machine = !currentUser;
    path = std::move(newPath);
}

// The one way to the key. A key that is open for writing serves reading too; the other way round it is opened
// anew, and is closed if that fails. 0 where the failure is not to be raised.
std::uint64_t PersistentProperties::AccessKey(bool forWriting, OnFailure onFailure) const
{
    if (forWriting && !keyWritable)
        CloseKey();
    if (key != 0)
        return key;
    constexpr std::uint32_t forBoth = Platform::KEY_READ | Platform::KEY_WRITE;
    static_assert(forBoth == 0x2001F);
    Platform::Handle opened = Platform::NULL_HANDLE;
    const std::uint32_t code = forWriting
        ? Platform::RegCreateKeyExW(
            AsHandle(Root()), path.c_str(), 0, nullptr, 0, forBoth, nullptr, &opened, nullptr)
        : Platform::RegOpenKeyExW(AsHandle(Root()), path.c_str(), 0, Platform::KEY_READ, &opened);
    if (code != Platform::ERROR_SUCCESS) {
        const bool isMissing = code == Platform::ERROR_FILE_NOT_FOUND;
        if (onFailure == OnFailure::giveNull || (onFailure == OnFailure::giveNullIfMissing && isMissing))
            return 0;
        throw Error("reg-open-key('%s') err=%d", "tessel", FullName({}), code);
    }
    key = static_cast<std::uint64_t>(opened);
    keyWritable = forWriting;
    return key;
}

std::uint64_t PersistentProperties::Root() const noexcept
{
    return static_cast<std::uint64_t>(machine ? Platform::HKEY_LOCAL_MACHINE : Platform::HKEY_CURRENT_USER);
}

void PersistentProperties::CloseKey() const noexcept
{
    if (key != 0)
        Platform::RegCloseKey(AsHandle(std::exchange(key, 0)));
    keyWritable = false;
}

// For messages only: nothing parses it.
WideString PersistentProperties::FullName(const WideString& name) const
{
    TextBuilder text;
    text.Add(machine ? u"HKEY_LOCAL_MACHINE\\" : u"HKEY_CURRENT_USER\\").Add(path);
    if (!name.IsEmpty())
        text.Add(u'\\').Add(name);
    return text.Take();
}

WideString PersistentProperties::GetString(const WideString& name, const WideString& defaultValue) const
{
    const std::uint64_t opened = AccessKey(false, OnFailure::giveNull);
    if (opened == 0)
        return defaultValue;
    const StoredValue stored(opened, name, Platform::REG_SZ);
    return stored.IsReadable() ? stored.AsString() : defaultValue;
}

WideString PersistentProperties::GetString(const WideString& name) const
{
    const StoredValue stored(AccessKey(false, OnFailure::raise), name, Platform::REG_SZ);
    if (const std::uint32_t code = stored.Failure())
        throw Error("reg-query-val('%s') err=%d", "tessel", FullName(name), code);
    if (!stored.IsReadable())
        throw Error("reg-val-badtype('%s') REG_SZ expected", "tessel", FullName(name));
    return stored.AsString();
}

std::uint32_t PersistentProperties::GetNumber(const WideString& name, std::uint32_t defaultValue) const
{
    const std::uint64_t opened = AccessKey(false, OnFailure::giveNull);
    std::uint32_t number = 0; // a shorter value fills a part of it
    std::uint32_t size = sizeof(number);
    std::uint32_t type = Platform::REG_NONE;
    const bool isRead = opened != 0
        && Platform::RegQueryValueExW(AsHandle(opened), name.c_str(), nullptr, &type, &number, &size)
            == Platform::ERROR_SUCCESS;
    return isRead && type == Platform::REG_DWORD ? number : defaultValue;
}

std::uint32_t PersistentProperties::GetNumber(const WideString& name) const
{
    const std::uint64_t opened = AccessKey(false, OnFailure::raise);
    std::uint32_t number = 0;
    std::uint32_t size = sizeof(number);
    std::uint32_t type = Platform::REG_NONE;
    const std::uint32_t code =
        Platform::RegQueryValueExW(AsHandle(opened), name.c_str(), nullptr, &type, &number, &size);
    // One that is too long for a number is of another type, like one that is too short.
    if (code != Platform::ERROR_SUCCESS && code != Platform::ERROR_MORE_DATA)
        throw Error("reg-query-val('%s') err=%d", "tessel", FullName(name), code);
    if (type != Platform::REG_DWORD || size != sizeof(number))
        throw Error("reg-val-badtype('%s') REG_DWORD expected", "tessel", FullName(name));
    return number;
}

Binary PersistentProperties::GetBinary(const WideString& name, const Binary& defaultValue) const
{
    const std::uint64_t opened = AccessKey(false, OnFailure::giveNull);
    if (opened == 0)
        return defaultValue;
    StoredValue stored(opened, name, Platform::REG_BINARY);
    return stored.IsReadable() ? stored.AsBinary() : defaultValue;
}

Binary PersistentProperties::GetBinary(const WideString& name) const
{
    StoredValue stored(AccessKey(false, OnFailure::raise), name, Platform::REG_BINARY);
    if (const std::uint32_t code = stored.Failure())
        throw Error("reg-query-val('%s') err=%d", "tessel", FullName(name), code);
    if (!stored.IsReadable())
        throw Error("reg-val-badtype('%s') REG_BINARY expected", "tessel", FullName(name));
    return stored.AsBinary();
}

Handle PersistentProperties::GetHandle(const WideString& /*name*/, Handle defaultValue) const
{
    return defaultValue;
}

Handle PersistentProperties::GetHandle(const WideString& /*name*/) const
{
    throw Error("pprop-gethandle-notsupp", "tessel");
}

void PersistentProperties::SetString(const WideString& name, const WideString& value)
{
    SetValue(name, Platform::REG_SZ, value.c_str(), static_cast<std::uint32_t>(value.GetSize()));
}

void PersistentProperties::SetNumber(const WideString& name, std::uint32_t value)
{
    SetValue(name, Platform::REG_DWORD, &value, sizeof(value));
}

void PersistentProperties::SetBinary(const WideString& name, const Binary& value)
{
    SetValue(name, Platform::REG_BINARY, value.GetData(), value.GetSize());
}

void PersistentProperties::SetHandle(const WideString& /*name*/, Handle /*value*/)
{
    throw Error("pprop-sethandle-notimpl", "tessel");
}

void PersistentProperties::SetValue(
    const WideString& name, std::uint32_t type, const void* bytes, std::uint32_t size)
{
    const std::uint64_t opened = AccessKey(true, OnFailure::raise);
    const std::uint32_t code = Platform::RegSetValueExW(AsHandle(opened), name.c_str(), 0, type, bytes, size);
    if (code != Platform::ERROR_SUCCESS)
        throw Error("reg-set-value('%s') err=%d", "tessel", FullName(name), code);
}

void PersistentProperties::Delete(const WideString& name)
{
    // Opening for writing would make a bag that is missing.
    if (AccessKey(false, OnFailure::giveNullIfMissing) == 0)
        return;
    const std::uint64_t opened = AccessKey(true, OnFailure::raise);
    const std::uint32_t code = Platform::RegDeleteValueW(AsHandle(opened), name.c_str());
    if (code != Platform::ERROR_SUCCESS && code != Platform::ERROR_FILE_NOT_FOUND)
        throw Error("reg-delete-val('%s') err=%d", "tessel", FullName(name), code);
}

Type PersistentProperties::GetType(const WideString& name) const
{
    const std::uint64_t opened = AccessKey(false, OnFailure::giveNullIfMissing);
    if (opened == 0)
        return Type::none;
    std::uint32_t type = Platform::REG_NONE;
    const std::uint32_t code =
        Platform::RegQueryValueExW(AsHandle(opened), name.c_str(), nullptr, &type, nullptr, nullptr);
    if (code == Platform::ERROR_FILE_NOT_FOUND)
        return Type::none;
    if (code != Platform::ERROR_SUCCESS)
        throw Error("reg-query-val('%s') err=%d", "tessel", FullName(name), code);
    return TypeOfStored(type);
}

std::vector<WideString> PersistentProperties::EnumProperties() const
{
    std::vector<WideString> names;
    const std::uint64_t opened = AccessKey(false, OnFailure::giveNullIfMissing);
    if (opened == 0)
        return names;
    std::uint32_t count = 0;
    std::uint32_t longest = 0;
    std::uint32_t code = Platform::RegQueryInfoKeyW(AsHandle(opened), nullptr, nullptr, nullptr, nullptr,
        nullptr, nullptr, &count, &longest, nullptr, nullptr, nullptr);
    if (code != Platform::ERROR_SUCCESS)
        throw Error("reg-query-info('%s') err=%d", "tessel", FullName({}), code);
    names.reserve(count);
    std::uint32_t type = Platform::REG_NONE;
    auto values = ValuesOf(opened, longest, &type);
    WideString name;
    for (std::uint32_t index = 0; (code = values.Next(index, name)) == Platform::ERROR_SUCCESS; ++index)
        if (TypeOfStored(type) != Type::none)
            names.push_back(name);
    if (code != Platform::ERROR_NO_MORE_ITEMS)
        throw Error("reg-enum-val('%s') err=%d", "tessel", FullName({}), code);
    return names;
}

void PersistentProperties::Clear()
{
    std::uint64_t opened = AccessKey(false, OnFailure::giveNullIfMissing);
    if (opened == 0)
        return;
    std::uint32_t longest = 0;
    std::uint32_t code = Platform::RegQueryInfoKeyW(AsHandle(opened), nullptr, nullptr, nullptr, nullptr,
        nullptr, nullptr, nullptr, &longest, nullptr, nullptr, nullptr);
    if (code != Platform::ERROR_SUCCESS)
        throw Error("reg-query-info('%s') err=%d", "tessel", FullName({}), code);
    // Always the first one that is left: the list shrinks with each deletion. The first deletion opens the
    // key anew, for writing, and from then on that one is enumerated.
    auto values = ValuesOf(opened, longest, nullptr);
    WideString name;
    while ((code = values.Next(0, name)) == Platform::ERROR_SUCCESS) {
        opened = AccessKey(true, OnFailure::raise);
        const std::uint32_t deletion = Platform::RegDeleteValueW(AsHandle(opened), name.c_str());
        if (deletion != Platform::ERROR_SUCCESS)
            throw Error("reg-delete-val('%s') err=%d", "tessel", FullName(name), deletion);
    }
    if (code != Platform::ERROR_NO_MORE_ITEMS)
        throw Error("reg-enum-val('%s') err=%d", "tessel", FullName({}), code);
}

bool PersistentProperties::IsBagNew() const noexcept
{
    return AccessKey(false, OnFailure::giveNull) == 0;
}

std::vector<WideString> PersistentProperties::EnumBags() const
{
    std::vector<WideString> names;
    const std::uint64_t opened = AccessKey(false, OnFailure::giveNullIfMissing);
    if (opened == 0)
        return names;
    std::uint32_t count = 0;
    std::uint32_t longest = 0;
    std::uint32_t code = Platform::RegQueryInfoKeyW(AsHandle(opened), nullptr, nullptr, nullptr, &count,
        &longest, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (code != Platform::ERROR_SUCCESS)
        throw Error("reg-query-info('%s') err=%d", "tessel", FullName({}), code);
    names.reserve(count);
    auto subkeys = SubkeysOf(opened, longest);
    WideString name;
    for (std::uint32_t index = 0; (code = subkeys.Next(index, name)) == Platform::ERROR_SUCCESS; ++index)
        names.push_back(name);
    if (code != Platform::ERROR_NO_MORE_ITEMS)
        throw Error("reg-enum-keys('%s') err=%d", "tessel", FullName({}), code);
    return names;
}

void PersistentProperties::DeleteBag()
{
    const std::uint32_t code = DeleteTree(AsHandle(Root()), path);
    if (code != Platform::ERROR_SUCCESS)
        throw Error("reg-delete-key('%s') err=%d", "tessel", FullName({}), code);
    CloseKey();
}

// A registry of a test's own, and short forms of the operations on it.
#pragma once

#include "platform/errors.h"
#include "platform/registry.h"
#include "tests/platform/temporary_folder.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <vector>

// Holds both hives for this process and its children.
class TemporaryRegistry : public TemporaryFolder {
public:
    TemporaryRegistry() { ::setenv("TESSEL_REGISTRY", Path().c_str(), 1); }

    // Of what lies there, 0 if there is nothing.
    mode_t Mode(const std::string& name) const
    {
        struct stat status { };
        ::lstat(Path(name).c_str(), &status);
        return status.st_mode & 0777U;
    }
};

// One step of an enumeration, of keys or of values.
inline std::uint32_t NameAt(auto next, Platform::Handle key, std::uint32_t index, std::u16string& name)
{
    std::uint32_t chars = 16384;
    name.resize(chars);
    const std::uint32_t code = next(key, index, name.data(), &chars, nullptr, nullptr, nullptr, nullptr);
    name.resize(code == 0 ? chars : 0);
    return code;
}

class Key {
public:
    // Makes the key if it is not there.
    explicit Key(const std::u16string& path, Platform::Handle root = Platform::HKEY_CURRENT_USER)
    {
        EXPECT_EQ(Platform::RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0,
                      Platform::KEY_READ | Platform::KEY_WRITE, nullptr, &handle, nullptr),
            0U);
    }
    explicit Key(Platform::Handle opened) : handle(opened) { }
    ~Key() { Platform::RegCloseKey(handle); }
    Key& operator=(Key&&) = delete; // nor copied

    operator Platform::Handle() const { return handle; }

    std::uint32_t Set(const std::u16string& name, const std::string& bytes, std::uint32_t type = 3) const
    {
        return Platform::RegSetValueExW(
            handle, name.c_str(), 0, type, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    }
    std::uint32_t Delete(const std::u16string& name) const
    {
        return Platform::RegDeleteValueW(handle, name.c_str());
    }
    // The code of a query for the type alone.
    std::uint32_t Ask(const std::u16string& name) const
    {
        return Platform::RegQueryValueExW(handle, name.c_str(), nullptr, nullptr, nullptr, nullptr);
    }
    std::optional<std::string> Get(const std::u16string& name, std::uint32_t* type = nullptr) const
    {
        std::uint32_t size = 0;
        if (Platform::RegQueryValueExW(handle, name.c_str(), nullptr, type, nullptr, &size) != 0)
            return std::nullopt;
        std::string bytes(size, '\0');
        const std::uint32_t code =
            Platform::RegQueryValueExW(handle, name.c_str(), nullptr, type, bytes.data(), &size);
        return code == 0 && size == bytes.size() ? std::optional(bytes) : std::nullopt;
    }

    // Sorted.
    std::vector<std::u16string> Values() const { return Enumerate(Platform::RegEnumValueW); }
    std::vector<std::u16string> Subkeys() const { return Enumerate(Platform::RegEnumKeyExW); }
    // Subkeys, the longest name of one, values, the longest name of one.
    std::array<std::uint32_t, 4> Measures() const
    {
        std::array<std::uint32_t, 4> found{};
        EXPECT_EQ(Platform::RegQueryInfoKeyW(handle, nullptr, nullptr, nullptr, &found[0], &found[1], nullptr,
                      &found[2], &found[3], nullptr, nullptr, nullptr),
            0U);
        return found;
    }

private:
    std::vector<std::u16string> Enumerate(auto next) const
    {
        std::vector<std::u16string> names;
        std::u16string name;
        std::uint32_t code = 0;
        while ((code = NameAt(next, handle, static_cast<std::uint32_t>(names.size()), name)) == 0)
            names.push_back(name);
        EXPECT_EQ(code, Platform::ERROR_NO_MORE_ITEMS);
        std::sort(names.begin(), names.end());
        return names;
    }

    Platform::Handle handle = Platform::NULL_HANDLE;
};

// NULL_HANDLE where it cannot be opened.
inline Platform::Handle Opened(Platform::Handle root, const std::u16string& path, std::uint32_t access)
{
    Platform::Handle opened;
    Platform::RegOpenKeyExW(root, path.c_str(), 0, access, &opened);
    return opened;
}
inline std::uint32_t OpenCode(
    Platform::Handle root, const std::u16string& path, std::uint32_t access = Platform::KEY_READ)
{
    Platform::Handle opened;
    const std::uint32_t code = Platform::RegOpenKeyExW(root, path.c_str(), 0, access, &opened);
    const Key closed(opened);
    return code;
}
// Makes the key, as a step whose code is wanted and not the key.
inline std::uint32_t MakeCode(Platform::Handle root, const char16_t* path)
{
    Platform::Handle made;
    const std::uint32_t code =
        Platform::RegCreateKeyExW(root, path, 0, nullptr, 0, Platform::KEY_READ, nullptr, &made, nullptr);
    const Key closed(made);
    return code;
}

inline std::u16string Numbered(const char16_t* text, std::size_t number)
{
    std::u16string name(text);
    for (const char digit : std::to_string(number))
        name += static_cast<char16_t>(digit);
    return name;
}

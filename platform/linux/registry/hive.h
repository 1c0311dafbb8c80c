// The two hives: where they lie, and who may be trusted with them.
#pragma once

#include <cstdint>
#include <string>
#include <sys/stat.h>

namespace Platform::Registry {

enum class Hive : std::uint8_t { User, Machine };

constexpr mode_t FolderMode(Hive hive)
{
    return hive == Hive::User ? 0700 : 0755;
}
constexpr mode_t FileMode(Hive hive)
{
    return hive == Hive::User ? 0600 : 0644;
}

// The absolute path of the hive's folder, as the environment says now. May throw bad_alloc.
std::uint32_t FindHive(Hive hive, std::string& path);

// Whether nobody can have written there but those who may: the user's hive belongs to the caller, the
// machine's to root or the caller, and nobody else can write the folder.
bool IsTrusted(Hive hive, const struct stat& folder) noexcept;

// Makes the hive's folder and what is missing above it. Gives a code.
std::uint32_t MakeHive(Hive hive, const std::string& path) noexcept;

} // namespace Platform::Registry

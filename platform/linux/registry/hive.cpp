#include "platform/linux/registry/hive.h"

#include "platform/errors.h"
#include "platform/linux/registry/calls.h"
#include "platform/linux/registry/key_folder.h"

#include <cstdlib>
#include <memory>
#include <new>
#include <pwd.h>

namespace Platform::Registry {

namespace {

constexpr const char* NameOf(Hive hive)
{
    return hive == Hive::User ? "HKEY_CURRENT_USER" : "HKEY_LOCAL_MACHINE";
}

constexpr char machineHive[] = "/etc/tessel/registry";

// Empty if the variable is not set, or if the program has more rights than who called it.
std::string Variable(const char* name)
{
    const char* const value = ::secure_getenv(name);
    return value ? value : "";
}

std::string HomeFolder()
{
    std::string home = Variable("HOME");
    if (!home.empty())
        return home;
    char text[4096];
    passwd entry;
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, text, sizeof text, &found) == 0 && found)
        home = found->pw_dir;
    return home;
}

std::string ConfigurationFolder()
{
    const std::string folder = Variable("XDG_CONFIG_HOME");
    return folder.starts_with('/') ? folder : HomeFolder() + "/.config"; // relative ones do not count
}

// The mode as it is asked for, whatever the process's mask.
Code MakeFolder(int parent, const char* name, mode_t mode) noexcept
{
    if (Seam::MakeFolderAt(parent, name, mode) != 0)
        return errno == EEXIST ? ERROR_SUCCESS : CodeOfErrno();
    const Descriptor made(Seam::OpenAt(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW));
    return made && Seam::SetMode(made.Get(), mode) == 0 ? ERROR_SUCCESS : CodeOfErrno();
}

} // namespace

std::uint32_t FindHive(Hive hive, std::string& path)
{
    const std::string both = Variable("TESSEL_REGISTRY");
    if (!both.empty())
        path = both + (hive == Hive::User ? "/user" : "/machine");
    else if (hive == Hive::Machine)
        path = machineHive;
    else
        path = ConfigurationFolder() + "/tessel/registry";
    return path.starts_with('/') ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

bool IsTrusted(Hive hive, const struct stat& folder) noexcept
{
    const bool rightOwner = folder.st_uid == ::geteuid() || (hive == Hive::Machine && folder.st_uid == 0);
    return S_ISDIR(folder.st_mode) && rightOwner && (folder.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

std::uint32_t MakeHive(Hive hive, const std::string& path) noexcept
try {
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string level = path.substr(0, end);
        if (const Code code = MakeFolder(AT_FDCWD, level.c_str(), FolderMode(hive)))
            return code;
        if (end == std::string::npos)
            break;
    }
    const bool named = Seam::MakeLinkAt(NameOf(hive), AT_FDCWD, (path + "/name").c_str()) == 0;
    return named || errno == EEXIST ? ERROR_SUCCESS : CodeOfErrno();
} catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
}

} // namespace Platform::Registry

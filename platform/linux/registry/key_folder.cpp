#include "platform/linux/registry/key_folder.h"

#include "platform/errors.h"
#include "platform/linux/registry/calls.h"

#include <climits>
#include <cstring>

namespace Platform::Registry {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;

constexpr std::string_view subkeysPrefix = "keys/";

// Older kernels lack openat2, and some containers forbid it.
Descriptor OpenByLevels(int parent, std::string_view path) noexcept
{
    if (!path.starts_with(subkeysPrefix))
        return Descriptor(Seam::OpenAt(parent, path.data(), folderFlags));
    const Descriptor subkeys(Seam::OpenAt(parent, "keys", folderFlags));
    path.remove_prefix(subkeysPrefix.size());
    return Descriptor(subkeys ? Seam::OpenAt(subkeys.Get(), path.data(), folderFlags) : -1);
}

} // namespace

Code CodeOfErrno() noexcept
{
    switch (errno) {
    case ELOOP:
    case ENOTDIR:
    case EISDIR:
    case ENXIO:
    case ESPIPE:
        return ERROR_INVALID_DATA;
    default:
        return ErrorFromErrno(errno);
    }
}

Descriptor OpenFolder(int parent, const char* path) noexcept
{
    Descriptor opened(Seam::OpenBeneath(parent, path, folderFlags));
    if (!opened && (errno == ENOSYS || errno == EPERM))
        opened = OpenByLevels(parent, path);
    return opened;
}

Code KeyFolder::OpenSubkey(std::u16string_view name, KeyFolder& subkey) const noexcept
{
    const FileName fileName = FileNameOfKey(name);
    KeyFolder opened;
    if (const Code code = OpenSubkeyFolder(fileName.text, opened))
        return code;
    if (IsDigest(fileName)) {
        char16_t room[keyNameLimit];
        std::u16string_view found;
        if (const Code code = opened.ReadName(room, found))
            return code;
        if (!EqualNames(found, name))
            return ERROR_INVALID_DATA;
    }
    subkey = std::move(opened);
    return ERROR_SUCCESS;
}

Code KeyFolder::OpenSubkeyFolder(const char* fileName, KeyFolder& subkey) const noexcept
{
    char path[subkeysPrefix.size() + NAME_MAX + 1];
    std::memcpy(path, subkeysPrefix.data(), subkeysPrefix.size());
    std::memcpy(path + subkeysPrefix.size(), fileName, std::strlen(fileName) + 1);
    KeyFolder opened(OpenFolder(Get(), path), hive, level + 1);
    if (!opened.folder)
        return errno == ENOENT ? MissingCode() : CodeOfErrno();
    if (!opened.IsAlive())
        return CodeOfErrno();
    subkey = std::move(opened);
    return ERROR_SUCCESS;
}

Code KeyFolder::ReadName(char16_t* room, std::u16string_view& name) const noexcept
{
    NameText text;
    const ssize_t length = Seam::ReadLinkAt(Get(), "name", text.text, sizeof text.text);
    if (length < 0)
        return errno == EINVAL ? ERROR_INVALID_DATA : CodeOfErrno(); // no link, or no living key
    name = NameInText({text.text, static_cast<std::size_t>(length)}, room);
    return name.empty() ? ERROR_INVALID_DATA : ERROR_SUCCESS;
}

Descriptor KeyFolder::OpenSubkeys() const noexcept
{
    return OpenFolder(Get(), "keys");
}

Code KeyFolder::OpenAgain(KeyFolder& again) const noexcept
{
    KeyFolder opened(Descriptor(Seam::OpenAt(Get(), ".", folderFlags)), hive, level);
    if (!opened.folder || !opened.IsAlive())
        return errno == ENOENT ? ERROR_KEY_DELETED : CodeOfErrno();
    again = std::move(opened);
    return ERROR_SUCCESS;
}

bool KeyFolder::IsAlive() const noexcept
{
    struct stat status;
    return Seam::StatAt(Get(), "name", &status, AT_SYMLINK_NOFOLLOW) == 0;
}

Code KeyFolder::MissingCode() const noexcept
{
    if (IsAlive())
        return ERROR_FILE_NOT_FOUND;
    return errno == ENOENT ? ERROR_KEY_DELETED : CodeOfErrno();
}

Code KeyFolder::CheckWritable() const noexcept
{
    return Seam::AccessAt(Get(), ".", W_OK | X_OK) == 0 ? ERROR_SUCCESS : CodeOfErrno();
}

Stamp KeyFolder::PeekStamp() noexcept
{
    const bool wasOpen = stampFile.Get() >= 0;
    const Stamp stamp = ReadStamp();
    if (!wasOpen)
        stampFile.Close();
    return stamp;
}

Code KeyFolder::ReadStamp(Stamp& stamp) noexcept
{
    stamp = {};
    if (!stampFile)
        stampFile = Descriptor(Seam::OpenAt(Get(), "stamp", O_RDONLY | O_NOFOLLOW | O_NONBLOCK));
    if (!stampFile && errno == ENOENT)
        return ERROR_SUCCESS;
    std::uint64_t words[2];
    ssize_t count = -1;
    if (stampFile)
        do
            count = Seam::ReadFrom(stampFile.Get(), words, sizeof words, 0);
        while (count < 0 && errno == EINTR);
    if (count < 0) {
        stamp = {1, 1, true};
        return CodeOfErrno();
    }
    if (count == sizeof words) // who made it may have been killed before it wrote there
        stamp = {words[0], words[1], true};
    return ERROR_SUCCESS;
}

bool EnsureMode(int descriptor, mode_t mode) noexcept
{
    struct stat status;
    return Seam::Status(descriptor, &status) == 0
        && ((status.st_mode & 07777) == mode || Seam::SetMode(descriptor, mode) == 0);
}

} // namespace Platform::Registry

#include "platform/linux/named/folder.h"

#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/linux/files/calls.h"

#include <cstdio>
#include <mutex>

namespace Platform {

namespace {

constexpr int candidates = 16;

struct FolderName {
    char text[96];
};

// The number of a namespace is that of its file; 0 where the system does not show it, to everybody alike.
FolderName NameOf(int candidate) noexcept
{
    struct stat space { };
    ::stat("/proc/self/ns/pid", &space);
    FolderName name;
    std::snprintf(name.text, sizeof name.text, "/dev/shm/tessel-%u-%llu-%d", ::geteuid(),
        static_cast<unsigned long long>(space.st_ino), candidate);
    return name;
}

// A link, a foreign folder, or one that others can enter is not opened.
Descriptor OpenTrusted(const FolderName& name) noexcept
{
    Descriptor folder(Seam::OpenAt(AT_FDCWD, name.text, O_RDONLY | O_DIRECTORY | O_NOFOLLOW));
    struct stat status { };
    if (folder
        && (::fstat(folder.Get(), &status) != 0 || status.st_uid != ::geteuid()
            || (status.st_mode & 07777) != 0700))
        folder.Close();
    return folder;
}

Descriptor Find() noexcept
{
    for (int i = 0; i < candidates; ++i)
        if (Descriptor found = OpenTrusted(NameOf(i)))
            return found;
    return {};
}

// Two that make one at a time make the same, for both begin with the first name that nobody else has.
Descriptor Make() noexcept
{
    for (int i = 0; i < candidates; ++i) {
        const FolderName name = NameOf(i);
        if (Seam::MakeFolderAt(AT_FDCWD, name.text, 0700) == 0)
            ::chmod(name.text, 0700); // whatever the process's mask
        else if (errno != EEXIST)
            break;
        if (Descriptor made = OpenTrusted(name))
            return made;
    }
    FailWithErrno();
    return {};
}

} // namespace

int NamedFolder() noexcept
{
    static constinit std::mutex lock; // guards `kept`
    static constinit int kept = -1; // never closed: it may be wanted while the process ends
    const std::lock_guard guard(lock);
    if (kept < 0) {
        Descriptor folder = Find();
        if (!folder)
            folder = Make();
        kept = folder.Release();
    }
    return kept;
}

} // namespace Platform

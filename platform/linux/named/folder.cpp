// How processes that begin at the same time agree is told in FORMAT.md; numbers are its steps.
#include "platform/linux/named/folder.h"

#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/linux/files/folder_reader.h"
#include "platform/linux/named/calls.h"

#include <cstdio>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <sys/sysmacros.h>
#include <vector>

namespace Platform {

namespace {

constexpr mode_t proposedMode = 0700;
constexpr mode_t chosenMode = 01700;
constexpr mode_t modeBits = 07777;

class Agreement {
public:
    explicit Agreement(uid_t itsUser);

    // Without one, empty with errno.
    Descriptor Reach();

private:
    bool List();
    void Note(const char* name);
    bool Propose();
    bool Choose();
    bool LockProposed(std::vector<Descriptor>& locked);
    Descriptor Open(const std::string& name) const noexcept
    {
        return OpenFolder(parent.Get(), name.c_str(), O_NOFOLLOW);
    }

    const uid_t user;
    std::string prefix; // of the names of all folders of the user and the namespace
    const Descriptor parent;
    dev_t device = 0;
    // As last listed.
    std::string chosen; // empty if there is none yet
    std::set<std::string> proposed;
    std::string own; // what was made here
};

// The number of a namespace is that of its file; 0 where the system does not show it, to everybody alike.
Agreement::Agreement(uid_t itsUser) : user(itsUser), parent(OpenFolder(AT_FDCWD, "/dev/shm", 0))
{
    struct stat space { };
    ::stat("/proc/self/ns/pid", &space);
    prefix = "tessel-objects-" + std::to_string(user) + '-' + std::to_string(space.st_ino) + '-';
}

Descriptor Agreement::Reach()
{
    for (;;) {
        if (!List())
            return {};
        if (!chosen.empty()) {
            Descriptor found = Open(chosen);
            if (!found && errno == ENOENT)
                continue;
            if (!own.empty() && own != chosen)
                Seam::UnlinkAt(parent.Get(), own.c_str(), AT_REMOVEDIR);
            return found;
        }
        if (proposed.empty() ? !Propose() : !Choose())
            return {};
    }
}

bool Agreement::List()
{
    chosen.clear();
    proposed.clear();
    struct stat status { };
    FolderReader reader;
    if (!parent || ::fstat(parent.Get(), &status) != 0 || !reader.Start(OpenFolder(parent.Get(), ".", 0))
        || !reader)
        return false;
    device = status.st_dev;
    FolderEntry entry;
    while (chosen.empty() && reader.Next(entry))
        if (std::string_view(entry.name, entry.bytes).starts_with(prefix))
            Note(entry.name);
    return !chosen.empty() || errno == 0;
}

// What is not a folder of the user alone is passed over. It is not opened, nor is its file system asked, for
// somebody else could have mounted one there that does not answer, or lies.
void Agreement::Note(const char* name)
{
    struct statx status { };
    if (Seam::StatAtExtended(parent.Get(), name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC,
            STATX_BASIC_STATS, &status)
            != 0
        || makedev(status.stx_dev_major, status.stx_dev_minor) != device || !S_ISDIR(status.stx_mode)
        || status.stx_uid != user)
        return;
    const mode_t mode = status.stx_mode & modeBits;
    if (mode == chosenMode)
        chosen = name;
    else if (mode == proposedMode)
        proposed.insert(name);
}

// Step 2. Others may have chosen theirs and removed this one at once.
bool Agreement::Propose()
{
    own = "/dev/shm/" + prefix + "XXXXXX";
    if (Seam::MakeFolderOfNewName(own.data()) != 0)
        return false;
    own.erase(0, own.rfind('/') + 1);
    // Whatever the process's mask.
    return Seam::ChangeModeAt(parent.Get(), own.c_str(), proposedMode) == 0 || errno == ENOENT;
}

// Steps 3 and 4. True also where another look has to be taken.
bool Agreement::Choose()
{
    const std::set<std::string> before = proposed;
    std::vector<Descriptor> locked;
    if (!LockProposed(locked))
        return errno == ENOENT;
    if (!List())
        return false;
    if (!chosen.empty() || proposed != before)
        return true;
    if (Seam::ChangeModeAt(parent.Get(), before.begin()->c_str(), chosenMode) != 0)
        return errno == ENOENT;
    for (auto loser = std::next(before.begin()); loser != before.end(); ++loser)
        Seam::UnlinkAt(parent.Get(), loser->c_str(), AT_REMOVEDIR);
    return true;
}

// In the order of their names, so that nobody waits in a circle.
bool Agreement::LockProposed(std::vector<Descriptor>& locked)
{
    for (const std::string& name : proposed) {
        locked.push_back(Open(name));
        if (!locked.back())
            return false;
        while (Seam::LockFolder(locked.back().Get()) != 0)
            if (errno != EINTR)
                return false;
    }
    return true;
}

// Whether the folder is there yet, and the user the same. (The number may also be another file's by now, in a
// process that has closed all that it had open.)
bool IsStillGood(int folder, uid_t user) noexcept
{
    struct stat status { };
    return folder >= 0 && ::fstat(folder, &status) == 0 && S_ISDIR(status.st_mode) && status.st_nlink > 0
        && status.st_uid == user && (status.st_mode & modeBits) == chosenMode;
}

} // namespace

int NamedFolder() noexcept
try {
    static constinit std::mutex lock; // guards `kept`
    static constinit int kept = -1; // never closed: objects know it, and it may be wanted at the end
    const std::lock_guard guard(lock);
    const uid_t user = ::geteuid();
    if (!IsStillGood(kept, user)) {
        kept = Agreement(user).Reach().Release();
        if (kept < 0)
            FailWithErrno();
    }
    return kept;
} catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return -1;
}

} // namespace Platform

#include "platform/linux/registry/change.h"

#include "platform/errors.h"
#include "platform/linux/registry/calls.h"

#include <atomic>
#include <pthread.h>

namespace Platform::Registry {

namespace {

constinit std::atomic<unsigned> forks{0};

// A forked child shares the locks of the descriptors that it inherits with its parent, so that they keep
// neither from the other. The count tells it that its descriptors are not its own.
unsigned CountForks() noexcept
{
    [[maybe_unused]] static const int registered = ::pthread_atfork(nullptr, nullptr, [] { ++forks; });
    return forks;
}

bool CallLock(int descriptor, int command, short type) noexcept
{
    int result = 0;
    do {
        struct flock range { };
        range.l_type = type;
        range.l_whence = SEEK_SET;
        range.l_len = 1;
        result = Seam::Lock(descriptor, command, &range);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

Descriptor OpenOrMake(int folder, const char* name, mode_t mode) noexcept
{
    constexpr int flags = O_RDWR | O_NOFOLLOW | O_NONBLOCK;
    Descriptor opened(Seam::OpenAt(folder, name, flags | O_CREAT, mode));
    if (opened && !EnsureMode(opened.Get(), mode))
        opened.Close();
    return opened;
}

} // namespace

Code Change::Begin() noexcept
{
    if (const Code code = TakeLock())
        return code;
    // One that cannot be read must not count as none: the numbers would begin anew, and even ones come twice.
    if (const Code code = key.ReadStamp(before))
        return code;
    now = before;
    // Settled means alive, as of the moment when it was read, and nobody else can change that any more.
    if (!before.IsSettled() && !key.IsAlive())
        return errno == ENOENT ? ERROR_KEY_DELETED : CodeOfErrno();
    return ERROR_SUCCESS;
}

Code Change::TakeLock() noexcept
{
    const unsigned forksNow = CountForks();
    if (!key.lockFile || key.lockForks != forksNow) {
        key.lockFile = OpenOrMake(key.Get(), "lock", 0600); // no reader's business
        key.lockForks = forksNow;
    }
    if (!key.lockFile)
        return errno == ENOENT ? key.MissingCode() : CodeOfErrno();
    if (!CallLock(key.lockFile.Get(), F_OFD_SETLKW, F_WRLCK))
        return CodeOfErrno();
    locked = true;
    if (!key.stampIsWritable) {
        key.stampFile = OpenOrMake(key.Get(), "stamp", FileMode(key.hive));
        if (!key.stampFile)
            return errno == ENOENT ? key.MissingCode() : CodeOfErrno();
        key.stampIsWritable = true;
    }
    return ERROR_SUCCESS;
}

Code Change::Announce(bool names) noexcept
{
    Stamp next = now;
    if (!announced)
        next.sequence += next.sequence % 2 == 0 ? 1 : 2;
    if (names)
        next.names |= 1; // somebody who was killed may have left it so
    if (!Write(next))
        return CodeOfErrno();
    now = next;
    announced = true;
    return ERROR_SUCCESS;
}

Change::~Change()
{
    // A stamp that stays odd because this fails makes readers slow until the next change, and nothing worse.
    if (announced)
        Write(After());
    if (locked)
        CallLock(key.lockFile.Get(), F_OFD_SETLK, F_UNLCK);
}

bool Change::Write(const Stamp& stamp) noexcept
{
    const std::uint64_t words[2] = {stamp.sequence, stamp.names};
    const ssize_t count = Seam::WriteTo(key.stampFile.Get(), words, sizeof words, 0);
    if (count >= 0 && count != sizeof words)
        errno = ENOSPC;
    return count == sizeof words;
}

} // namespace Platform::Registry

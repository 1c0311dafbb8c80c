#include "platform/linux/named/shared_file.h"

#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/linux/named/calls.h"
#include "platform/linux/named/folder.h"
#include "platform/linux/registry/sha256.h"

#include <algorithm>
#include <new>

namespace Platform {

namespace {

constexpr std::size_t nameLimit = 260; // chars
constexpr std::size_t nameOffset = offsetof(SharedObject, name);

enum LockedByte : off_t { inUse = 0, making = 1 };

// The owner of a lock is the open file description, so it holds between threads, too, and ends with the
// process.
bool SetLock(int descriptor, LockedByte byte, short type, bool waits) noexcept
{
    for (;;) {
        struct flock range { };
        range.l_type = type;
        range.l_whence = SEEK_SET;
        range.l_start = byte;
        range.l_len = 1;
        if (Seam::Lock(descriptor, waits ? F_OFD_SETLKW : F_OFD_SETLK, &range) == 0)
            return true;
        if (errno != EINTR)
            return false;
    }
}

struct FileName {
    char text[65];
};

FileName NameOf(std::u16string_view name) noexcept
{
    Registry::Sha256 digest;
    for (const char16_t unit : name) {
        digest.Add(static_cast<std::uint8_t>(unit));
        digest.Add(static_cast<std::uint8_t>(unit >> 8));
    }
    FileName made;
    char* out = made.text;
    for (const unsigned byte : digest.Finish())
        for (const unsigned half : {byte >> 4, byte & 15})
            *out++ = "0123456789abcdef"[half];
    *out = 0;
    return made;
}

bool IsStillNamed(int descriptor, int folder, const char* fileName) noexcept
{
    struct stat opened { };
    struct stat named { };
    return ::fstat(descriptor, &opened) == 0
        && Seam::StatAt(folder, fileName, &named, AT_SYMLINK_NOFOLLOW) == 0 && opened.st_ino == named.st_ino
        && opened.st_dev == named.st_dev;
}

void InitializeMutex(pthread_mutex_t& mutex) noexcept
{
    pthread_mutexattr_t attributes;
    ::pthread_mutexattr_init(&attributes);
    ::pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    ::pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    ::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    ::pthread_mutex_init(&mutex, &attributes);
    ::pthread_mutexattr_destroy(&attributes);
}

} // namespace

// Whoever gets byte 0 for itself, with byte 1 held, is alone.
void SharedFile::UnlinkIfAlone() noexcept
{
    if (!object || !SetLock(descriptor.Get(), making, F_WRLCK, true))
        return;
    const FileName name = NameOf({object->name, object->nameLength});
    if (SetLock(descriptor.Get(), inUse, F_WRLCK, false) && IsStillNamed(descriptor.Get(), folder, name.text))
        Seam::UnlinkAt(folder, name.text, 0);
    SetLock(descriptor.Get(), making, F_UNLCK, false);
}

SharedFile::~SharedFile()
{
    UnlinkIfAlone();
    if (object)
        ::munmap(object, mapped);
}

bool SharedFile::Open(std::u16string_view name, Mode mode, const NewObject& missing, bool* made) noexcept
{
    if (name.size() > nameLimit)
        return Fail(ERROR_FILENAME_EXCED_RANGE);
    folder = NamedFolder();
    if (folder < 0)
        return false;
    const FileName fileName = NameOf(name);
    for (;;) {
        *made = false;
        const Outcome outcome = TryOpen(fileName.text, name, mode, missing, made);
        if (outcome == Outcome::Done)
            return true;
        if (outcome == Outcome::Failed) {
            FailWithErrno();
            if (*made) // half of it; nobody else has it yet
                Seam::UnlinkAt(folder, fileName.text, 0);
        }
        if (object)
            ::munmap(std::exchange(object, nullptr), mapped);
        descriptor.Close();
        if (outcome == Outcome::Failed)
            return false;
    }
}

SharedFile::Outcome SharedFile::TryOpen(
    const char* fileName, std::u16string_view name, Mode mode, const NewObject& missing, bool* made) noexcept
{
    const int creation = mode == Mode::MakeIfMissing ? O_CREAT : 0;
    descriptor = Descriptor(Seam::OpenAt(folder, fileName, O_RDWR | O_NOFOLLOW | creation, 0600));
    if (!descriptor || !SetLock(descriptor.Get(), making, F_WRLCK, true))
        return Outcome::Failed;
    if (!IsStillNamed(descriptor.Get(), folder, fileName))
        return Outcome::StartOver;
    struct stat status { };
    ::fstat(descriptor.Get(), &status);
    *made = SetLock(descriptor.Get(), inUse, F_WRLCK, false);
    if (*made && (status.st_size != 0 || mode == Mode::OpenOnly)) // what the killed have left
        return Seam::UnlinkAt(folder, fileName, 0) == 0 ? Outcome::StartOver : Outcome::Failed;
    if (*made ? !Make(name, missing) : !Map(static_cast<std::size_t>(status.st_size)))
        return Outcome::Failed;
    if (std::u16string_view(object->name, object->nameLength) != name) {
        errno = EBADF; // not ours
        return Outcome::Failed;
    }
    // There is no gap between the two states of byte 0: nobody looks at it without byte 1.
    if (!SetLock(descriptor.Get(), inUse, F_RDLCK, false))
        return Outcome::Failed;
    if (*made && missing.isLocked)
        static_cast<void>(
            ::pthread_mutex_trylock(&object->mutex)); // nobody else has it, and nothing can fail now
    SetLock(descriptor.Get(), making, F_UNLCK, false);
    return Outcome::Done;
}

bool SharedFile::Make(std::u16string_view name, const NewObject& missing) noexcept
{
    const std::size_t size = nameOffset + (name.size() + 1) * sizeof(char16_t);
    if (Seam::Allocate(descriptor.Get(), static_cast<off_t>(size)) != 0)
        return false;
    void* const memory = Seam::Map(descriptor.Get(), size);
    if (memory == MAP_FAILED)
        return false;
    mapped = size;
    object = new (memory) SharedObject; // the rest is 0 already
    object->version = SharedObject::presentVersion;
    object->kind = missing.kind;
    object->size = static_cast<std::uint32_t>(size);
    object->nameLength = static_cast<std::uint32_t>(name.size());
    object->word.store(missing.word, std::memory_order_relaxed);
    InitializeMutex(object->mutex);
    std::ranges::copy(name, object->name);
    object->magic.store(SharedObject::validMagic, std::memory_order_release);
    return true;
}

// Nothing in the file is believed before it was looked at.
bool SharedFile::Map(std::size_t size) noexcept
{
    errno = EBADF;
    if (size < nameOffset + sizeof(char16_t))
        return false;
    void* const memory = Seam::Map(descriptor.Get(), size);
    if (memory == MAP_FAILED)
        return false;
    mapped = size;
    object = static_cast<SharedObject*>(memory);
    errno = EBADF;
    return object->magic.load(std::memory_order_acquire) == SharedObject::validMagic
        && object->version == SharedObject::presentVersion && object->size == size
        && object->nameLength == (size - nameOffset) / sizeof(char16_t) - 1;
}

} // namespace Platform

#include "platform/files.h"

#include "platform/errors.h"
#include "platform/linux/files/calls.h"
#include "platform/linux/files/disk_path.h"
#include "platform/linux/files/open_file.h"
#include "platform/linux/files/sharing.h"
#include "platform/linux/handles/handle_table.h"

#include <new>

namespace Platform {

namespace {

constexpr std::uint32_t attributeRights = FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES;
constexpr std::uint32_t knownFlags = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_NORMAL
    | FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_WRITE_THROUGH;

// What was asked. The file is emptied after its sharing is claimed, never by the system's open itself;
// so emptying needs a descriptor that writes, whatever the handle may do later.
struct Request {
    bool reads = false;
    bool writes = false;
    bool empties = false;
    bool mayExist = false;
    bool mayBeMade = false;
    bool folderToo = false;
    int flags = 0; // for the system's open

    bool OnlyAttributes() const { return !reads && !writes && !empties; }
};

bool ReadRequest(
    std::uint32_t access, std::uint32_t disposition, std::uint32_t flags, Request& request) noexcept
{
    if ((access & ~(GENERIC_READ | GENERIC_WRITE | attributeRights)) != 0 || (flags & ~knownFlags) != 0
        || disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING
        || (disposition == TRUNCATE_EXISTING && (access & GENERIC_WRITE) == 0))
        return Fail(ERROR_INVALID_PARAMETER);
    request.reads = access & GENERIC_READ;
    request.writes = access & GENERIC_WRITE;
    request.empties = disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
    request.mayExist = disposition != CREATE_NEW;
    request.mayBeMade = disposition != OPEN_EXISTING && disposition != TRUNCATE_EXISTING;
    request.folderToo =
        (flags & FILE_FLAG_BACKUP_SEMANTICS) && disposition == OPEN_EXISTING && !request.writes;
    const bool descriptorWrites = request.writes || request.empties;
    request.flags = descriptorWrites ? (request.reads ? O_RDWR : O_WRONLY) : O_RDONLY;
    // Never to wait for the other end of a pipe that takes the file's place; files do not mind.
    request.flags |= O_NONBLOCK | (flags & FILE_FLAG_WRITE_THROUGH ? O_DSYNC : 0);
    return true;
}

// An open that a signal interrupted has opened nothing.
Descriptor OpenPatiently(const DiskPath& place, int flags) noexcept
{
    int descriptor = -1;
    do
        descriptor = Seam::OpenAt(place.Folder(), place.Name(), flags, 0666);
    while (descriptor < 0 && errno == EINTR);
    return Descriptor(descriptor);
}

struct Opened {
    Descriptor descriptor;
    bool pathOnly = false;
};

// Opening some devices has effects of its own, so what stands there is looked at before it is opened.
bool OpenPresent(const DiskPath& place, const Request& request, Opened& opened) noexcept
{
    struct stat status;
    if (Seam::StatAt(place.Folder(), place.Name(), &status, 0) != 0)
        return place.FailHere();
    if (S_ISDIR(status.st_mode) && !request.folderToo)
        return Fail(ERROR_ACCESS_DENIED);
    if (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode))
        opened.descriptor = OpenPatiently(place, request.flags);
    else if (request.OnlyAttributes())
        errno = EACCES;
    else
        return Fail(ERROR_NOT_SUPPORTED);
    // Attributes can be had without the permission to read.
    opened.pathOnly = !opened.descriptor && request.OnlyAttributes() && errno == EACCES;
    if (opened.pathOnly)
        opened.descriptor = OpenPatiently(place, O_PATH);
    return opened.descriptor || place.FailHere();
}

bool Make(const DiskPath& place, const Request& request, Opened& opened) noexcept
{
    opened.descriptor = OpenPatiently(place, request.flags | O_CREAT | (request.mayExist ? 0 : O_EXCL));
    if (!opened.descriptor && errno == EEXIST)
        return Fail(ERROR_FILE_EXISTS);
    return opened.descriptor || place.FailHere();
}

// A file that exists is opened without O_CREAT: in a folder that all may write, the system refuses the
// latter for the files of others.
bool Open(const DiskPath& place, const Request& request, Opened& opened) noexcept
{
    if (request.mayExist && OpenPresent(place, request, opened))
        return true;
    if (request.mayExist && (!request.mayBeMade || GetLastError() != ERROR_FILE_NOT_FOUND))
        return false;
    return Make(place, request, opened);
}

// Looks again at what was opened, for it may have changed since it was looked at.
bool IsWhatWasAsked(const Opened& opened, const Request& request, bool& isFile) noexcept
{
    struct stat status;
    if (Seam::StatAt(opened.descriptor.Get(), "", &status, AT_EMPTY_PATH) != 0)
        return FailWithErrno();
    isFile = S_ISREG(status.st_mode);
    if (S_ISDIR(status.st_mode))
        return request.folderToo || Fail(ERROR_ACCESS_DENIED);
    return isFile || opened.pathOnly || Fail(ERROR_NOT_SUPPORTED);
}

std::uint32_t ClaimOf(const Request& request, std::uint32_t share) noexcept
{
    return (request.reads ? CLAIM_READS : 0U) | (request.writes || request.empties ? CLAIM_WRITES : 0U)
        | (share & FILE_SHARE_READ ? 0U : CLAIM_DENIES_READS)
        | (share & FILE_SHARE_WRITE ? 0U : CLAIM_DENIES_WRITES);
}

bool Empty(int descriptor) noexcept
{
    int result = 0;
    do
        result = Seam::Truncate(descriptor, 0);
    while (result != 0 && errno == EINTR);
    return result == 0 || FailWithErrno();
}

bool OpenAsAsked(const DiskPath& place, const Request& request, std::uint32_t share, Opened& opened) noexcept
{
    bool isFile = false;
    if (!Open(place, request, opened) || !IsWhatWasAsked(opened, request, isFile))
        return false;
    if (!isFile || request.OnlyAttributes())
        return true;
    return ClaimSharing(opened.descriptor.Get(), ClaimOf(request, share))
        && (!request.empties || Empty(opened.descriptor.Get()));
}

std::uint32_t RightsOf(std::uint32_t access) noexcept
{
    return access | SYNCHRONIZE | (access & GENERIC_READ ? FILE_READ_ATTRIBUTES : 0)
        | (access & GENERIC_WRITE ? FILE_WRITE_ATTRIBUTES : 0);
}

} // namespace

Handle CreateFileW(const char16_t* path, std::uint32_t access, std::uint32_t share, std::uint32_t disposition,
    std::uint32_t flagsAndAttributes) noexcept
{
    const std::uint32_t before = GetLastError();
    Request request{};
    DiskPath place;
    Opened opened;
    if (!ReadRequest(access, disposition, flagsAndAttributes, request) || !place.Set(path)
        || !OpenAsAsked(place, request, share, opened))
        return INVALID_HANDLE_VALUE;
    auto* const file = new (std::nothrow) OpenFile(std::move(opened.descriptor), opened.pathOnly);
    if (!file) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return INVALID_HANDLE_VALUE;
    }
    const Handle made = MakeHandle(ObjectRef<OpenFile>::Adopt(file), RightsOf(access));
    if (made == NULL_HANDLE)
        return INVALID_HANDLE_VALUE;
    SetLastError(before); // what was tried on the way is no failure
    return made;
}

} // namespace Platform

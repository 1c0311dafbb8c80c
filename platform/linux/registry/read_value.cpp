#include "platform/linux/registry/read_value.h"

#include "platform/errors.h"
#include "platform/linux/registry/calls.h"

#include <cstring>
#include <sched.h>

namespace Platform::Registry {

namespace {

// A reader needs another try only if two sets pass it while it reads; the number is beyond all chance.
constexpr int mostTries = 100;

Reading ReadOnce(
    const KeyFolder& key, const char* fileName, ValueFile& file, void* room, std::uint32_t roomBytes) noexcept
{
    const Descriptor opened(Seam::OpenAt(key.Get(), fileName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK));
    return opened ? file.Read(opened.Get(), room, roomBytes) : Reading::Failed;
}

} // namespace

Code ReadValue(
    KeyFolder& key, const char* fileName, ValueFile& file, void* room, std::uint32_t roomBytes) noexcept
{
    Stamp before;
    for (int tries = 1;; ++tries) {
        switch (ReadOnce(key, fileName, file, room, roomBytes)) {
        case Reading::Whole:
            return ERROR_SUCCESS;
        case Reading::Empty:
            return ERROR_FILE_NOT_FOUND;
        case Reading::Failed:
            return CodeOfErrno();
        case Reading::Damaged:
            break;
        }
        const Stamp now = key.ReadStamp();
        const bool wasQuiet = tries > 1 && now.IsSettled() && now.sequence == before.sequence;
        if (wasQuiet || tries == mostTries)
            return ERROR_INVALID_DATA;
        before = now;
        ::sched_yield();
    }
}

Code ValueOutput::Give(std::uint32_t valueType, const void* from, std::uint32_t size) const noexcept
{
    if (type)
        *type = valueType;
    if (!bytes)
        return ERROR_SUCCESS;
    const std::uint32_t room = Room();
    *bytes = size;
    if (!data)
        return ERROR_SUCCESS;
    if (size > room)
        return ERROR_MORE_DATA;
    if (size != 0 && from != data)
        std::memcpy(data, from, size);
    return ERROR_SUCCESS;
}

} // namespace Platform::Registry

// Error numbers that stand for an errno have the C library's text for it. The others have ours.
#include "platform/linux/text/system_text.h"

#include "platform/errors.h"
#include "platform/kernel.h"

#include <cerrno>
#include <cstring>

namespace Platform {

namespace {

struct Sentence {
    std::uint32_t code;
    const char* text;
};

constexpr Sentence sentences[] = {
    {ERROR_INVALID_FUNCTION, "The object does not support this function"},
    {ERROR_BAD_FORMAT, "The format is wrong"},
    {ERROR_INVALID_DATA, "The data is invalid"},
    {ERROR_NO_MORE_FILES, "There are no more files"},
    {ERROR_GEN_FAILURE, "The system reports a failure that has no number of its own"},
    {ERROR_HANDLE_DISK_FULL, "The disk is full"},
    {ERROR_INSUFFICIENT_BUFFER, "The buffer is too small"},
    {ERROR_INVALID_NAME, "The name holds characters that are not allowed"},
    {ERROR_MOD_NOT_FOUND, "The module, or one that it needs, was not found"},
    {ERROR_PROC_NOT_FOUND, "The module does not export this function"},
    {ERROR_SIGNAL_REFUSED, "The thread has been suspended too often"},
    {ERROR_MORE_DATA, "There is more data than fits"},
    {WAIT_TIMEOUT_ERROR, "The wait timed out"},
    {ERROR_NO_MORE_ITEMS, "There are no more items"},
    {ERROR_DIRECTORY, "The name is not that of a directory"},
    {ERROR_NOT_OWNER, "The caller does not own the mutex"},
    {ERROR_MR_MID_NOT_FOUND, "There is no text for this message number"},
    {ERROR_INVALID_FLAGS, "The flags are invalid"},
    {ERROR_KEY_DELETED, "The registry key has been deleted"},
    {ERROR_DLL_INIT_FAILED, "The module failed to start"},
    {ERROR_NOT_FOUND, "The element was not found"},
    {ERROR_INVALID_WINDOW_HANDLE, "There is no window of this handle"},
    {ERROR_CANNOT_FIND_WND_CLASS, "There is no window class to make a window of"},
    {ERROR_CLASS_ALREADY_EXISTS, "There is a window class of this name already"},
    {ERROR_CLASS_DOES_NOT_EXIST, "There is no such window class"},
    {ERROR_CLASS_HAS_WINDOWS, "There are windows of the class"},
    {ERROR_INVALID_THREAD_ID, "There is no thread of this number with a message queue"},
    {ERROR_NOT_ENOUGH_QUOTA, "A quota of the disk, or of messages that wait, is used up"},
    {RPC_S_INVALID_BINDING, "The session service cannot be reached yet"},
    {ERROR_RESOURCE_DATA_NOT_FOUND, "The module has no resources"},
    {ERROR_RESOURCE_TYPE_NOT_FOUND, "The module has no resources of this type"},
    {ERROR_RESOURCE_NAME_NOT_FOUND, "The module has no resource of this name"},
    {ERROR_RESOURCE_LANG_NOT_FOUND, "The module does not have the resource in this language"},
};

} // namespace

const char* SystemText(std::uint32_t code) noexcept
{
    for (const Sentence& sentence : sentences)
        if (sentence.code == code)
            return sentence.text;
    const int number = ErrnoFromError(code);
    if (number == EIO && code != ERROR_IO_DEVICE)
        return nullptr; // what ErrnoFromError gives for all that it does not know
    return strerrordesc_np(number);
}

} // namespace Platform

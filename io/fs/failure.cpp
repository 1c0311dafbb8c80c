#include "io/fs/failure.h"

#include "platform/errors.h"
#include "platform/kernel.h"
#include <tessel/base/error.h>

#include <new>

namespace Io::Fs {

void Raise(std::span<const MessageRow> message, const WideString& path)
{
    Raise(message, path, Platform::GetLastError());
}

void Raise(std::span<const MessageRow> message, const WideString& path, std::uint32_t code)
{
    WideString systemText;
    systemText.SystemError(code);
    const WideString text = WideString::FromFormat(LookUp(message), path);
    if (text.IsEmpty())
        throw std::bad_alloc();
    const bool isMissing = code == Platform::ERROR_FILE_NOT_FOUND || code == Platform::ERROR_PATH_NOT_FOUND;
    Error error;
    error.AddLayer(code, systemText, true);
    error.AddLayer(isMissing ? Error::notFound : Error::sameCode, text, false);
    throw error;
}

} // namespace Io::Fs

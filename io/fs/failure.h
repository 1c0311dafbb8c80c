// How the file system's failures become an Error.
#pragma once

#include "base/message_table.h"
#include <tessel/base/string.h>

#include <span>

namespace Io::Fs {

// Throws the thread's last error, and above it the message about the path.
[[noreturn]] void Raise(std::span<const MessageRow> message, const WideString& path);
// The same for a failure that is not the system's own.
[[noreturn]] void Raise(std::span<const MessageRow> message, const WideString& path, std::uint32_t code);

} // namespace Io::Fs

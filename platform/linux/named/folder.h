// The folder of the named objects: the user's alone.
#pragma once

#include "platform/linux/files/descriptor.h"

namespace Platform {

// Opened once and kept; -1 with the last error if there is none that can be trusted.
int NamedFolder() noexcept;

} // namespace Platform

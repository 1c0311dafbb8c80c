// The entry points of "WTSAPI32.DLL", for the table of built-in modules.
#pragma once

#include "platform/linux/modules/built_in.h"

namespace Platform {

extern const BuiltInEntry sessionEntries[4];

// Whether the client library and a bus are there.
bool IsBusReachable() noexcept;

} // namespace Platform

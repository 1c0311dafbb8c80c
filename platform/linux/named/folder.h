// The folder of the named objects: the user's alone.
#pragma once

#include "platform/linux/files/descriptor.h"

namespace Platform {

// The same in all processes of the user, as long as nobody removes it; then, and where the process has become
// another user's, another one. Stays open for ever. -1 with the last error if there is none.
int NamedFolder() noexcept;

} // namespace Platform

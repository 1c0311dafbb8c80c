// Whether a file can be a module of this process at all: told by its headers, before the system's loader gets
// to see it. That maps what the headers say and touches it, so that a file which was cut off would end the
// process with a signal.
#pragma once

#include "platform/kernel.h"

namespace Platform {

// Null if the open file can be a module, otherwise what it is instead, in words: so
// also when it cannot be read.
const char* WhatIsNoModule(Handle file) noexcept;

} // namespace Platform

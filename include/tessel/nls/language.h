// The language that the system talks in.
#pragma once

#include <tessel/export.h>

#include <cstdint>

namespace Nls {

// The language identifier of the calling thread. The last error stays as it was.
TESSEL_API std::uint32_t TesselGetLangId() noexcept;

} // namespace Nls

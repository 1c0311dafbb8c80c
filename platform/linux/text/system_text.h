#pragma once

#include <cstdint>

namespace Platform {

// The system's sentence for an error number, in English and without a line break; null for a number that
// the system does not have.
const char* SystemText(std::uint32_t code) noexcept;

} // namespace Platform

// The fall-back chain of languages.
#pragma once

#include <cstdint>
#include <vector>

namespace Nls {

// The candidate that comes nearest to the wanted language identifier. The candidates are in order of
// preference, and not empty.
std::uint32_t NearestLanguage(std::uint32_t wanted, const std::vector<std::uint32_t>& candidates) noexcept;

} // namespace Nls

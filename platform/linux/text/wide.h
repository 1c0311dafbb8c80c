#pragma once

namespace Platform {

// The first char of the text that is `sought`, or else its terminator.
const char16_t* FindOrEnd(const char16_t* text, char16_t sought) noexcept;

} // namespace Platform

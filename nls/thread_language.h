// The language of a thread as a number.
#pragma once

#include <cstdint>

namespace Nls {

// The language hook: one read for a thread that has a language; one that has none gets it here. Never fails:
// where the language cannot be told it is the user's default. The last error stays as it was.
std::uint32_t ThreadLanguage() noexcept;

// What ThreadLanguage reads, for the calling thread. The object among the thread's locals goes with it.
void SetThreadLanguage(std::uint32_t resolved) noexcept;

// The language identifier that the creator tells for the calling thread. Throws what that throws.
std::uint32_t AskCurrentLanguage();

} // namespace Nls

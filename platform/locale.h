// The languages of the user and of this system, as Windows language identifiers: the lower 10 bits are
// the language, the next 6 its variety (0x409 is English of the United States). The locale of the process
// is neither read nor changed.
#pragma once

#include <cstdint>

namespace Platform {

constexpr std::uint32_t LCID_INSTALLED = 1;
constexpr std::uint32_t LCID_SUPPORTED = 2;

// The user's language: the first of the environment's LC_ALL, LC_MESSAGES and LANG that is not empty,
// such as "de_AT.UTF-8". A territory that is not known counts as the language's main one, and a language that
// is not known, "C" and "POSIX" as 0x409. Read anew at each call; as with all readers of the environment,
// nobody may change that at the same time.
std::uint32_t GetUserDefaultLangID() noexcept;

// With LCID_SUPPORTED whether the identifier is known at all, with LCID_INSTALLED (or both) whether this
// system also has texts in its language: those are the languages of the message tables, each with all its
// varieties.
bool IsValidLocale(std::uint32_t locale, std::uint32_t flags) noexcept;

} // namespace Platform

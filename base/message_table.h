// Messages in the user's language: a constant table for each message, a row for each language. English
// stands first and serves whoever has no row; languages match exactly, for the selection of the current
// language has made sure that it is one of those supported.
#pragma once

#include <cstdint>
#include <span>

struct MessageRow {
    std::uint32_t language; // a Windows language identifier
    const char16_t* text; // inserts %1, %2 as in BaseString::Format
};

// The text for the calling thread's language; null for an empty table. The last error stays as it was.
const char16_t* LookUp(std::span<const MessageRow> table) noexcept;

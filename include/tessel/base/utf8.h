// Conversions between the system's wide text and UTF-8. Neither ever leaves a broken last character.
#pragma once

#include <tessel/base/binary.h>
#include <tessel/base/string.h>

// The text up to the first zero byte, or maxBytes of it; a last character that is cut off is dropped, other
// bytes that are no UTF-8 become U+FFFD. 0xFFFFFFFF: the source is terminated. Empty for want of memory.
TESSEL_API WideString StringFromUtf8(const char* source, std::uint32_t maxBytes = 0xFFFFFFFF) noexcept;

// The text as UTF-8 with a terminating zero byte, which the size counts. A limit other than 0 is the most
// bytes that the result has, terminator included. Lone surrogates become U+FFFD. Null for want of memory.
TESSEL_API Binary StringToUtf8(const WideString& source, std::int32_t maxBytes = 0) noexcept;

// The cache on disk: UTF-8, read and replaced as a whole.
#pragma once

#include <tessel/base/string.h>

namespace Object {

// The text of a file up to its first NUL; empty if it cannot be read, is being written, or is too large to be
// a cache.
WideString ReadCacheFile(const WideString& path) noexcept;

// Replaces the file by the text and a closing NUL. It is written aside and moved over the old one, so that a
// reader, and a crash at any instant, meets the old file or the new one. Where that fails the old file stays.
void WriteCacheFile(const WideString& folder, const char16_t* name, const WideString& text) noexcept;

} // namespace Object

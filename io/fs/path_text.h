// Path texts as such: what is a path, and what are its parts. Nothing here asks the file system, but for the
// working folder.
#pragma once

#include <tessel/base/string.h>

#include <cstddef>
#include <optional>
#include <string_view>

namespace Io::Fs {

// The normalised path of a text, or of a text below the folder whose normalised path is given; nothing where
// the text makes none. A name that is too long makes none either, wherever it stands: the rest would be the
// path of something else. Throw std::bad_alloc.
std::optional<WideString> NormalisePath(std::u16string_view text);
std::optional<WideString> NormaliseBelow(std::u16string_view folder, std::u16string_view text);

// The normalised path of the working folder; nothing where it cannot be told.
std::optional<WideString> WorkingFolder();

// Of normalised texts.
std::u16string_view RootOf(std::u16string_view path) noexcept;
// Where the backslash in front of the last name is; npos for a root.
std::size_t LastSeparator(std::u16string_view path) noexcept;

// The pieces as one string. Throws std::bad_alloc.
WideString Joined(std::u16string_view first, std::u16string_view second = {}, std::u16string_view third = {});

} // namespace Io::Fs

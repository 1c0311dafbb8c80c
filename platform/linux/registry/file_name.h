// How names of keys and values become names on disk (FORMAT.md tells the rules).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Platform::Registry {

constexpr std::size_t keyNameLimit = 255; // chars
constexpr std::size_t valueNameLimit = 16383;

// In bytes. File systems that encrypt names take no more than this, others take 255.
constexpr std::size_t longestFileName = 143;

// The name on disk of a key's folder or a value's file: the same for all names that differ only in case.
struct FileName {
    char text[longestFileName + 1];
};
FileName FileNameOfKey(std::u16string_view name) noexcept;
FileName FileNameOfValue(std::u16string_view name) noexcept;

// Whether this is how the file of a value, or the folder of a key, could be called.
bool IsFileNameOfKey(std::string_view fileName) noexcept;
bool IsFileNameOfValue(std::string_view fileName) noexcept;

// The chars of the name behind a name on disk, without looking at the file.
std::size_t CharsOfKey(std::string_view fileName) noexcept;
std::size_t CharsOfValue(std::string_view fileName) noexcept;

// Whether the name stands for a digest, so that what lies there has to be compared in full.
bool IsDigest(const FileName& keyFolder) noexcept;

// A key's name as first written, in the text of its link.
constexpr std::size_t longestNameText = 6 * keyNameLimit; // bytes
struct NameText {
    char text[longestNameText + 1];
};
NameText TextOfName(std::u16string_view name) noexcept;
// The name in the text, or nothing if no name has this text. `room` has keyNameLimit chars.
std::u16string_view NameInText(std::string_view text, char16_t* room) noexcept;

// Equal but for case.
bool EqualNames(std::u16string_view left, std::u16string_view right) noexcept;

// The same number for names that are equal but for case.
std::uint64_t HashOfName(std::u16string_view name) noexcept;

} // namespace Platform::Registry

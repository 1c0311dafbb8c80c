// Where a library of which only the file name is known is to be loaded from.
#pragma once

#include <cstdint>

namespace Object {

// Writes the path for a file name (UTF-8): in the folder that the machine's administrator names, as the
// default value of SOFTWARE\Palisade\LibPaths, if the file is there; otherwise in the folder of this module;
// and the name alone where the path would be longer than 1279 characters. What is left of the outLength
// characters is filled with zeros; a text of as many or more is cut off there and has no terminator. With
// room for 1280 only a bare name can be that long.
void ResolveLibraryPath(const char* name, char16_t* out, std::uint32_t outLength) noexcept;

} // namespace Object

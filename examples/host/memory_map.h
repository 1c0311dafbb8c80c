// Which files this process has in its memory.
#pragma once

#include <string_view>

namespace Demo {

// Asks the system and not the library, which is what the demo puts to the test. By file name, without folder.
bool IsInMemory(std::string_view fileName);

} // namespace Demo

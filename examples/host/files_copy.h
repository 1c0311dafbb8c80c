// Files: a large one copied with little memory, a folder listed, a tree deleted.
#pragma once

#include <filesystem>

namespace Demo {

// Works in a folder of its own below the given one, and leaves nothing behind.
void CopyListAndDelete(const std::filesystem::path& folder);

} // namespace Demo

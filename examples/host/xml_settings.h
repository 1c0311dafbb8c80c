// Settings in an XML file: read, changed, written and read again.
#pragma once

#include <filesystem>

namespace Demo {

// Leaves the changed file behind.
void ChangeXmlSettings(const std::filesystem::path& path);

} // namespace Demo

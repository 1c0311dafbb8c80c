// What a running system knows of its modules.
#pragma once

#include <string>

namespace Tool {

// Starts the system in the folder of the library and prints every class: its name, the module that serves
// it, and its interfaces.
void PrintClasses();

// Loads a module and prints whether it is one, and if not, why. True if it is.
bool PrintWhy(const std::string& file);

} // namespace Tool

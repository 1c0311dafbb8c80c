// All classes that can be made, those of the library and those of the modules.
#pragma once

namespace Demo {

void ListClasses();

} // namespace Demo

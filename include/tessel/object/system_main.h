// The function that starts and stops the system of a module with registrations.
#pragma once

#include <tessel/export.h>
#include <tessel/module.h>

namespace Object {

// For Module alone, and one call at a time. State 1 makes a system from a static list and returns it with one
// reference; state 2 drops that; any other does nothing and gives null. Throws what the start throws.
TESSEL_API void* SystemMain(Module::StateType state, void* param);

} // namespace Object

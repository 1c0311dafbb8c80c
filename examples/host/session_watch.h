// What happens to the user's session: locks and unlocks, logons, the change to another user and back.
#pragma once

#include <string_view>

namespace Demo {

// A demo that is started with this argument calls WatchSession, and nothing else.
constexpr std::string_view watchCommand = "--watch-session";

// Tells each change until Ctrl-C, and then gives the exit code.
int WatchSession();

} // namespace Demo

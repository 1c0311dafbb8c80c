// A mutex that two processes share, one of which is killed.
#pragma once

namespace Demo {

void ShareMutex();

// The second process is this program once more, with these words: it takes the mutex, says so, and waits for
// its end.
constexpr const char* holderCommand = "hold-mutex";
int HoldMutex();

} // namespace Demo

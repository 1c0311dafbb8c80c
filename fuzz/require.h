// What must hold of every input. The fuzzer stops where it does not, and shows the way there.
#pragma once

#include <cstdlib>

inline void Require(bool holds)
{
    if (!holds)
        std::abort();
}

// What has to hold for a figure to mean anything: else the benchmark ends.
#pragma once

#include <cstdio>
#include <cstdlib>

inline void Require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "bench: %s\n", what);
        std::abort();
    }
}

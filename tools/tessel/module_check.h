// The check of a client module: what would keep it in memory for ever, or make it crash once it has left.
#pragma once

#include "tools/tessel/dynamic_section.h"

#include <string>
#include <vector>

namespace Tool {

struct Finding {
    bool isFatal; // else only a warning: there are ways to do it right
    std::string what; // the symbol, readable, or the flag
    const char* reason;
    const char* cure;
};

// In the order of the rules; nothing for a sound module.
std::vector<Finding> CheckModule(const DynamicSection& module);

} // namespace Tool

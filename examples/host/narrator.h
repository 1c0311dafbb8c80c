// What the demo says, and whether it was true.
#pragma once

#include <tessel/base/string.h>

#include <string>
#include <string_view>

namespace Demo {

// A headline in front of the next lines.
void Chapter(std::string_view headline);
// A line that only tells.
void Say(std::string_view line);
// A line that claims something: it is marked where it does not hold, and the demo fails in the end.
void Claim(bool holds, std::string_view line);
bool HasFailed() noexcept;

// Wide text as the terminal wants it.
std::string Narrow(const WideString& text);

} // namespace Demo

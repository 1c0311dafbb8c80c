// Settings that one process leaves for the next one.
#pragma once

namespace Demo {

void WriteSettings();
// Reads what WriteSettings has left, and removes it.
void ReadSettings();

} // namespace Demo

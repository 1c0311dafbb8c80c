// Threads, a wait for many things at once, and an interrupt.
#pragma once

namespace Demo {

void ShowWaits();

} // namespace Demo

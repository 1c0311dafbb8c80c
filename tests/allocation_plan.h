// Makes the n-th allocation of a test program fail. allocation_plan.cpp replaces operator
// new in a program that contains it.
#pragma once

namespace AllocationPlan {

// The n-th allocation from now on (1 is the next) fails, once; 0 plans nothing.
void FailNth(unsigned n) noexcept;
// Allocations since the last FailNth.
unsigned Count() noexcept;
// Blocks that are allocated and not yet freed.
long Living() noexcept;
// The bytes of a block just before it is freed, for whoever wants to see what is left in memory.
using Observer = void (*)(const void* block, unsigned long bytes);
void ObserveFrees(Observer observer) noexcept;

} // namespace AllocationPlan

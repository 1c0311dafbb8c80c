// Makes the n-th allocation of a test program fail. allocation_plan.cpp replaces operator
// new in a program that contains it.
#pragma once

#include <tessel/base/error.h>

#include <gtest/gtest.h>

#include <new>
#include <string>

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

// Does the work with no allocation failing, then with the first one, the second one, and so on until it needs
// fewer. It may end with std::bad_alloc or an Error, and leaks nothing; `check` looks each time at what it
// left.
template <class Work, class Check>
void FailEach(Work work, Check check)
{
    long before = 0;
    bool isStruck = true;
    for (unsigned n = 0; isStruck; ++n) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, "allocation " + std::to_string(n));
        FailNth(n);
        try {
            work();
        } catch (const std::bad_alloc&) {
        } catch (const Error&) {
        }
        isStruck = Count() >= n; // work that ends at the failure does not come to the later ones
        FailNth(0);
        check();
        if (n == 0)
            before = Living();
        EXPECT_LE(Living(), before);
    }
}

} // namespace AllocationPlan

#include "tests/allocation_plan.h"

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {
std::atomic<unsigned> count{0};
std::atomic<unsigned> failing{0};
std::atomic<long> living{0};
std::atomic<AllocationPlan::Observer> observer{nullptr};

void* Allocate(std::size_t bytes) noexcept
{
    if (++count == failing)
        return nullptr;
    void* const block = std::malloc(bytes != 0 ? bytes : 1);
    if (block != nullptr)
        ++living;
    return block;
}

void Free(void* block) noexcept
{
    if (block == nullptr)
        return;
    if (const auto observe = observer.load())
        observe(block, malloc_usable_size(block));
    --living;
    std::free(block);
}
} // namespace

void AllocationPlan::FailNth(unsigned n) noexcept
{
    failing = 0;
    count = 0;
    failing = n;
}
unsigned AllocationPlan::Count() noexcept
{
    return count;
}
long AllocationPlan::Living() noexcept
{
    return living;
}
void AllocationPlan::ObserveFrees(Observer observing) noexcept
{
    observer = observing;
}

void* operator new(std::size_t bytes)
{
    if (void* const block = Allocate(bytes))
        return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept
{
    return Allocate(bytes);
}
void operator delete(void* block) noexcept
{
    Free(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    Free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept
{
    Free(block);
}

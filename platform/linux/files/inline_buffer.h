// Room for a number of elements that is known at run time: on the stack when there are few, else on
// the heap. Not initialised, never throws.
#pragma once

#include <cstddef>
#include <memory>
#include <new>

namespace Platform {

template <class T, std::size_t inlineSize>
class InlineBuffer {
public:
    // Room for `size` elements, the former content is lost; null if there is no memory.
    T* Reserve(std::size_t size) noexcept
    {
        if (size <= inlineSize)
            return inlined;
        heap.reset(new (std::nothrow) T[size]);
        return heap.get();
    }

private:
    T inlined[inlineSize];
    std::unique_ptr<T[]> heap;
};

} // namespace Platform

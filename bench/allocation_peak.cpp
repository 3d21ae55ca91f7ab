#include "allocation_peak.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace
{

size_t live = 0;
size_t peak = 0;
size_t start = 0;

void *count(void *memory)
{
    live += malloc_usable_size(memory);
    peak = std::max(peak, live);
    return memory;
}

void *allocate(size_t size) noexcept
{
    return count(std::malloc(size == 0 ? 1 : size));
}

void *allocate_aligned(size_t size, std::align_val_t alignment) noexcept
{
    const auto align = static_cast<size_t>(alignment);
    return count(std::aligned_alloc(align, (size + align - 1) / align * align));
}

void *or_throw(void *memory)
{
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void release(void *memory) noexcept
{
    live -= malloc_usable_size(memory);
    std::free(memory);
}

} // namespace

void allocation_peak_start()
{
    start = live;
    peak = live;
}

size_t allocation_peak_bytes()
{
    return peak - start;
}

void *operator new(size_t size)
{
    return or_throw(allocate(size));
}

void *operator new(size_t size, const std::nothrow_t &) noexcept
{
    return allocate(size);
}

void *operator new(size_t size, std::align_val_t alignment)
{
    return or_throw(allocate_aligned(size, alignment));
}

void operator delete(void *memory) noexcept
{
    release(memory);
}

void operator delete(void *memory, size_t) noexcept
{
    release(memory);
}

void operator delete(void *memory, const std::nothrow_t &) noexcept
{
    release(memory);
}

void operator delete(void *memory, std::align_val_t) noexcept
{
    release(memory);
}

void operator delete(void *memory, size_t, std::align_val_t) noexcept
{
    release(memory);
}

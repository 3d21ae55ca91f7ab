#include "failing_alloc.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<size_t> countdown = 0; ///< 0: nothing fails
std::atomic<bool> happened = false;

/// Counts an allocation, of whatever thread.
bool fails_now()
{
    size_t left = countdown;
    while (left != 0 && !countdown.compare_exchange_weak(left, left - 1))
        ;
    if (left != 1)
        return false;
    happened = true;
    return true;
}

std::atomic<size_t> allocated = 0;

void *allocate(size_t size)
{
    allocated.fetch_add(size, std::memory_order_relaxed);
    return std::malloc(size == 0 ? 1 : size);
}

/// Tells the handler, as the operator new of the library does.
[[noreturn]] void run_out()
{
    if (const std::new_handler handler = std::get_new_handler(); handler != nullptr)
        handler();
    throw std::bad_alloc();
}

} // namespace

void failing_alloc_arm(size_t nth)
{
    countdown = nth;
    happened = false;
}

bool failing_alloc_disarm()
{
    countdown = 0;
    return happened;
}

size_t failing_alloc_bytes()
{
    return allocated.load(std::memory_order_relaxed);
}

void *operator new(size_t size)
{
    void *memory = fails_now() ? nullptr : allocate(size);
    if (memory == nullptr)
        run_out();
    return memory;
}

void *operator new(size_t size, const std::nothrow_t &) noexcept
{
    return fails_now() ? nullptr : allocate(size);
}

void *operator new(size_t size, std::align_val_t alignment)
{
    const auto align = static_cast<size_t>(alignment);
    void *memory =
        fails_now() ? nullptr : std::aligned_alloc(align, (size + align - 1) / align * align);
    if (memory == nullptr)
        run_out();
    return memory;
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, size_t) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, const std::nothrow_t &) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::align_val_t) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, size_t, std::align_val_t) noexcept
{
    std::free(memory);
}

#include "HeapUse.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace
{

std::atomic<std::uint64_t> allocationCount = 0;
std::atomic<std::uint64_t> bytesInUse = 0;

void* counted(void* block)
{
    if (block == nullptr)
    {
        throw std::bad_alloc();
    }
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    bytesInUse.fetch_add(malloc_usable_size(block), std::memory_order_relaxed);
    return block;
}

void release(void* block)
{
    bytesInUse.fetch_sub(malloc_usable_size(block), std::memory_order_relaxed);
    std::free(block);
}

} // namespace

void* operator new(std::size_t size)
{
    return counted(std::malloc(size));
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    const auto step = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(step, (size + step - 1) / step * step));
}

void operator delete(void* block) noexcept
{
    release(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    release(block);
}

void operator delete(void* block, std::align_val_t) noexcept
{
    release(block);
}

void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    release(block);
}

namespace Valdane
{

HeapUse HeapUse::now()
{
    return {.allocations = allocationCount.load(), .bytes = bytesInUse.load()};
}

} // namespace Valdane

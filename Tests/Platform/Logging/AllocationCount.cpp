#include "Tests/Platform/Logging/AllocationCount.h"

#include <cstdlib>
#include <new>

namespace
{

thread_local std::size_t count = 0;

} // namespace

std::size_t Valdane::Testing::allocationCount() noexcept
{
    return count;
}

// The array and nothrow forms of the standard library come down to these.
void* operator new(std::size_t size)
{
    ++count;
    if (void* memory = std::malloc(size == 0 ? 1 : size))
    {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

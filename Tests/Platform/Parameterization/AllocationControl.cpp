#include "Tests/Platform/Parameterization/AllocationControl.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace
{

constexpr auto never = std::numeric_limits<std::size_t>::max();

thread_local std::size_t count = 0;
thread_local std::size_t failAt = never;

} // namespace

namespace ValdaneTests
{

std::size_t allocationCount() noexcept
{
    return count;
}

FailingAllocation::FailingAllocation(std::size_t successes) noexcept
{
    failAt = count + successes;
}

FailingAllocation::~FailingAllocation()
{
    failAt = never;
}

} // namespace ValdaneTests

// The array and nothrow forms of the standard library come down to these.
void* operator new(std::size_t size)
{
    void* memory = count++ == failAt ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

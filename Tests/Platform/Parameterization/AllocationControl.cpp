#include "Tests/Platform/Parameterization/AllocationControl.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace
{

constexpr auto never = std::numeric_limits<std::size_t>::max();

thread_local std::size_t count = 0;
thread_local std::size_t firstToFail = never;
thread_local std::size_t lastToFail = never;

} // namespace

namespace ValdaneTests
{

std::size_t allocationCount() noexcept
{
    return count;
}

FailingAllocation::FailingAllocation(std::size_t successes, AllocationsThatFail which) noexcept
    : failsAt(count + successes)
{
    firstToFail = failsAt;
    lastToFail = which == AllocationsThatFail::One ? failsAt : never;
}

FailingAllocation::~FailingAllocation()
{
    firstToFail = never;
}

bool FailingAllocation::hasFailed() const noexcept
{
    return count > failsAt;
}

} // namespace ValdaneTests

// The array and nothrow forms of the standard library come down to these.
void* operator new(std::size_t size)
{
    const std::size_t number = count++;
    const bool fails = number >= firstToFail && number <= lastToFail;
    void* memory = fails ? nullptr : std::malloc(size == 0 ? 1 : size);
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

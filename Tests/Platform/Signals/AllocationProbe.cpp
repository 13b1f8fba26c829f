#include "Tests/Platform/Signals/AllocationProbe.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace
{

constexpr auto Unlimited = std::numeric_limits<std::size_t>::max();

// Atomic for the sake of the test framework and the sanitizers, which may have threads of their own.
std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> live{0};
std::atomic<std::size_t> successesLeft{Unlimited};

} // namespace

void* operator new(std::size_t size)
{
    ++allocations;
    if (successesLeft == 0)
    {
        throw std::bad_alloc();
    }
    if (successesLeft != Unlimited)
    {
        --successesLeft;
    }
    if (void* const memory = std::malloc(size == 0 ? 1 : size))
    {
        ++live;
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    live -= memory != nullptr ? 1 : 0;
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

namespace Valdane::Signals::Test
{

std::size_t allocationCount()
{
    return allocations;
}

std::size_t liveAllocationCount()
{
    return live;
}

AllocationFailure::AllocationFailure(std::size_t successes)
{
    successesLeft = successes;
}

AllocationFailure::~AllocationFailure()
{
    successesLeft = Unlimited;
}

} // namespace Valdane::Signals::Test

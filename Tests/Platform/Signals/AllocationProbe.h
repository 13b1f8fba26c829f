#pragma once

#include <cstddef>

namespace Valdane::Signals::Test
{

/// How often this executable has called the global operator new so far.
std::size_t allocationCount();

/// How many of these allocations have not been freed yet.
std::size_t liveAllocationCount();

/// Lets the operator new throw std::bad_alloc during its own life, after a number of further successes.
class AllocationFailure
{
public:
    explicit AllocationFailure(std::size_t successes);
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;
    ~AllocationFailure();
};

} // namespace Valdane::Signals::Test

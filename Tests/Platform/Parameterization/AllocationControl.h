#pragma once

#include <cstddef>

namespace ValdaneTests
{

/// How often this thread has called operator new so far.
std::size_t allocationCount() noexcept;

/// While it lives, one call of operator new on this thread throws std::bad_alloc: the one after @p successes
/// others.
class FailingAllocation
{
public:
    explicit FailingAllocation(std::size_t successes) noexcept;
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();
};

} // namespace ValdaneTests

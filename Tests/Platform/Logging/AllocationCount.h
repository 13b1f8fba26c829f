#pragma once

#include <cstddef>

namespace Valdane::Testing
{

/// How often this thread has called operator new so far; for executables that have AllocationCount.cpp among
/// their sources.
std::size_t allocationCount() noexcept;

} // namespace Valdane::Testing

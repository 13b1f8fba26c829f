#pragma once

#include <cstddef>
#include <cstdint>

namespace Valdane
{

// The operator new of programs that link `Valdane::CommandTestingAllocations`: it counts, and fails where a test
// wants it. Any thread.

/// How often this thread has called operator new so far.
std::size_t allocationCount() noexcept;

/// What the whole program has got from operator new.
struct HeapUse
{
    std::uint64_t allocations = 0; ///< since the program's start
    std::uint64_t blocks = 0;      ///< in use
    std::uint64_t bytes = 0;       ///< in use, as the allocator rounds them

    /// The use at this moment.
    static HeapUse now() noexcept;
};

/// Which allocations a FailingAllocation lets fail.
enum class AllocationsThatFail
{
    One,            ///< a single one
    AllFromThereOn, ///< that one, and all after it
};

/// While it lives, calls of operator new on this thread throw std::bad_alloc: the one after @p successes
/// others, or all from there on. One at a time on each thread.
class FailingAllocation
{
public:
    /// Begins to count.
    explicit FailingAllocation(std::size_t successes,
                               AllocationsThatFail which = AllocationsThatFail::One) noexcept;
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    /// Nothing fails any more. @pre on the thread that made this (not checked).
    ~FailingAllocation();

    /// Whether any has failed.
    bool hasFailed() const noexcept;

private:
    std::size_t failsAt;
};

} // namespace Valdane

#pragma once

#include <cstddef>
#include <cstdint>

namespace ValdaneTests
{

/// How often this thread has called operator new so far.
std::size_t allocationCount() noexcept;

/// What the whole program has got from operator new.
struct HeapUse
{
    std::uint64_t allocations = 0; ///< since the program's start
    std::uint64_t blocks = 0;      ///< in use
    std::uint64_t bytes = 0;       ///< in use, as the allocator rounds them

    static HeapUse now() noexcept;
};

enum class AllocationsThatFail
{
    One,
    AllFromThereOn,
};

/// While it lives, calls of operator new on this thread throw std::bad_alloc: the one after @p successes
/// others, or all from there on.
class FailingAllocation
{
public:
    explicit FailingAllocation(std::size_t successes,
                               AllocationsThatFail which = AllocationsThatFail::One) noexcept;
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// Whether any has failed.
    bool hasFailed() const noexcept;

private:
    std::size_t failsAt;
};

} // namespace ValdaneTests

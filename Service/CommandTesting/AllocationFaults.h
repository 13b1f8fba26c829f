#pragma once

#include "Service/CommandTesting/CommandTestingExport.h"

#include <cstdint>

namespace Valdane
{

/// What makes allocations fail and counts blocks for CommandKit::failures(). A program that links
/// `Valdane::CommandTestingAllocations` has one; a program whose operator new is its own may install one.
///
/// Thread: one thread at a time.
class VALDANE_COMMANDTESTING_EXPORT AllocationFaults
{
public:
    AllocationFaults(const AllocationFaults&) = delete;
    AllocationFaults& operator=(const AllocationFaults&) = delete;
    virtual ~AllocationFaults();

    /// From now on the allocations of this thread are counted, and the one after @p successes others throws
    /// std::bad_alloc.
    virtual void begin(std::uint64_t successes) noexcept = 0;

    /// Nothing fails any more. @pre begin() was called on this thread.
    /// @return whether an allocation has failed since.
    virtual bool end() noexcept = 0;

    /// How many blocks the whole program has in use.
    virtual std::uint64_t getBlocksInUse() const noexcept = 0;

    /// Has all checks use @p faults, which must live as long as they run; empty: none. Any thread; also during
    /// static initialisation.
    static void install(AllocationFaults* faults) noexcept;

    /// What was installed last; empty if there is none.
    static AllocationFaults* getInstalled() noexcept;

protected:
    AllocationFaults();
};

} // namespace Valdane

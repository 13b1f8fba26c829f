// Gives the kit the operator new of Allocations.cpp, in each program that links both.

#include "Service/CommandTesting/AllocationFaults.h"
#include "Service/CommandTesting/Allocations.h"

#include <cstdint>
#include <optional>

namespace Valdane
{
namespace
{

class LinkedAllocationFaults final : public AllocationFaults
{
public:
    LinkedAllocationFaults()
    {
        install(this);
    }

    LinkedAllocationFaults(const LinkedAllocationFaults&) = delete;
    LinkedAllocationFaults& operator=(const LinkedAllocationFaults&) = delete;

    ~LinkedAllocationFaults() override
    {
        if (getInstalled() == this)
        {
            install(nullptr);
        }
    }

    void begin(std::uint64_t successes) noexcept override
    {
        failing.emplace(successes);
    }

    bool end() noexcept override
    {
        const bool hasFailed = failing->hasFailed(); // NOLINT(bugprone-unchecked-optional-access) @pre
        failing.reset();
        return hasFailed;
    }

    std::uint64_t getBlocksInUse() const noexcept override
    {
        return HeapUse::now().blocks;
    }

private:
    std::optional<FailingAllocation> failing;
};

const LinkedAllocationFaults linkedAllocationFaults;

} // namespace
} // namespace Valdane

#pragma once

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/Faults/FaultRow.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Valdane::Faults
{

/// Has all lines traced, into nothing.
class Services
{
public:
    Services();
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;
    ~Services();

    static void stopTracing();

    static void setThreadingMode(ThreadManager& threads, int mode)
    {
        threads.setThreadingMode(mode);
    }

    /// Waits until the run, if one is running, has come to its end.
    static void waitForRunEnd(ThreadManager& threads)
    {
        while (!threads.waitForRunEnd(std::chrono::hours(1)))
        {
        }
    }
};

/// Whether the faults come from all who are called.
constexpr bool everyCalleeCanFail = false;

/// A fault while it lasts.
class AllocationFault
{
public:
    AllocationFault(std::size_t place, bool lasts)
        : failure(place, lasts ? AllocationsThatFail::AllFromThereOn : AllocationsThatFail::One)
    {
    }

    bool hasFailed() const
    {
        return failure.hasFailed();
    }

private:
    FailingAllocation failure;
};

struct KindOfFault
{
    std::string name;
    bool lasts;
    bool isStranger = false;

    std::unique_ptr<AllocationFault> make(std::size_t place) const
    {
        // Not counted, because it is made before the fault begins.
        return std::make_unique<AllocationFault>(place, lasts);
    }

    template <typename World>
    static bool isExpectedIn(const FaultRow<World>& row)
    {
        return row.allocates;
    }
};

inline std::vector<KindOfFault> kindsOfFault()
{
    return {{.name = "one allocation", .lasts = false}, {.name = "all allocations", .lasts = true}};
}

} // namespace Valdane::Faults

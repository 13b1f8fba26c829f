#include "Service/CommandTesting/AllocationFaults.h"

#include <atomic>

namespace Valdane
{
namespace
{

// Others may install theirs before this library is initialised.
constinit std::atomic<AllocationFaults*> installedFaults = nullptr;

} // namespace

AllocationFaults::AllocationFaults() = default;

AllocationFaults::~AllocationFaults() = default;

void AllocationFaults::install(AllocationFaults* faults) noexcept
{
    installedFaults = faults;
}

AllocationFaults* AllocationFaults::getInstalled() noexcept
{
    return installedFaults;
}

} // namespace Valdane

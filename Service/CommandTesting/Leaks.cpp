#include "Service/CommandTesting/Leaks.h"

#include "Service/CommandTesting/AllocationFaults.h"

namespace Valdane
{

std::uint64_t blocksLeftBy(const std::function<void()>& work)
{
    const AllocationFaults* const allocations = AllocationFaults::getInstalled();
    if (allocations == nullptr)
    {
        return 0;
    }
    const std::uint64_t before = allocations->getBlocksInUse();
    work();
    const std::uint64_t after = allocations->getBlocksInUse();
    return after > before ? after - before : 0;
}

std::string textOfLeak(std::uint64_t blocks)
{
    return blocks == 1 ? "1 block is not released" : std::to_string(blocks) + " blocks are not released";
}

} // namespace Valdane

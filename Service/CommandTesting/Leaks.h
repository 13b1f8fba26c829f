#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace Valdane
{

/// How many blocks more the program has in use after @p work than before; 0 without it if no AllocationFaults are
/// installed. Does not catch what @p work throws.
std::uint64_t blocksLeftBy(const std::function<void()>& work);

/// Such as "2 blocks are not released".
std::string textOfLeak(std::uint64_t blocks);

} // namespace Valdane

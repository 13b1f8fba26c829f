#pragma once

#include <cstdint>

namespace Valdane
{

/// What the whole program has got from the heap: the counters of the allocation functions, which are replaced
/// in an executable that this is linked into.
struct HeapUse
{
    std::uint64_t allocations = 0; ///< since the program's start
    std::uint64_t bytes = 0;       ///< in use, as the allocator rounds them

    static HeapUse now();
};

} // namespace Valdane

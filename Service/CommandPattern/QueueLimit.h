#pragma once

#include "Service/CommandPattern/CommandQueue.h"

#include <cstdint>

namespace Valdane
{

/// The limit on the number of entries of both queues together.
///
/// Thread: as CommandManager.
struct QueueLimit
{
    std::uint32_t maxQueueSize = 25;
    bool usesMaxQueueSize = false;

    /// Drops what is beyond the limit: both queues where the redo queue alone is, else the oldest entries of
    /// the undo queue.
    ///
    /// @p modulesBeforeFirst then has what is known about the position before the last one dropped from the
    /// front of the undo queue; it stays as it was where both queues are dropped.
    ///
    /// Entries leave their queue before they die.
    void enforce(CommandQueue& undoQueue, CommandQueue& redoQueue, TrackedModules& modulesBeforeFirst) const;
};

} // namespace Valdane

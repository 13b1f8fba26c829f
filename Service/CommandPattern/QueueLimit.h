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
    /// Is told of what leaves the history, while it is still there.
    class Watcher
    {
    public:
        /// @throws anything; nothing is dropped then.
        virtual void willDropOldest() = 0;
        virtual void willDropAll() = 0;

    protected:
        ~Watcher() = default;
    };

    std::uint32_t maxQueueSize = 25;
    bool usesMaxQueueSize = false;

    /// Drops entries until the limit holds. If the redo queue alone exceeds it, drops both queues; otherwise
    /// drops the oldest entries of the undo queue.
    ///
    /// @param modulesBeforeFirst  gets the sets before the last entry that was dropped from the front of the
    ///                            undo queue. Does not change if both queues are dropped.
    ///
    /// Entries leave their queue before their commands are destroyed.
    void enforce(CommandQueue& undoQueue, CommandQueue& redoQueue, TrackedModules& modulesBeforeFirst,
                 Watcher& watcher) const;
};

} // namespace Valdane

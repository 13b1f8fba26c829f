#include "Service/CommandPattern/QueueLimit.h"

namespace Valdane
{

void QueueLimit::enforce(CommandQueue& undoQueue, CommandQueue& redoQueue, TrackedModules& modulesBeforeFirst,
                         Watcher& watcher) const
{
    if (!usesMaxQueueSize)
    {
        return;
    }
    if (maxQueueSize < redoQueue.size())
    {
        watcher.willDropAll();
        undoQueue.dropAll();
        redoQueue.dropAll();
        return;
    }
    const std::size_t room = maxQueueSize - redoQueue.size();
    while (undoQueue.size() > room)
    {
        watcher.willDropOldest();
        if (undoQueue.size() == room + 1)
        {
            modulesBeforeFirst = undoQueue.front().modules().modulesBefore;
        }
        undoQueue.takeFront();
    }
}

} // namespace Valdane

#include "Service/CommandPattern/QueueLimit.h"

namespace Valdane
{

void QueueLimit::enforce(CommandQueue& undoQueue, CommandQueue& redoQueue,
                         TrackedModules& modulesBeforeFirst) const
{
    if (!usesMaxQueueSize)
    {
        return;
    }
    if (maxQueueSize < redoQueue.size())
    {
        undoQueue.dropAll();
        redoQueue.dropAll();
        return;
    }
    const std::size_t room = maxQueueSize - redoQueue.size();
    while (undoQueue.size() > room)
    {
        if (undoQueue.size() == room + 1)
        {
            modulesBeforeFirst = undoQueue.front().modules().modulesBefore;
        }
        undoQueue.takeFront();
    }
}

} // namespace Valdane

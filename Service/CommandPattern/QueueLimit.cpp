#include "Service/CommandPattern/QueueLimit.h"

#include <utility>

namespace Valdane
{

namespace
{

void dropOldest(CommandQueue& queue)
{
    const QueuedCommand dropped = std::move(queue.front());
    queue.pop_front();
}

} // namespace

void QueueLimit::enforce(CommandQueue& undoQueue, CommandQueue& redoQueue,
                         TrackedModules& modulesBeforeFirst) const
{
    if (!usesMaxQueueSize)
    {
        return;
    }
    if (maxQueueSize < redoQueue.size())
    {
        dropAll(undoQueue);
        dropAll(redoQueue);
        return;
    }
    const std::size_t room = maxQueueSize - redoQueue.size();
    while (undoQueue.size() > room)
    {
        if (undoQueue.size() == room + 1)
        {
            modulesBeforeFirst = undoQueue.front().modulesBefore;
        }
        dropOldest(undoQueue);
    }
}

} // namespace Valdane

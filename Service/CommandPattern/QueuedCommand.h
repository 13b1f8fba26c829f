#pragma once

#include <deque>
#include <memory>

namespace Valdane
{

class CommandBase;

/// One entry of the undo queue or the redo queue.
struct QueuedCommand
{
    std::shared_ptr<CommandBase> command;
};

/// A queue of entries: the oldest at the front, the one to be undone or redone next at the back.
using CommandQueue = std::deque<QueuedCommand>;

/// Empties @p queue before the first command dies, because a command's destructor may call the manager.
inline void dropAll(CommandQueue& queue)
{
    if (!queue.empty())
    {
        CommandQueue dropped;
        dropped.swap(queue);
    }
}

} // namespace Valdane

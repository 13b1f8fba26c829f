#include "Service/CommandPattern/ChangeTracking.h"

#include <utility>
#include <vector>

namespace Valdane
{

namespace
{

// What the last 0, 1, 2 and so on entries modified together.
std::vector<ModuleSet> collectFromBack(const CommandQueue& queue)
{
    std::vector<ModuleSet> collected;
    collected.reserve(queue.size() + 1);
    collected.emplace_back();
    for (std::size_t index = queue.size(); index != 0; --index)
    {
        collected.push_back(collected.back().unitedWith(queue[index - 1].modulesOfCommand));
    }
    return collected;
}

} // namespace

void ChangeTracking::keepPosition(const CommandQueue& undoQueue, const CommandQueue& redoQueue)
{
    if (undoQueue.empty() && !redoQueue.empty())
    {
        modulesBeforeFirstCommand = redoQueue.back().modulesBefore;
    }
}

QueuedCommand ChangeTracking::makeEntry(std::shared_ptr<CommandBase> command, const ModuleSet& modules,
                                        const CommandQueue& undoQueue) const
{
    QueuedCommand entry;
    entry.command = std::move(command);
    entry.modulesBefore = undoQueue.empty() ? modulesBeforeFirstCommand : undoQueue.back().modulesAfter;
    entry.modulesAfter.fill(entry.modulesBefore.front().unitedWith(modules));
    for (std::size_t tracker = 1; tracker < entry.modulesAfter.size(); ++tracker)
    {
        if (!entry.modulesBefore[tracker].isSharedWith(entry.modulesBefore.front()))
        {
            entry.modulesAfter[tracker] = entry.modulesBefore[tracker].unitedWith(modules);
        }
    }
    entry.modulesOfCommand = modules;
    return entry;
}

const ModuleSet& ChangeTracking::modulesAtPosition(std::size_t tracker, const CommandQueue& undoQueue,
                                                   const CommandQueue& redoQueue) const
{
    if (!undoQueue.empty())
    {
        return undoQueue.back().modulesAfter[tracker];
    }
    return redoQueue.empty() ? modulesBeforeFirstCommand[tracker] : redoQueue.back().modulesBefore[tracker];
}

void ChangeTracking::adjustOnSave(std::size_t tracker, CommandQueue& undoQueue, CommandQueue& redoQueue)
{
    const std::vector<ModuleSet> undone = collectFromBack(undoQueue);
    const std::vector<ModuleSet> redone = collectFromBack(redoQueue);
    // From here on nothing fails.
    if (undoQueue.empty())
    {
        modulesBeforeFirstCommand[tracker] = ModuleSet();
    }
    for (std::size_t index = 0; index < redoQueue.size(); ++index)
    {
        const std::size_t steps = redoQueue.size() - index;
        redoQueue[index].modulesBefore[tracker] = redone[steps - 1];
        redoQueue[index].modulesAfter[tracker] = redone[steps];
    }
    for (std::size_t index = 0; index < undoQueue.size(); ++index)
    {
        const std::size_t steps = undoQueue.size() - index;
        undoQueue[index].modulesAfter[tracker] = undone[steps - 1];
        undoQueue[index].modulesBefore[tracker] = undone[steps];
    }
}

} // namespace Valdane

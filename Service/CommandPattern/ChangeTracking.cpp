#include "Service/CommandPattern/ChangeTracking.h"

#include <ranges>
#include <utility>

namespace Valdane
{

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
    if (undoQueue.empty())
    {
        modulesBeforeFirstCommand[tracker] = ModuleSet();
    }
    ModuleSet passed;
    for (QueuedCommand& entry : redoQueue | std::views::reverse)
    {
        entry.modulesBefore[tracker] = passed;
        passed = passed.unitedWith(entry.modulesOfCommand);
        entry.modulesAfter[tracker] = passed;
    }
    passed = ModuleSet();
    for (QueuedCommand& entry : undoQueue | std::views::reverse)
    {
        entry.modulesAfter[tracker] = passed;
        passed = passed.unitedWith(entry.modulesOfCommand);
        entry.modulesBefore[tracker] = passed;
    }
}

} // namespace Valdane

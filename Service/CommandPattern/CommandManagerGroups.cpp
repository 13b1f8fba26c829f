#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManagerPrivate.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/MergeableCommand.h"

#include <list>
#include <source_location>
#include <string>
#include <utility>

// How several commands become one entry of the history: those of a group when it ends, and one that takes in the next.

namespace Valdane
{

void CommandManager::beginGroup(std::string description)
{
    if (!d->workerSlot.isIdle())
    {
        Private::refuse("beginGroup() is refused while a threaded command is running",
                        std::source_location::current());
    }
    d->groups.emplace_back(std::move(description));
    d->sigOpenGroupsChanged();
}

void CommandManager::endGroup()
{
    if (d->groups.empty())
    {
        Private::refuse("endGroup() is refused because no group is open", std::source_location::current());
    }
    d->endGroup();
    d->sigOpenGroupsChanged();
}

bool CommandManager::abandonGroup()
{
    const std::source_location here = std::source_location::current();
    if (d->groups.empty())
    {
        Private::refuse("abandonGroup() is refused because no group is open", here);
    }
    if (!d->abandonGroup(here))
    {
        return false;
    }
    d->sigOpenGroupsChanged();
    return true;
}

std::list<std::string> CommandManager::getOpenGroups() const
{
    std::list<std::string> descriptions;
    for (const OpenGroup& group : d->groups)
    {
        descriptions.push_back(group.getDescription());
    }
    return descriptions;
}

std::uint64_t CommandManager::getPendingCount() const
{
    std::uint64_t count = d->commandsToMerge.commands.size();
    for (const OpenGroup& group : d->groups)
    {
        count += group.size();
    }
    return count;
}

std::shared_ptr<const CommandBase> CommandManager::getNewestPendingCommand() const
{
    for (auto group = d->groups.rbegin(); group != d->groups.rend(); ++group)
    {
        if (!group->isEmpty())
        {
            return group->waiting.commands.empty() ? group->newestCommand() : group->waiting.commands.back();
        }
    }
    return d->commandsToMerge.commands.empty() ? nullptr : d->commandsToMerge.commands.back();
}

void CommandManager::Private::endGroup()
{
    if (groups.back().isEmpty())
    {
        groups.pop_back();
        return;
    }
    const bool isOutermost = groups.size() == 1;
    changeHistory(
        [&]
        {
            ClosedGroup closed(groups);
            if (!isOutermost)
            {
                groups.back().append(closed->makeMacro(), closed->newestNumber());
                closed.keepClosed();
                return;
            }
            const std::uint64_t newest = closed->newestNumber();
            intake(closed->makeMacro());
            closed.keepClosed();
            savePoints.queueLoose(undoQueue.size(), newest);
            settle();
        });
    if (isOutermost)
    {
        sigCommandQueueChanged(CommandAdded);
    }
}

bool CommandManager::Private::isTakenIn(CommandBase& newest, const CommandBase& command)
{
    auto* const mergeable = dynamic_cast<MergeableCommand*>(&newest);
    try
    {
        return mergeable != nullptr && mergeable->mergeWith(command);
    }
    catch (const std::exception& exception)
    {
        logException(exception, "Merge", command.getDescription());
        return false;
    }
}

void CommandManager::Private::queueOrMerge(std::shared_ptr<CommandBase> command, bool mayMerge)
{
    bool isMerged = false;
    try
    {
        // A command that is on its way to the redo queue can be redone soon.
        const bool isOnItsOwn = !mayMerge || historyChanges.areHeld() || !waiting().commands.empty() ||
                                savePoints.isSaved(saveState());
        isMerged =
            !isOnItsOwn && (groups.empty() ? mergeIntoNewest(*command) : mergeIntoNewestOfGroup(*command));
    }
    catch (...)
    {
        queue(std::move(command));
        throw;
    }
    if (!isMerged)
    {
        queue(std::move(command));
    }
    else if (groups.empty())
    {
        changeHistory([this] { moduleAccess()->markAllModulesInBusinessAsUnmodified(); });
        sigCommandQueueChanged(CommandAdded);
    }
}

bool CommandManager::Private::mergeIntoNewest(const CommandBase& command)
{
    if (undoQueue.empty() || !redoQueue.empty())
    {
        return false;
    }
    // What can fail comes before the two commands become one.
    const ModuleSet modules(moduleAccess()->getModifiedModulesFromBusiness());
    if (undoQueue.empty())
    {
        return false;
    }
    const std::shared_ptr<CommandBase> newest = undoQueue.back().command;
    auto mergedModules = ChangeTracking::mergeModules(undoQueue.back(), modules);
    if (!isTakenIn(*newest, command))
    {
        return false;
    }
    if (!undoQueue.empty() && undoQueue.back().command == newest)
    {
        undoQueue[undoQueue.size() - 1].sharedModules = std::move(mergedModules);
        // What the application saved when it was asked is not the state with the merged command.
        savePoints.dropAfter(undoQueue.size() - 1);
        historyChanges.replaceRows(undoQueue.size() - 1, 1, 1);
    }
    return true;
}

bool CommandManager::Private::mergeIntoNewestOfGroup(const CommandBase& command)
{
    const std::shared_ptr<CommandBase> newest = groups.back().newestCommand();
    if (newest == nullptr || !isTakenIn(*newest, command))
    {
        return false;
    }
    if (!groups.empty())
    {
        groups.back().noteMerge(++looseCount);
        tellHistory();
        sigCommandPending();
    }
    return true;
}

} // namespace Valdane

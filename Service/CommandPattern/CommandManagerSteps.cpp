#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManagerPrivate.h"
#include "Service/CommandPattern/CommandTrace.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <utility>

// How one command is undone or redone, and its entry goes from one queue to the other.

namespace Valdane
{

inline bool CommandManager::Private::askWhetherRedoCapable(CommandBase& command)
{
    const HistoryChanges::Hold hold(historyChanges);
    return command.isRedoCapable();
}

// Apart from keepForRedo(), which most steps leave without it.
void CommandManager::Private::forgetRedoWith(const QueuedCommand& undone)
{
    savePoints.dropAfter(undoQueue.size());
    historyChanges.replaceRows(undoQueue.size(), 1 + redoQueue.size(), 0);
    historyChanges.noteUndoneCommandLeft();
    try
    {
        historyChanges.addModules(withModulesOf(redoQueue, undone.modules().modulesOfCommand));
    }
    catch (...)
    {
        redoQueue.dropAll();
        throw;
    }
    redoQueue.dropAll();
}

inline void CommandManager::Private::keepForRedo(QueuedCommand&& entry, const Rows& afterwards)
{
    try
    {
        const bool isRedoCapable = askWhetherRedoCapable(*entry.command);
        followStep(afterwards);
        if (isRedoCapable)
        {
            redoQueue.pushBack(std::move(entry));
            return;
        }
    }
    catch (...)
    {
        followStep(afterwards);
        forgetRedoWith(entry);
        throw;
    }
    forgetRedoWith(entry);
}

inline void CommandManager::Private::runUndo(CommandBase& command, const std::source_location& place) const
{
    const auto name = descriptionOf(command);
    progress->setSubProgress(command.getProgress(), 100, 1);
    trace(managerLogger, "Execute Undo command '", name, "'...", place);
    command.undo();
    trace(managerLogger, "Undo command '", name, "' executed.", place);
}

bool CommandManager::Private::undoOne(const std::source_location& place)
{
    // First, so that no command is undone that could not be kept for redo.
    redoQueue.reserveOne(undoQueue);
    // The copy keeps the command alive until all slots have been called.
    const QueuedCommand undone = undoQueue.back();
    const Rows before = rows();
    CommandBase& command = *undone.command;
    const auto work = [&]
    {
        runUndo(command, place);
    };
    if (!process(command, "Undo", work, [] { return false; }))
    {
        return false;
    }
    changeHistory(
        [&]
        {
            const bool isThere = undoQueue.size() == before.done;
            keepForRedo(undoQueue.take(undone),
                        {.done = before.done - isThere, .noteCount = before.noteCount});
            moduleAccess()->markAllModulesInBusinessAsUnmodified();
        });
    sigCommandUndone();
    sigCommandQueueChanged(CommandUndone);
    return true;
}

bool CommandManager::Private::redoOne(const std::source_location& place)
{
    // First, so that no command is redone that could not be kept for undo.
    undoQueue.reserveOne(redoQueue);
    // The copy keeps the command alive until all slots have been called.
    const QueuedCommand redone = redoQueue.back();
    const Rows before = rows();
    CommandBase& command = *redone.command;
    const auto work = [&]
    {
        const auto name = descriptionOf(command);
        progress->setSubProgress(command.getProgress(), 100, 1);
        trace(managerLogger, "Execute Redo command '", name, "'...", place);
        command.redo();
        trace(managerLogger, "Redo command '", name, "' executed.", place);
    };
    if (!process(command, "Redo", work, [] { return false; }))
    {
        return false;
    }
    // Again: the command may have filled the reserved place. Moving the entry then cannot fail.
    undoQueue.reserveOne(redoQueue);
    changeHistory(
        [&]
        {
            followStep(before);
            undoQueue.pushBack(redoQueue.take(redone));
            moduleAccess()->markAllModulesInBusinessAsUnmodified();
        });
    sigCommandExecuted();
    sigCommandQueueChanged(CommandRedone);
    return true;
}

bool CommandManager::Private::abandonGroup(const std::source_location& place)
{
    if (groups.back().isEmpty())
    {
        groups.pop_back();
        return true;
    }
    ClosedGroup closed(groups);
    const std::shared_ptr<MacroCommand> macro = closed->makeMacro();
    const auto work = [&]
    {
        runUndo(*macro, place);
        closed.keepClosed();
    };
    const auto flagAfterwards = [&]
    {
        // Before the failure is told, because the group is as it was then.
        closed.reopenUnlessKept();
        return false;
    };
    bool isUndone = false;
    changeHistory(
        [&]
        {
            isUndone = process(*macro, "Undo", work, flagAfterwards);
            if (isUndone && newestLoose() == 0)
            {
                moduleAccess()->markAllModulesInBusinessAsUnmodified();
            }
        });
    if (isUndone)
    {
        sigCommandUndone();
    }
    return isUndone;
}

} // namespace Valdane

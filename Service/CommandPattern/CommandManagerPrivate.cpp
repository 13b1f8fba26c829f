#include "Service/CommandPattern/CommandManagerPrivate.h"

#include "Platform/Logging/Logging.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandProgress.h"
#include "Service/CommandPattern/CommandTrace.h"
#include "Service/CommandPattern/ExceptionText.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <boost/smart_ptr/make_local_shared.hpp>

#include <utility>

namespace Valdane
{

const Logging managerLogger("Service/CommandPattern/CommandManager");

CommandManager::Private::Private()
    : workerSlot(*this, managerLogger),
      progress(std::make_shared<LegacyProgress>()),
      moduleAccessInterface(boost::make_local_shared<ModuleAccessInterface>())
{
}

CommandManager::Private::~Private() = default;

void CommandManager::Private::execute(CommandBase& command, const std::source_location& place) const
{
    const auto name = descriptionOf(command);
    progressOf(command).reset();
    trace(managerLogger, "Execute command '", name, "'...", place);
    command.execute();
    trace(managerLogger, "Command '", name, "' executed.", place);
    progressOf(command).setComplete();
}

void CommandManager::Private::reportFailure(const std::exception& exception, const char* context,
                                            const CommandBase& command)
{
    // A copy, since a slot may give the command another description.
    const std::string description = command.getDescription();
    logException(exception, context, description);
    sigCommandFailed(textOf(exception), description);
}

inline void CommandManager::Private::keepForRedo(QueuedCommand&& entry)
{
    try
    {
        if (entry.command->isRedoCapable())
        {
            redoQueue.pushBack(std::move(entry));
            return;
        }
    }
    catch (...)
    {
        redoQueue.dropAll();
        throw;
    }
    redoQueue.dropAll();
}

inline bool CommandManager::Private::undoOne(const std::source_location& place)
{
    // First, so that no command is undone that could not be kept for redo.
    redoQueue.reserveOne(undoQueue);
    // The copy keeps the command alive until all slots have been called.
    const QueuedCommand undone = undoQueue.back();
    CommandBase& command = *undone.command;
    const auto work = [&]
    {
        const auto name = descriptionOf(command);
        progress->setSubProgress(command.getProgress(), 100, 1);
        trace(managerLogger, "Execute Undo command '", name, "'...", place);
        command.undo();
        trace(managerLogger, "Undo command '", name, "' executed.", place);
    };
    if (!process(command, "Undo", work, [] { return false; }))
    {
        return false;
    }
    keepForRedo(undoQueue.take(undone));
    moduleAccess()->markAllModulesInBusinessAsUnmodified();
    sigCommandUndone();
    sigCommandQueueChanged(CommandUndone);
    return true;
}

bool CommandManager::Private::undo(std::uint64_t count, const std::source_location& place)
{
    for (; count != 0 && !undoQueue.empty(); --count)
    {
        if (!undoOne(place))
        {
            return false;
        }
    }
    return true;
}

inline bool CommandManager::Private::redoOne(const std::source_location& place)
{
    // First, so that no command is redone that could not be kept for undo.
    undoQueue.reserveOne(redoQueue);
    // The copy keeps the command alive until all slots have been called.
    const QueuedCommand redone = redoQueue.back();
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
    undoQueue.pushBack(redoQueue.take(redone));
    moduleAccess()->markAllModulesInBusinessAsUnmodified();
    sigCommandExecuted();
    sigCommandQueueChanged(CommandRedone);
    return true;
}

bool CommandManager::Private::redo(std::uint64_t count, const std::source_location& place)
{
    for (; count != 0 && !redoQueue.empty(); --count)
    {
        if (!redoOne(place))
        {
            return false;
        }
    }
    return true;
}

void CommandManager::Private::queue(std::shared_ptr<CommandBase> command)
{
    undoQueue.reserveOne(redoQueue);
    forgetRedo();
    record(std::move(command));
    moduleAccess()->markAllModulesInBusinessAsUnmodified();
    enforceLimit();
    sigCommandQueueChanged(CommandAdded);
}

void CommandManager::Private::forgetRedo()
{
    // Again, as long as a destructor of what is dropped undoes another command.
    while (!redoQueue.empty())
    {
        tracking.keepPosition(undoQueue, redoQueue);
        redoQueue.dropAll();
    }
}

void CommandManager::Private::record(std::shared_ptr<CommandBase>&& command)
{
    if (commandsToMerge.empty())
    {
        enqueue(std::move(command));
        return;
    }
    std::shared_ptr<CommandBase> merged = mergeWithPending(std::move(command));
    // What waits is taken out of the list before the application is called, and put back if that fails.
    std::list<std::shared_ptr<CommandBase>> waiting = std::exchange(commandsToMerge, {});
    const bool forward = std::exchange(useForwardUndoOrderForMerge, false);
    try
    {
        enqueue(std::move(merged));
    }
    catch (...)
    {
        commandsToMerge.splice(commandsToMerge.begin(), waiting);
        useForwardUndoOrderForMerge |= forward;
        throw;
    }
}

std::shared_ptr<CommandBase> CommandManager::Private::mergeWithPending(std::shared_ptr<CommandBase>&& command)
{
    auto macro = std::make_shared<MacroCommand>(command->getDescription());
    macro->addCommand(std::move(command));
    for (const std::shared_ptr<CommandBase>& pending : commandsToMerge)
    {
        macro->addCommand(pending);
    }
    macro->setUseForwardUndoOrder(useForwardUndoOrderForMerge);
    return macro;
}

void CommandManager::Private::enqueue(std::shared_ptr<CommandBase>&& command)
{
    const ModuleSet modules(moduleAccess()->getModifiedModulesFromBusiness());
    undoQueue.pushBack(tracking.makeEntry(std::move(command), modules, undoQueue));
}

void CommandManager::Private::enforceLimit()
{
    limit.enforce(undoQueue, redoQueue, tracking.modulesBeforeFirstCommand);
}

std::set<const Object*> CommandManager::Private::modifiedModules(std::uint64_t tracker) const
{
    std::set<const Object*> modules = moduleAccess()->getModifiedModulesFromBusiness();
    tracking.modulesAtPosition(tracker, undoQueue, redoQueue).insertInto(modules);
    return modules;
}

void CommandManager::Private::setProcessing(bool processing)
{
    processingCommand = processing;
}

void CommandManager::Private::tellStarted()
{
    sigThreadedCommandStarted();
}

void CommandManager::Private::tellExecuted()
{
    sigCommandExecuted();
}

void CommandManager::Private::tellFinished()
{
    sigThreadedCommandFinished();
}

void CommandManager::Private::reportRunFailure(const std::exception& exception, const char* context,
                                               const CommandBase* command)
{
    std::string description;
    attempt(context, command,
            [&]
            {
                if (command != nullptr)
                {
                    description = command->getDescription();
                }
            });
    attempt(context, command, [&] { logException(exception, context, description); });
    attempt(context, command, [&] { sigCommandFailed(textOf(exception), description); });
}

void CommandManager::Private::logFurtherFailure(const std::exception& exception, const char* context,
                                                const CommandBase* command)
{
    try
    {
        logException(exception, context, command == nullptr ? std::string() : command->getDescription());
    }
    catch (const std::exception&)
    {
        return;
    }
}

} // namespace Valdane

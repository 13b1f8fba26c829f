#include "Service/CommandPattern/CommandManagerPrivate.h"

#include "Platform/ExceptionHandling/VdException.h"
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

void CommandManager::Private::logException(const std::exception& exception, const std::string& context,
                                           const std::string& commandDescription)
{
    std::string message =
        context + " of command '" + commandDescription + "' failed with exception: " + textOf(exception);
    if (const auto* located = dynamic_cast<const VdException*>(&exception))
    {
        message += "\n    Location: " + located->getLocation();
    }
    const std::source_location here = std::source_location::current();
    // All lines of the manager name the same file, which is the logger's.
    managerLogger.logERROR(message, "Service/CommandPattern/CommandManager.cpp", here.function_name(),
                           static_cast<int>(here.line()));
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

void CommandManager::Private::keepForRedo(QueuedCommand&& entry)
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

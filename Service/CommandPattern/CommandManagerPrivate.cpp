#include "Service/CommandPattern/CommandManagerPrivate.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Logging/Logging.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandProgress.h"
#include "Service/CommandPattern/CommandTrace.h"
#include "Service/CommandPattern/ExceptionText.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <boost/smart_ptr/make_local_shared.hpp>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Valdane
{

const Logging managerLogger("Service/CommandPattern/CommandManager");

namespace
{

void logRefusal(const std::string& text, const std::source_location& place)
{
    managerLogger.logERROR(text, place.file_name(), place.function_name(), static_cast<int>(place.line()));
}

} // namespace

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

bool CommandManager::Private::executeToQueue(CommandBase& command, const std::source_location& place)
{
    // First, so that no command is executed that could not be queued.
    reserveOne();
    const auto work = [&]
    {
        execute(command, place);
    };
    return process(command, "Execution", work, [] { return false; });
}

void CommandManager::Private::reportFailure(const std::exception& exception, const char* context,
                                            const CommandBase& command)
{
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): a slot may give the command another description
    const std::string description = command.getDescription();
    logException(exception, context, description);
    sigCommandFailed(textOf(exception), description);
}

void CommandManager::Private::queue(std::shared_ptr<CommandBase> command)
{
    if (!groups.empty())
    {
        groups.back().append(std::move(command), ++looseCount);
        tellHistory();
        sigCommandPending();
        return;
    }
    changeHistory(
        [&]
        {
            intake(std::move(command));
            settle();
        });
    sigCommandQueueChanged(CommandAdded);
}

void CommandManager::Private::intake(std::shared_ptr<CommandBase>&& command)
{
    undoQueue.reserveOne(redoQueue);
    forgetRedo();
    record(std::move(command));
}

void CommandManager::Private::settle()
{
    moduleAccess()->markAllModulesInBusinessAsUnmodified();
    enforceLimit();
}

void CommandManager::Private::reserveOne()
{
    if (groups.empty())
    {
        undoQueue.reserveOne(redoQueue);
    }
    else
    {
        groups.back().reserveOne();
    }
}

void CommandManager::Private::forgetRedo()
{
    // Again, as long as a destructor of what is dropped undoes another command.
    while (!redoQueue.empty())
    {
        historyChanges.addModules(withModulesOf(redoQueue, {}));
        tracking.keepPosition(undoQueue, redoQueue);
        savePoints.dropAfter(undoQueue.size());
        historyChanges.replaceRows(undoQueue.size(), redoQueue.size(), 0);
        redoQueue.dropAll();
    }
}

void CommandManager::Private::record(std::shared_ptr<CommandBase>&& command)
{
    if (commandsToMerge.commands.empty())
    {
        enqueue(std::move(command));
        return;
    }
    std::shared_ptr<CommandBase> merged = commandsToMerge.mergeWith(command);
    // What waits is taken out of the list before the application is called, and put back if that fails.
    WaitingCommands taken = std::exchange(commandsToMerge, {});
    try
    {
        enqueue(std::move(merged));
    }
    catch (...)
    {
        commandsToMerge.commands.splice(commandsToMerge.commands.begin(), taken.commands);
        commandsToMerge.useForwardUndoOrder |= taken.useForwardUndoOrder;
        commandsToMerge.newest = std::max(commandsToMerge.newest, taken.newest);
        throw;
    }
}

void CommandManager::Private::enqueue(std::shared_ptr<CommandBase>&& command)
{
    const ModuleSet modules(moduleAccess()->getModifiedModulesFromBusiness());
    boost::intrusive_ptr<const EntryModules> sharedModules = tracking.makeModules(modules, undoQueue);
    // Also if nothing could be redone before: the application may have undone a command when it was asked, or one is on
    // its way to the redo queue.
    savePoints.dropAfter(undoQueue.size());
    undoQueue.pushBack({std::move(command), std::move(sharedModules)});
    historyChanges.replaceRows(undoQueue.size() - 1, 0, 1);
}

void CommandManager::Private::enforceLimit()
{
    limit.enforce(undoQueue, redoQueue, tracking.modulesBeforeFirstCommand, *this);
}

void CommandManager::Private::willDropOldest()
{
    historyChanges.addModules(undoQueue.front().modules().modulesOfCommand);
    savePoints.dropOldest();
    historyChanges.replaceRows(0, 1, 0);
}

void CommandManager::Private::willDropAll()
{
    historyChanges.addModules(withModulesOf(redoQueue, withModulesOf(undoQueue, {})));
    savePoints.dropAll(undoQueue.size());
    historyChanges.replaceRows(0, undoQueue.size() + redoQueue.size(), 0);
}

ModuleSet CommandManager::Private::withModulesOf(const CommandQueue& queue, ModuleSet modules) const
{
    for (std::size_t index = 0; historyChanges.areWatched() && index < queue.size(); ++index)
    {
        modules = modules.unitedWith(queue[index].modules().modulesOfCommand);
    }
    return modules;
}

std::shared_ptr<CommandBase> CommandManager::Private::takeNewest()
{
    historyChanges.addModules(undoQueue.back().modules().modulesOfCommand);
    savePoints.takeNewest(undoQueue.size());
    historyChanges.replaceRows(undoQueue.size() - 1, 1, 0);
    std::shared_ptr<CommandBase> taken = undoQueue.takeBack().command;
    tellHistory();
    return taken;
}

SavePoints::State CommandManager::Private::saveState() const noexcept
{
    return {.position = undoQueue.size(), .loose = newestLoose()};
}

HistoryChanges::State CommandManager::Private::historyState() const
{
    return {.size = undoQueue.size() + redoQueue.size(),
            .position = undoQueue.size(),
            .saved = savePoints.positions(newestLoose())};
}

std::uint64_t CommandManager::Private::newestLoose() const noexcept
{
    std::uint64_t newest = commandsToMerge.newest;
    for (const OpenGroup& group : groups)
    {
        newest = group.isEmpty() ? newest : group.newestNumber();
    }
    return newest;
}

const QueuedCommand& CommandManager::Private::entryAt(std::uint64_t index) const
{
    return index < undoQueue.size() ? undoQueue[index]
                                    : redoQueue[undoQueue.size() + redoQueue.size() - 1 - index];
}

void CommandManager::Private::refuse(const std::string& text, const std::source_location& place)
{
    logRefusal(text, place);
    throw VdException(text, place);
}

void CommandManager::Private::requireNoGroup(const char* operation, const std::source_location& place) const
{
    if (!groups.empty())
    {
        refuse(refusalInGroup(operation), place);
    }
}

bool CommandManager::Private::logRefusalInGroup(const char* operation,
                                                const std::source_location& place) const
{
    logRefusal(refusalInGroup(operation), place);
    return true;
}

std::string CommandManager::Private::refusalInGroup(const char* operation) const
{
    return std::string(operation) + "() is refused while the group '" + groups.back().getDescription() +
           "' is open";
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

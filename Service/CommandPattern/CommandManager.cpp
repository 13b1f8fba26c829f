#include "Service/CommandPattern/CommandManager.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Logging/Logging.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManagerPrivate.h"

#include <limits>
#include <ranges>
#include <utility>

namespace Valdane
{

namespace
{

const Logging logger("Service/CommandPattern/CommandManager");

LegacyProgress& progressOf(CommandBase& command)
{
    if (command.getProgressPtr() == nullptr)
    {
        throw VdException("The command was moved from and can no longer run.");
    }
    return *command.getProgressPtr();
}

std::shared_ptr<const CommandBase> topOf(const CommandQueue& queue)
{
    return queue.empty() ? nullptr : queue.back().command;
}

std::list<std::string> collectDescriptions(const CommandQueue& queue)
{
    std::list<std::string> descriptions;
    for (const QueuedCommand& entry : queue | std::views::reverse)
    {
        descriptions.push_back(entry.command->getDescription());
    }
    return descriptions;
}

} // namespace

CommandManager::Private::Private()
    : threadManager(std::make_shared<ThreadManager>()),
      progress(std::make_shared<LegacyProgress>()),
      moduleAccessInterface(std::make_shared<ModuleAccessInterface>())
{
}

void CommandManager::Private::reportFailure(const std::exception& exception, const char* context,
                                            const CommandBase& command)
{
    processingCommand = false;
    // A copy, since a slot may give the command another description.
    const std::string description = command.getDescription();
    logException(exception, context, description);
    sigCommandFailed(exception.what(), description);
}

void CommandManager::Private::logException(const std::exception& exception, const std::string& context,
                                           const std::string& commandDescription)
{
    std::string message =
        context + " of command '" + commandDescription + "' failed with exception: " + exception.what();
    if (const auto* located = dynamic_cast<const VdException*>(&exception))
    {
        message += "\n    Location: " + located->getLocation();
    }
    const std::source_location here = std::source_location::current();
    logger.logERROR(message, here.file_name(), here.function_name(), static_cast<int>(here.line()));
}

void CommandManager::Private::trace(const char* before, const CommandBase& command, const char* after,
                                    const std::source_location& place) const
{
    if (logger.isTraceEnabled())
    {
        logger.logTRACE(before + command.getDescription() + after, place.file_name(), place.function_name(),
                        static_cast<int>(place.line()));
    }
}

void CommandManager::Private::removeTop(CommandQueue& queue, const std::shared_ptr<CommandBase>& command)
{
    if (!queue.empty() && queue.back().command == command)
    {
        queue.pop_back();
    }
}

void CommandManager::Private::keepForRedo(const QueuedCommand& entry)
{
    try
    {
        if (entry.command->isRedoCapable())
        {
            redoQueue.push_back(entry);
            return;
        }
    }
    catch (...)
    {
        dropAll(redoQueue);
        throw;
    }
    dropAll(redoQueue);
}

CommandManager::CommandManager() : d(std::make_unique<Private>()) {}

CommandManager::~CommandManager() = default;

bool CommandManager::addCommand(std::shared_ptr<CommandBase> command)
{
    if (command == nullptr)
    {
        return false;
    }
    const std::source_location here = std::source_location::current();
    const auto work = [&]
    {
        progressOf(*command).reset();
        d->trace("Execute command '", *command, "'...", here);
        command->execute();
        d->trace("Command '", *command, "' executed.", here);
        progressOf(*command).setComplete();
    };
    if (!d->process(*command, "Execution", work))
    {
        return false;
    }
    addExecutedCommand(std::move(command));
    d->sigCommandExecuted();
    return true;
}

void CommandManager::addExecutedCommand(std::shared_ptr<CommandBase> command)
{
    if (command == nullptr)
    {
        return;
    }
    dropAll(d->redoQueue);
    d->undoQueue.push_back({std::move(command)});
    d->moduleAccessInterface->markAllModulesInBusinessAsUnmodified();
    d->limit.enforce(d->undoQueue, d->redoQueue);
    d->sigCommandQueueChanged(CommandAdded);
}

bool CommandManager::undo(std::uint64_t count)
{
    const std::source_location here = std::source_location::current();
    for (; count != 0 && canUndo(); --count)
    {
        const QueuedCommand entry = d->undoQueue.back();
        const auto work = [&]
        {
            d->progress->setSubProgress(entry.command->getProgress(), 100, 1);
            d->trace("Execute Undo command '", *entry.command, "'...", here);
            entry.command->undo();
            d->trace("Undo command '", *entry.command, "' executed.", here);
        };
        if (!d->process(*entry.command, "Undo", work))
        {
            return false;
        }
        Private::removeTop(d->undoQueue, entry.command);
        d->keepForRedo(entry);
        d->moduleAccessInterface->markAllModulesInBusinessAsUnmodified();
        d->sigCommandUndone();
        d->sigCommandQueueChanged(CommandUndone);
    }
    return true;
}

bool CommandManager::redo(std::uint64_t count)
{
    const std::source_location here = std::source_location::current();
    for (; count != 0 && canRedo(); --count)
    {
        const QueuedCommand entry = d->redoQueue.back();
        const auto work = [&]
        {
            d->progress->setSubProgress(entry.command->getProgress(), 100, 1);
            d->trace("Execute Redo command '", *entry.command, "'...", here);
            entry.command->redo();
            d->trace("Redo command '", *entry.command, "' executed.", here);
        };
        if (!d->process(*entry.command, "Redo", work))
        {
            return false;
        }
        // In this order, because only the first step can fail.
        d->undoQueue.push_back(entry);
        Private::removeTop(d->redoQueue, entry.command);
        d->moduleAccessInterface->markAllModulesInBusinessAsUnmodified();
        d->sigCommandExecuted();
        d->sigCommandQueueChanged(CommandRedone);
    }
    return true;
}

void CommandManager::undoAll()
{
    undo(std::numeric_limits<std::uint64_t>::max());
}

void CommandManager::redoAll()
{
    redo(std::numeric_limits<std::uint64_t>::max());
}

bool CommandManager::canUndo() const
{
    return !d->undoQueue.empty();
}

bool CommandManager::canRedo() const
{
    return !d->redoQueue.empty();
}

std::shared_ptr<const CommandBase> CommandManager::getUndoCommand() const
{
    return topOf(d->undoQueue);
}

std::shared_ptr<const CommandBase> CommandManager::getRedoCommand() const
{
    return topOf(d->redoQueue);
}

std::list<std::string> CommandManager::collectUndoCommandDescriptions() const
{
    return collectDescriptions(d->undoQueue);
}

std::list<std::string> CommandManager::collectRedoCommandDescriptions() const
{
    return collectDescriptions(d->redoQueue);
}

void CommandManager::clear()
{
    dropAll(d->undoQueue);
    dropAll(d->redoQueue);
    d->sigCommandQueueChanged(QueueCleared);
}

std::uint64_t CommandManager::getQueueSize() const
{
    return d->undoQueue.size() + d->redoQueue.size();
}

std::uint32_t CommandManager::getMaxQueueSize() const
{
    return d->limit.maxQueueSize;
}

void CommandManager::setMaxQueueSize(std::uint32_t size)
{
    if (std::exchange(d->limit.maxQueueSize, size) != size)
    {
        d->limit.enforce(d->undoQueue, d->redoQueue);
    }
}

bool CommandManager::usesMaxQueueSize() const
{
    return d->limit.usesMaxQueueSize;
}

void CommandManager::setUsesMaxQueueSize(bool use)
{
    if (std::exchange(d->limit.usesMaxQueueSize, use) != use)
    {
        d->limit.enforce(d->undoQueue, d->redoQueue);
    }
}

bool CommandManager::isProcessingCommand() const
{
    return d->processingCommand;
}

void CommandManager::setProgress(std::shared_ptr<Progress> progress)
{
    if (progress != nullptr)
    {
        progress->addProgress(d->progress, true);
    }
}

void CommandManager::setModuleAccessInterface(std::shared_ptr<ModuleAccessInterface> moduleAccess)
{
    d->moduleAccessInterface = std::move(moduleAccess);
}

std::shared_ptr<ThreadManager> CommandManager::getThreadManager() const
{
    return d->threadManager;
}

Signals::Connection CommandManager::connectToSigCommandExecuted(const Signals::Slot<void()>& slot)
{
    return d->sigCommandExecuted.connect(slot, Signals::ConnectPosition::Back);
}

Signals::Connection
CommandManager::connectToSigCommandFailed(const Signals::Slot<void(const char*, const std::string&)>& slot)
{
    return d->sigCommandFailed.connect(slot, Signals::ConnectPosition::Back);
}

Signals::Connection CommandManager::connectToSigCommandQueueChanged(
    const Signals::Slot<void(CommandManager::QueueChangeReason)>& slot)
{
    return d->sigCommandQueueChanged.connect(slot, Signals::ConnectPosition::Back);
}

Signals::Connection CommandManager::connectToSigCommandUndone(const Signals::Slot<void()>& slot)
{
    return d->sigCommandUndone.connect(slot, Signals::ConnectPosition::Back);
}

Signals::Connection CommandManager::connectToSigThreadedCommandFinished(const Signals::Slot<void()>& slot)
{
    return d->sigThreadedCommandFinished.connect(slot, Signals::ConnectPosition::Back);
}

Signals::Connection CommandManager::connectToSigThreadedCommandStarted(const Signals::Slot<void()>& slot)
{
    return d->sigThreadedCommandStarted.connect(slot, Signals::ConnectPosition::Back);
}

Signals::Connection CommandManager::connectToSigUndoRedoProcessCompleted(const Signals::Slot<void()>& slot)
{
    return d->sigUndoRedoProcessCompleted.connect(slot, Signals::ConnectPosition::Back);
}

void CommandManager::emitSigUndoRedoProcessCompleted()
{
    d->sigUndoRedoProcessCompleted();
}

} // namespace Valdane

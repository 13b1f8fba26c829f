#include "Service/CommandPattern/CommandManager.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Logging/Logging.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManagerPrivate.h"
#include "Service/CommandPattern/ExceptionText.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <cstddef>
#include <limits>
#include <source_location>
#include <utility>

namespace Valdane
{

namespace
{

std::shared_ptr<const CommandBase> topOf(const CommandQueue& queue)
{
    return queue.empty() ? nullptr : queue.back().command;
}

std::list<std::string> collectDescriptions(const CommandQueue& queue)
{
    std::list<std::string> descriptions;
    for (std::size_t index = queue.size(); index != 0; --index)
    {
        descriptions.push_back(queue[index - 1].command->getDescription());
    }
    return descriptions;
}

} // namespace

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
    managerLogger.logERROR(message, here.file_name(), here.function_name(), static_cast<int>(here.line()));
}

// For users who take its address: on Windows only what is defined here is exported.
constexpr std::uint64_t CommandManager::ChangeTrackerCount;

CommandManager::CommandManager() : d(std::make_unique<Private>()) {}

CommandManager::~CommandManager()
{
    // Before the rest is destroyed: a running command, and its abort, may use the manager up to their end.
    d->workerSlot.shutDown();
}

bool CommandManager::addCommand(std::shared_ptr<CommandBase> command)
{
    if (command == nullptr)
    {
        return false;
    }
    const std::source_location here = std::source_location::current();
    // First, so that no command is executed that could not be queued.
    d->undoQueue.reserveOne(d->redoQueue);
    const auto work = [&]
    {
        d->execute(*command, here);
    };
    if (!d->process(*command, "Execution", work, [] { return false; }))
    {
        return false;
    }
    d->queue(std::move(command));
    d->sigCommandExecuted();
    return true;
}

void CommandManager::addExecutedCommand(std::shared_ptr<CommandBase> command)
{
    if (command != nullptr)
    {
        d->queue(std::move(command));
    }
}

bool CommandManager::addCommandToMergeWithNextCommand(std::shared_ptr<CommandBase> command,
                                                      bool useForwardUndoOrder)
{
    if (command == nullptr)
    {
        return false;
    }
    const std::source_location here = std::source_location::current();
    // As it was, unless it was set for a run that the command has ended.
    const auto flagAfterwards = [this, before = d->processingCommand, wasEmpty = d->workerSlot.isEmpty()]
    {
        return before && (wasEmpty || !d->workerSlot.isIdle());
    };
    // First, so that no command is executed that could not be kept.
    std::list<std::shared_ptr<CommandBase>> added{command};
    const auto work = [&]
    {
        d->execute(*command, here);
    };
    if (!d->process(*command, "Execution", work, flagAfterwards))
    {
        return false;
    }
    d->commandsToMerge.splice(d->commandsToMerge.end(), added);
    d->useForwardUndoOrderForMerge |= useForwardUndoOrder;
    return true;
}

std::shared_ptr<MacroCommand> CommandManager::takeExecutedCommands()
{
    if (!canUndo())
    {
        return nullptr;
    }
    auto macro = std::make_shared<MacroCommand>();
    for (std::size_t index = 0; index < d->undoQueue.size(); ++index)
    {
        macro->addCommand(d->undoQueue[index].command);
    }
    clear();
    return macro;
}

std::shared_ptr<CommandBase> CommandManager::takeLastExecutedCommand()
{
    if (!canUndo())
    {
        return nullptr;
    }
    return d->undoQueue.takeBack().command;
}

bool CommandManager::undo(std::uint64_t count)
{
    return d->undo(count, std::source_location::current());
}

bool CommandManager::redo(std::uint64_t count)
{
    return d->redo(count, std::source_location::current());
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
    TrackedModules modified;
    for (std::uint64_t tracker = 0; tracker < ChangeTrackerCount; ++tracker)
    {
        modified[tracker] = ModuleSet(getModifiedModules(tracker));
    }
    d->tracking.modulesBeforeFirstCommand = modified;
    d->undoQueue.dropAll();
    d->redoQueue.dropAll();
    // Out of the list before they die, because a command's destructor may call the manager.
    std::exchange(d->commandsToMerge, {});
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
        d->enforceLimit();
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
        d->enforceLimit();
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
    ModuleAccessInterface* const used = moduleAccess.get();
    d->moduleAccessInterface = boost::local_shared_ptr<ModuleAccessInterface>(
        used, [kept = std::move(moduleAccess)](ModuleAccessInterface*) {});
}

std::set<const Object*> CommandManager::getModifiedModules(std::uint64_t tracker) const
{
    return d->modifiedModules(tracker);
}

std::set<const Object*> CommandManager::getModifiedOrSaveOnNextSaveModules(std::uint64_t tracker) const
{
    std::set<const Object*> modules = getModifiedModules(tracker);
    modules.merge(d->moduleAccess()->getSaveOnNextSaveModulesFromBusiness());
    return modules;
}

void CommandManager::adjustOnSave(std::uint64_t tracker)
{
    d->tracking.adjustOnSave(tracker, d->undoQueue, d->redoQueue);
}

void CommandManager::markAllModulesBeforeFirstCommandAsModified()
{
    d->tracking.modulesBeforeFirstCommand.fill(ModuleSet(d->moduleAccess()->getAllModulesAsModified()));
}

void CommandManager::addThreadedCommand(std::shared_ptr<ThreadedCommand> command)
{
    if (command != nullptr)
    {
        d->workerSlot.start(std::move(command), std::source_location::current());
    }
}

void CommandManager::addThreadedCommand(std::shared_ptr<ThreadedMacroCommand> command)
{
    if (command != nullptr)
    {
        d->workerSlot.start(std::move(command));
    }
}

void CommandManager::finalizeThread()
{
    d->workerSlot.finalize();
}

void CommandManager::abortThreadedCommand()
{
    d->workerSlot.abort();
}

std::shared_ptr<CommandBase> CommandManager::getCurrentThreadedCommand() const
{
    return d->workerSlot.getCommand();
}

std::shared_ptr<ThreadManager> CommandManager::getThreadManager() const
{
    return d->workerSlot.getThreadManager();
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

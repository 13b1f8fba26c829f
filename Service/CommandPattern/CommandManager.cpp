#include "Service/CommandPattern/CommandManager.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Logging/Logging.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManagerPrivate.h"
#include "Service/CommandPattern/ExceptionText.h"
#include "Service/CommandPattern/HistoryChange.h"
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
constexpr std::uint64_t CommandManager::ChangeTrackerCount; // NOLINT(readability-redundant-declaration)

CommandManager::CommandManager() : d(std::make_unique<Private>()) {}

CommandManager::~CommandManager()
{
    // Before the rest is destroyed: a running command, and its abort, may use the manager up to their end.
    d->workerSlot.shutDown();
}

bool CommandManager::addCommand(std::shared_ptr<CommandBase> command)
{
    if (command == nullptr || !d->executeToQueue(*command, std::source_location::current()))
    {
        return false;
    }
    d->queue(std::move(command));
    d->sigCommandExecuted();
    return true;
}

bool CommandManager::addOrMergeCommand(std::shared_ptr<CommandBase> command)
{
    const bool mayMerge = d->redoQueue.empty() || !d->groups.empty();
    if (command == nullptr || !d->executeToQueue(*command, std::source_location::current()))
    {
        return false;
    }
    d->queueOrMerge(std::move(command), mayMerge);
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
    WaitingCommands& waiting = d->waiting();
    waiting.commands.splice(waiting.commands.end(), added);
    waiting.useForwardUndoOrder |= useForwardUndoOrder;
    waiting.newest = ++d->looseCount;
    d->tellHistory();
    d->sigCommandPending();
    return true;
}

std::shared_ptr<MacroCommand> CommandManager::takeExecutedCommands()
{
    d->requireNoGroup("takeExecutedCommands", std::source_location::current());
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
    d->requireNoGroup("takeLastExecutedCommand", std::source_location::current());
    return canUndo() ? d->takeNewest() : nullptr;
}

bool CommandManager::undo(std::uint64_t count)
{
    const std::source_location here = std::source_location::current();
    bool isRefused = d->isRefusedInGroup("undo", here);
    while (!isRefused && count != 0 && !d->undoQueue.empty())
    {
        if (!d->undoOne(here))
        {
            return false;
        }
        --count;
        // Again, because a slot may have opened a group.
        isRefused = count != 0 && !d->undoQueue.empty() && d->isRefusedInGroup("undo", here);
    }
    return !isRefused;
}

bool CommandManager::redo(std::uint64_t count)
{
    const std::source_location here = std::source_location::current();
    bool isRefused = d->isRefusedInGroup("redo", here);
    while (!isRefused && count != 0 && !d->redoQueue.empty())
    {
        if (!d->redoOne(here))
        {
            return false;
        }
        --count;
        // Again, because a slot may have opened a group.
        isRefused = count != 0 && !d->redoQueue.empty() && d->isRefusedInGroup("redo", here);
    }
    return !isRefused;
}

void CommandManager::undoAll()
{
    d->requireNoGroup("undoAll", std::source_location::current());
    undo(std::numeric_limits<std::uint64_t>::max());
}

void CommandManager::redoAll()
{
    d->requireNoGroup("redoAll", std::source_location::current());
    redo(std::numeric_limits<std::uint64_t>::max());
}

void CommandManager::forgetRedoCommands()
{
    d->changeHistory([this] { d->forgetRedo(); });
}

bool CommandManager::canUndo() const
{
    return d->groups.empty() && !d->undoQueue.empty();
}

bool CommandManager::canRedo() const
{
    return d->groups.empty() && !d->redoQueue.empty();
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
    d->requireNoGroup("clear", std::source_location::current());
    TrackedModules modified;
    for (std::uint64_t tracker = 0; tracker < ChangeTrackerCount; ++tracker)
    {
        modified[tracker] = ModuleSet(getModifiedModules(tracker));
    }
    d->changeHistory(
        [&]
        {
            d->willDropAll();
            d->tracking.modulesBeforeFirstCommand = modified;
            d->undoQueue.dropAll();
            d->redoQueue.dropAll();
            // Out of the list before they die, because a command's destructor may call the manager.
            d->savePoints.dropLoose(std::exchange(d->commandsToMerge.newest, 0));
            std::exchange(d->commandsToMerge.commands, {});
        });
    d->sigCommandQueueChanged(QueueCleared);
}

std::uint64_t CommandManager::getPosition() const
{
    return d->undoQueue.size();
}

std::shared_ptr<const CommandBase> CommandManager::getCommand(std::uint64_t index) const
{
    return index < getQueueSize() ? d->entryAt(index).command : nullptr;
}

std::set<const Object*> CommandManager::getModulesOfCommand(std::uint64_t index) const
{
    std::set<const Object*> modules;
    if (index < getQueueSize())
    {
        d->entryAt(index).modules().modulesOfCommand.insertInto(modules);
    }
    return modules;
}

std::optional<std::uint64_t> CommandManager::getSavedPosition(std::uint64_t tracker) const
{
    return d->savePoints.positions(d->newestLoose())[tracker];
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
        d->changeHistory([this] { d->enforceLimit(); });
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
        d->changeHistory([this] { d->enforceLimit(); });
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
    d->savePoints.save(tracker, d->saveState());
    d->tellHistory();
}

void CommandManager::markAllModulesBeforeFirstCommandAsModified()
{
    d->tracking.modulesBeforeFirstCommand.fill(ModuleSet(d->moduleAccess()->getAllModulesAsModified()));
    d->savePoints.loseAll();
    d->tellHistory();
}

void CommandManager::addThreadedCommand(std::shared_ptr<ThreadedCommand> command)
{
    if (command != nullptr)
    {
        const std::source_location here = std::source_location::current();
        d->requireNoGroup("addThreadedCommand", here);
        d->workerSlot.start(std::move(command), here);
    }
}

void CommandManager::addThreadedCommand(std::shared_ptr<ThreadedMacroCommand> command)
{
    if (command != nullptr)
    {
        d->requireNoGroup("addThreadedCommand", std::source_location::current());
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

Signals::Connection
CommandManager::connectToSigHistoryChanged(const Signals::Slot<void(const HistoryChange&)>& slot)
{
    return d->historyChanges.connect(slot, d->historyState());
}

Signals::Connection CommandManager::connectToSigOpenGroupsChanged(const Signals::Slot<void()>& slot)
{
    return d->sigOpenGroupsChanged.connect(slot, Signals::ConnectPosition::Back);
}

Signals::Connection CommandManager::connectToSigCommandPending(const Signals::Slot<void()>& slot)
{
    return d->sigCommandPending.connect(slot, Signals::ConnectPosition::Back);
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

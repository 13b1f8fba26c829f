#include "Service/CommandPattern/CommandManager.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Logging/Logging.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManagerPrivate.h"
#include "Service/CommandPattern/CommandProgress.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <boost/smart_ptr/make_local_shared.hpp>

#include <cstddef>
#include <limits>
#include <optional>
#include <utility>

namespace Valdane
{

namespace
{

const Logging logger("Service/CommandPattern/CommandManager");

std::shared_ptr<const CommandBase> topOf(const CommandQueue& queue)
{
    return queue.empty() ? nullptr : queue.back().command;
}

std::string descriptionOf(const CommandBase* command)
{
    return command == nullptr ? std::string() : command->getDescription();
}

// Whether a command that ran as a thread is one for the undo queue.
bool isAddable(const CommandBase* command)
{
    const auto* threaded = dynamic_cast<const ThreadedCommand*>(command);
    return command != nullptr && (threaded == nullptr || threaded->isAddableToCommandManager());
}

// Writes the three texts, the second of which is the description, as one line.
void writeTrace(const char* before, const CommandBase& command, const char* after,
                const std::source_location& place)
{
    logger.logTRACE(before + command.getDescription() + after, place.file_name(), place.function_name(),
                    static_cast<int>(place.line()));
}

// Apart from the writing, so that what is asked for every command can be inlined.
inline void trace(const char* before, const CommandBase& command, const char* after,
                  const std::source_location& place)
{
    if (logger.isTraceEnabled())
    {
        writeTrace(before, command, after, place);
    }
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

CommandManager::Private::Private()
    : threadManager(std::make_shared<ThreadManager>()),
      progress(std::make_shared<LegacyProgress>()),
      moduleAccessInterface(boost::make_local_shared<ModuleAccessInterface>())
{
}

CommandManager::Private::~Private()
{
    // Before the rest: a run under way, and its abort, may use the manager and what it owns up to their end.
    threadManager.reset();
}

inline void CommandManager::Private::execute(CommandBase& command, const std::source_location& place) const
{
    progressOf(command).reset();
    trace("Execute command '", command, "'...", place);
    command.execute();
    trace("Command '", command, "' executed.", place);
    progressOf(command).setComplete();
}

void CommandManager::Private::reportFailure(const std::exception& exception, const char* context,
                                            const CommandBase* command)
{
    // A copy, since a slot may give the command another description.
    const std::string description = descriptionOf(command);
    logException(exception, context, description);
    sigCommandFailed(exception.what(), description);
}

void CommandManager::Private::reportFailureInAnyCase(const std::exception& exception, const char* context,
                                                     const CommandBase* command)
{
    std::string description;
    attempt(context, command, [&] { description = descriptionOf(command); });
    attempt(context, command, [&] { logException(exception, context, description); });
    attempt(context, command, [&] { sigCommandFailed(exception.what(), description); });
}

void CommandManager::Private::logFurtherFailure(const std::exception& exception, const char* context,
                                                const CommandBase* command)
{
    try
    {
        logException(exception, context, descriptionOf(command));
    }
    catch (const std::exception&)
    {
        return;
    }
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

inline void CommandManager::Private::record(std::shared_ptr<CommandBase>&& command)
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

inline void CommandManager::Private::enqueue(std::shared_ptr<CommandBase>&& command)
{
    const ModuleSet modules(moduleAccess()->getModifiedModulesFromBusiness());
    undoQueue.pushBack(tracking.makeEntry(std::move(command), modules, undoQueue));
}

CommandManager::Private::StepOfRun::StepOfRun(Private& manager, std::uint64_t run)
    : d(manager), outer(std::exchange(manager.steppedRun, run))
{
}

CommandManager::Private::StepOfRun::~StepOfRun()
{
    d.steppedRun = outer;
}

std::uint64_t CommandManager::Private::fillWorkerSlot(std::shared_ptr<CommandBase> command)
{
    ++lastRun;
    processingCommand = true;
    currentThreadedCommand.swap(command);
    return lastRun;
}

bool CommandManager::Private::isInWorkerSlot(std::uint64_t run) const
{
    return currentThreadedCommand != nullptr && lastRun == run;
}

bool CommandManager::Private::isInItsOwnStep(std::uint64_t run, const Thread* thread) const
{
    return isInWorkerSlot(run) && steppedRun == run &&
           (thread == nullptr || threadManager->getThreadingMode() == 0);
}

void CommandManager::Private::releaseWorkerSlot(std::uint64_t run)
{
    if (currentThreadedCommand == nullptr || lastRun == run)
    {
        processingCommand = false;
        currentThreadedCommand.reset();
    }
}

bool CommandManager::Private::continueRun(CommandBase* command)
{
    if (auto* macro = dynamic_cast<ThreadedMacroCommand*>(command))
    {
        return macro->continueExecution(threadManager);
    }
    threadManager->finalizeThread();
    return true;
}

void CommandManager::Private::windUp(std::uint64_t run)
{
    if (!isInWorkerSlot(run))
    {
        return;
    }
    const std::shared_ptr<CommandBase> command = currentThreadedCommand;
    if (auto* macro = dynamic_cast<ThreadedMacroCommand*>(command.get()))
    {
        attempt("Thread finalization", macro, [macro] { macro->abortExecution(); });
    }
    else if (auto* threaded = dynamic_cast<ThreadedCommand*>(command.get()))
    {
        attempt("Thread finalization", threaded, [threaded] { progressOf(*threaded).setComplete(); });
        attempt("Thread finalization", threaded, [threaded] { threaded->sendFinishSignal(false); });
    }
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

// For users who take its address: on Windows only what is defined here is exported.
constexpr std::uint64_t CommandManager::ChangeTrackerCount;

CommandManager::CommandManager() : d(std::make_unique<Private>()) {}

CommandManager::~CommandManager() = default;

bool CommandManager::addCommand(std::shared_ptr<CommandBase> command)
{
    if (command == nullptr)
    {
        return false;
    }
    const std::source_location here = std::source_location::current();
    // First, so that no command is executed that could not be queued.
    d->undoQueue.reserveOne(d->redoQueue);
    if (!d->process(*command, "Execution", false, [&] { d->execute(*command, here); }))
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
    d->undoQueue.reserveOne(d->redoQueue);
    d->tracking.keepPosition(d->undoQueue, d->redoQueue);
    d->redoQueue.dropAll();
    d->record(std::move(command));
    d->moduleAccess()->markAllModulesInBusinessAsUnmodified();
    d->enforceLimit();
    d->sigCommandQueueChanged(CommandAdded);
}

bool CommandManager::addCommandToMergeWithNextCommand(std::shared_ptr<CommandBase> command,
                                                      bool useForwardUndoOrder)
{
    if (command == nullptr)
    {
        return false;
    }
    const std::source_location here = std::source_location::current();
    const bool flagBefore = d->processingCommand;
    // First, so that no command is executed that could not be kept.
    std::list<std::shared_ptr<CommandBase>> added{command};
    if (!d->process(*command, "Execution", flagBefore, [&] { d->execute(*command, here); }))
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
    const std::source_location here = std::source_location::current();
    for (; count != 0 && canUndo(); --count)
    {
        // First, so that no command is undone that could not be kept for redo.
        d->redoQueue.reserveOne(d->undoQueue);
        CommandBase& command = *d->undoQueue.back().command;
        CommandQueue::Hold undone(d->undoQueue);
        const auto work = [&]
        {
            d->progress->setSubProgress(command.getProgress(), 100, 1);
            trace("Execute Undo command '", command, "'...", here);
            command.undo();
            trace("Undo command '", command, "' executed.", here);
        };
        if (!d->process(command, "Undo", false, work))
        {
            return false;
        }
        // If it is not kept, it dies when the listeners have heard of it.
        QueuedCommand entry = undone.take();
        d->keepForRedo(std::move(entry));
        d->moduleAccess()->markAllModulesInBusinessAsUnmodified();
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
        // First, so that no command is redone that could not be kept for undo.
        d->undoQueue.reserveOne(d->redoQueue);
        CommandBase& command = *d->redoQueue.back().command;
        CommandQueue::Hold redone(d->redoQueue);
        const auto work = [&]
        {
            d->progress->setSubProgress(command.getProgress(), 100, 1);
            trace("Execute Redo command '", command, "'...", here);
            command.redo();
            trace("Redo command '", command, "' executed.", here);
        };
        if (!d->process(command, "Redo", false, work))
        {
            return false;
        }
        // Again, as the command may have used up the place: taking and putting cannot fail then.
        d->undoQueue.reserveOne(d->redoQueue);
        d->undoQueue.pushBack(redone.take());
        // Even if a listener throws it out of the queue, it dies when all have heard of it.
        const CommandQueue::Hold kept(d->undoQueue);
        d->moduleAccess()->markAllModulesInBusinessAsUnmodified();
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
    if (command == nullptr)
    {
        return;
    }
    const std::source_location here = std::source_location::current();
    const std::uint64_t run = d->fillWorkerSlot(command);
    try
    {
        if (d->threadManager->getThreadingMode() != 0)
        {
            d->threadManager->addThread(command);
            d->sigThreadedCommandStarted();
            return;
        }
        const Private::StepOfRun step(*d, run);
        trace("Execute command '", *command, "'...", here);
        d->threadManager->addThread(command);
        trace("Command '", *command, "' executed.", here);
        d->releaseWorkerSlot(run);
        if (command->isAddableToCommandManager())
        {
            addExecutedCommand(command);
            d->sigCommandExecuted();
        }
    }
    catch (const std::exception& exception)
    {
        d->failThreadedCommand(
            exception, "Execution", run, command, [] {}, false);
    }
    catch (...)
    {
        d->releaseWorkerSlot(run);
        throw;
    }
}

void CommandManager::addThreadedCommand(std::shared_ptr<ThreadedMacroCommand> command)
{
    if (command == nullptr)
    {
        return;
    }
    const std::uint64_t run = d->fillWorkerSlot(command);
    const auto isOnWorker = [this]
    {
        return d->threadManager->getThreadingMode() != 0;
    };
    bool isStarted = false;
    const auto windUpStart = [&]
    {
        if (!isStarted)
        {
            d->attempt("Threaded execution", command.get(), [&] { command->abortExecution(); });
        }
    };
    try
    {
        std::optional<Private::StepOfRun> step(std::in_place, *d, run);
        const bool finished = command->startExecution(d->threadManager);
        isStarted = true;
        if (!finished)
        {
            step.reset();
        }
        if (isOnWorker())
        {
            // The run is not to suffer from a listener's failure: half of it could not be undone here.
            d->attempt("Threaded execution", command.get(), [this] { d->sigThreadedCommandStarted(); });
        }
        if (finished)
        {
            addExecutedCommand(command);
            d->releaseWorkerSlot(run);
            d->sigCommandExecuted();
            if (isOnWorker())
            {
                d->sigThreadedCommandFinished();
            }
        }
    }
    catch (const std::exception& exception)
    {
        d->failThreadedCommand(exception, "Threaded execution", run, command, windUpStart, isOnWorker());
    }
    catch (...)
    {
        d->releaseWorkerSlot(run);
        throw;
    }
}

void CommandManager::finalizeThread()
{
    const std::shared_ptr<Thread> thread = d->threadManager->getCurrentThread();
    const std::uint64_t run = d->lastRun;
    if (d->isInItsOwnStep(run, thread.get()))
    {
        return;
    }
    const std::shared_ptr<CommandBase> command = d->currentThreadedCommand;
    const Private::StepOfRun step(*d, run);
    // Before too, because a command may be started again when it is told of its end, which clears the state.
    const bool wasAborted = thread != nullptr && thread->isAborted();
    try
    {
        const bool finished = d->continueRun(command.get());
        const bool aborted = wasAborted || (thread != nullptr && thread->isAborted());
        if (finished)
        {
            d->releaseWorkerSlot(run);
        }
        if (finished && !aborted && isAddable(command.get()))
        {
            addExecutedCommand(command);
            d->sigCommandExecuted();
        }
        const bool isStartedAgain = finished && command == d->currentThreadedCommand;
        if (aborted && command != nullptr && !isStartedAgain)
        {
            progressOf(*command).setComplete();
        }
        if (finished && command != nullptr)
        {
            d->sigThreadedCommandFinished();
        }
    }
    catch (const std::exception& exception)
    {
        // A run that lost the worker slot to another command is known by its thread only.
        const auto failed = command != nullptr ? command : std::dynamic_pointer_cast<CommandBase>(thread);
        d->failThreadedCommand(
            exception, "Thread finalization", run, failed, [&] { d->windUp(run); }, true);
    }
    catch (...)
    {
        d->releaseWorkerSlot(run);
        throw;
    }
}

void CommandManager::abortThreadedCommand()
{
    d->threadManager->abortThreadExecution();
}

std::shared_ptr<CommandBase> CommandManager::getCurrentThreadedCommand() const
{
    return d->currentThreadedCommand;
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

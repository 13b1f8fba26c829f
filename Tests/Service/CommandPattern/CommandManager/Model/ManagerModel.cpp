#include "ManagerModel.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <ranges>

namespace Valdane::Model
{

namespace
{

void logFailure(const std::string& what, const std::exception& exception)
{
    const auto* located = dynamic_cast<const VdException*>(&exception);
    note("error: " + what + "failed with exception: " + exception.what() +
         (located == nullptr ? "" : "\n    Location: " + located->getLocation()));
}

std::string textOf(const std::list<ManagerModel::Entry>& queue)
{
    std::string text;
    for (const ManagerModel::Entry& entry : queue | std::views::reverse)
    {
        text += (text.empty() ? "" : " ") + descriptionOf(*entry.command);
    }
    return text;
}

} // namespace

void ManagerModel::emit(const std::string& signal) const
{
    note(signal + " [" + textOf(undoQueue) + "|" + textOf(redoQueue) + "]");
    world.onMoment();
}

void ManagerModel::report(const std::string& context, const std::string& description,
                          const std::exception& exception)
{
    logFailure(context + " of command '" + description + "' ", exception);
    emit("failed(" + std::string(exception.what()) + ", " + description + ")");
}

/// Does the work of a command with the flag up, which is @p flagAfter when it ends.
bool ManagerModel::process(const std::string& context, const Command& command, const Flag& flagAfter,
                           const std::function<void()>& work)
{
    isProcessing = true;
    try
    {
        work();
    }
    catch (const std::exception& exception)
    {
        isProcessing = flagAfter();
        report(context, descriptionOf(command), exception);
        return false;
    }
    catch (...)
    {
        isProcessing = flagAfter();
        throw;
    }
    isProcessing = flagAfter();
    return true;
}

bool ManagerModel::execute(const Command& command, const Flag& flagAfter)
{
    return process("Execution", command, flagAfter,
                   [&]
                   {
                       note(progressOf(command) + ".reset");
                       trace("Execute command '" + descriptionOf(command) + "'...");
                       run(command, Call::Execute);
                       trace("Command '" + descriptionOf(command) + "' executed.");
                       note(progressOf(command) + ".setComplete");
                   });
}

/// Undoes or redoes a command.
bool ManagerModel::step(const std::string& verb, const Command& command, Call call)
{
    const Flag cleared = []
    {
        return false;
    };
    return process(verb, command, cleared,
                   [&]
                   {
                       note("progress.setSubProgress(" + progressOf(command) + ", 100, 1)");
                       trace("Execute " + verb + " command '" + descriptionOf(command) + "'...");
                       run(command, call);
                       trace(verb + " command '" + descriptionOf(command) + "' executed.");
                   });
}

bool ManagerModel::addCommand(const CommandPtr& command)
{
    const Flag cleared = []
    {
        return false;
    };
    if (command == nullptr || !execute(*command, cleared))
    {
        return false;
    }
    addExecutedCommand(command);
    emit("executed");
    return true;
}

bool ManagerModel::addCommandToMergeWithNextCommand(const CommandPtr& command, bool useForwardUndoOrder)
{
    // As it was, unless it was set for a run that has come to its end meanwhile.
    const auto flagAfter = [this, before = isProcessing, wasEmpty = slot == nullptr]
    {
        return before && (wasEmpty || slot != nullptr || threads.getCurrentThread() != nullptr);
    };
    if (command == nullptr || !execute(*command, flagAfter))
    {
        return false;
    }
    toMerge.commands.push_back(command);
    toMerge.useForwardUndoOrder = toMerge.useForwardUndoOrder || useForwardUndoOrder;
    return true;
}

CommandPtr ManagerModel::merge(const CommandPtr& command, const Waiting& waiting)
{
    if (waiting.commands.empty())
    {
        return command;
    }
    auto macro = std::make_shared<Command>();
    macro->description = descriptionOf(*command);
    macro->parts = {command};
    std::ranges::copy(waiting.commands, std::back_inserter(macro->parts));
    macro->forwardUndoOrder = waiting.useForwardUndoOrder;
    return macro;
}

/// What the application says it has modified. Nothing that waits to be merged is lost if it throws.
Modules ManagerModel::askForEntry(const Waiting& waiting)
try
{
    return world.ask("modules.modified", world.modified);
}

catch (...)
{
    toMerge.commands.insert(toMerge.commands.begin(), waiting.commands.begin(), waiting.commands.end());
    toMerge.useForwardUndoOrder = toMerge.useForwardUndoOrder || waiting.useForwardUndoOrder;
    throw;
}

ManagerModel::Entry ManagerModel::makeEntry(const CommandPtr& command, Modules own) const
{
    Entry entry{command, undoQueue.empty() ? beforeFirstCommand : undoQueue.back().after, {}, own};
    for (std::size_t tracker = 0; tracker < trackerCount; ++tracker)
    {
        entry.after[tracker] = entry.before[tracker] | own;
    }
    return entry;
}

void ManagerModel::addExecutedCommand(const CommandPtr& command)
{
    if (command == nullptr)
    {
        return;
    }
    if (undoQueue.empty() && !redoQueue.empty())
    {
        beforeFirstCommand = redoQueue.back().before;
    }
    redoQueue.clear();
    const Waiting waiting = toMerge.commands.empty() ? Waiting{} : std::exchange(toMerge, {});
    const CommandPtr merged = merge(command, waiting);
    const Modules own = askForEntry(waiting);
    undoQueue.push_back(makeEntry(merged, own));
    world.mark();
    applyLimit();
    emit("queueChanged 3");
}

void ManagerModel::applyLimit()
{
    if (!usesMaxQueueSize)
    {
        return;
    }
    if (maxQueueSize < redoQueue.size())
    {
        undoQueue.clear();
        redoQueue.clear();
        return;
    }
    while (undoQueue.size() + redoQueue.size() > maxQueueSize)
    {
        beforeFirstCommand = undoQueue.front().before;
        undoQueue.pop_front();
    }
}

CommandPtr ManagerModel::takeExecutedCommands()
{
    if (undoQueue.empty())
    {
        return nullptr;
    }
    auto macro = std::make_shared<Command>();
    std::ranges::transform(undoQueue, std::back_inserter(macro->parts), &Entry::command);
    clear();
    return macro;
}

CommandPtr ManagerModel::takeLastExecutedCommand()
{
    if (undoQueue.empty())
    {
        return nullptr;
    }
    CommandPtr command = undoQueue.back().command;
    undoQueue.pop_back();
    return command;
}

/// Takes @p entry away, unless its command has had that done while it was called.
void ManagerModel::dropTop(std::list<Entry>& queue, const Entry& entry)
{
    if (!queue.empty() && queue.back().command == entry.command)
    {
        queue.pop_back();
    }
}

/// A command that cannot say whether it can be redone cannot.
void ManagerModel::moveToRedo(const Entry& entry)
try
{
    if (isRedoCapable(*entry.command))
    {
        redoQueue.push_back(entry);
    }
    else
    {
        redoQueue.clear();
    }
}

catch (...)
{
    redoQueue.clear();
    throw;
}

bool ManagerModel::undo(std::uint64_t count)
{
    for (; count != 0 && !undoQueue.empty(); --count)
    {
        const Entry entry = undoQueue.back();
        if (!step("Undo", *entry.command, Call::Undo))
        {
            return false;
        }
        dropTop(undoQueue, entry);
        moveToRedo(entry);
        world.mark();
        emit("undone");
        emit("queueChanged 0");
    }
    return true;
}

bool ManagerModel::redo(std::uint64_t count)
{
    for (; count != 0 && !redoQueue.empty(); --count)
    {
        const Entry entry = redoQueue.back();
        if (!step("Redo", *entry.command, Call::Redo))
        {
            return false;
        }
        dropTop(redoQueue, entry);
        undoQueue.push_back(entry);
        world.mark();
        emit("executed");
        emit("queueChanged 1");
    }
    return true;
}

void ManagerModel::undoAll()
{
    undo(std::numeric_limits<std::uint64_t>::max());
}

void ManagerModel::redoAll()
{
    redo(std::numeric_limits<std::uint64_t>::max());
}

void ManagerModel::clear()
{
    ModulesByTracker modified = {};
    for (std::size_t tracker = 0; tracker < trackerCount; ++tracker)
    {
        modified[tracker] = getModifiedModules(tracker);
    }
    beforeFirstCommand = modified;
    undoQueue.clear();
    redoQueue.clear();
    toMerge.commands.clear();
    emit("queueChanged 2");
}

void ManagerModel::setMaxQueueSize(std::uint32_t size)
{
    if (std::exchange(maxQueueSize, size) != size)
    {
        applyLimit();
    }
}

void ManagerModel::setUsesMaxQueueSize(bool use)
{
    if (std::exchange(usesMaxQueueSize, use) != use)
    {
        applyLimit();
    }
}

void ManagerModel::setProgress() const
{
    note("bar.addProgress(progress, true)");
}

Modules ManagerModel::positionOf(std::uint64_t tracker) const
{
    return !undoQueue.empty()   ? undoQueue.back().after[tracker]
           : !redoQueue.empty() ? redoQueue.back().before[tracker]
                                : beforeFirstCommand[tracker];
}

Modules ManagerModel::getModifiedModules(std::uint64_t tracker) const
{
    const Modules reported = world.ask("modules.modified", world.modified);
    return positionOf(tracker) | reported;
}

Modules ManagerModel::getModifiedOrSaveOnNextSaveModules(std::uint64_t tracker) const
{
    const Modules modified = getModifiedModules(tracker);
    return modified | world.ask("modules.saveOnNextSave", world.saveOnNextSave);
}

void ManagerModel::adjustOnSave(std::uint64_t tracker)
{
    if (undoQueue.empty())
    {
        beforeFirstCommand[tracker] = 0;
    }
    Modules passed = 0;
    for (Entry& entry : redoQueue | std::views::reverse)
    {
        entry.before[tracker] = passed;
        entry.after[tracker] = passed |= entry.own;
    }
    passed = 0;
    for (Entry& entry : undoQueue | std::views::reverse)
    {
        entry.after[tracker] = passed;
        entry.before[tracker] = passed |= entry.own;
    }
}

void ManagerModel::markAllModulesBeforeFirstCommandAsModified()
{
    beforeFirstCommand.fill(world.ask("modules.all", world.all));
}

void ManagerModel::emitSigUndoRedoProcessCompleted() const
{
    emit("completed");
}

/// Ends what @p command has under way, unless another one has taken its place in the slot.
void ManagerModel::release(const CommandPtr& command)
{
    if (slot == nullptr || slot == command)
    {
        slot = nullptr;
        isProcessing = false;
    }
}

void ManagerModel::keep(const CommandPtr& command)
{
    if (command->script->isAddable())
    {
        addExecutedCommand(command);
        emit("executed");
    }
}

/// Nothing derived from std::exception gets out of a threaded operation: what a report itself meets is one
/// more line.
void ManagerModel::attempt(const std::string& context, const std::string& description,
                           const std::function<void()>& action)
{
    try
    {
        action();
    }
    catch (const std::exception& exception)
    {
        logFailure(context + " of command '" + description + "' ", exception);
    }
}

void ManagerModel::addThreadedCommand(const CommandPtr& command)
{
    if (command == nullptr)
    {
        return;
    }
    slot = command;
    isProcessing = true;
    try
    {
        if (threads.mode != 0)
        {
            threads.addThread(command->thread);
            emit("started");
            return;
        }
        trace("Execute command '" + command->description + "'...");
        threads.addThread(command->thread);
        trace("Command '" + command->description + "' executed.");
        release(command);
        keep(command);
    }
    catch (const std::exception& exception)
    {
        release(command);
        attempt("Execution", command->description,
                [&] { report("Execution", command->description, exception); });
    }
    catch (...)
    {
        release(command);
        throw;
    }
}

void ManagerModel::finalizeThread()
{
    const std::shared_ptr<Thread> thread = threads.getCurrentThread();
    const CommandPtr command = slot;
    // The end of the run is being told just now, and a slot asks for what is under way already.
    if (command != nullptr && thread == nullptr)
    {
        return;
    }
    try
    {
        threads.finalizeThread();
        release(command);
        if (command == nullptr)
        {
            return;
        }
        if (thread->isAborted())
        {
            note(progressOf(*command) + ".setComplete");
        }
        else
        {
            keep(command);
        }
        emit("finished");
    }
    catch (const std::exception& exception)
    {
        windUp(command, thread->label, exception);
    }
    catch (...)
    {
        release(command);
        throw;
    }
}

/// What follows a finalization that failed: every step, whatever the others do.
void ManagerModel::windUp(const CommandPtr& command, const std::string& name, const std::exception& exception)
try
{
    const std::string context = "Thread finalization";
    if (command != nullptr && slot == command)
    {
        attempt(context, name, [&] { note(progressOf(*command) + ".setComplete"); });
        attempt(context, name, [&] { command->thread->sendFinishSignal(false); });
    }
    release(command);
    attempt(context, name, [&] { report(context, name, exception); });
    attempt(context, name, [&] { emit("finished"); });
}

catch (...)
{
    release(command);
    throw;
}

void ManagerModel::abortThreadedCommand()
{
    threads.abortThreadExecution();
}

} // namespace Valdane::Model

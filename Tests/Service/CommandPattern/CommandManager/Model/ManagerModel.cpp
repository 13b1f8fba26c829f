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

bool ManagerModel::addOrMergeCommand(const CommandPtr& command)
{
    const Flag cleared = []
    {
        return false;
    };
    const bool mayMerge = redoQueue.empty() || !groups.empty();
    if (command == nullptr || !execute(*command, cleared))
    {
        return false;
    }
    bool isMerged = false;
    try
    {
        isMerged = merges(command, mayMerge);
    }
    catch (...)
    {
        queue(command);
        throw;
    }
    if (!isMerged)
    {
        queue(command);
    }
    else if (groups.empty())
    {
        changeHistory([this] { world.mark(); });
        emit("queueChanged 3");
    }
    emit("executed");
    return true;
}

bool ManagerModel::takesIn(const Command& newest, const Command& command)
try
{
    return newest.script != nullptr && newest.thread == nullptr && newest.script->takesIn();
}

catch (const std::exception& exception)
{
    logFailure("Merge of command '" + descriptionOf(command) + "' ", exception);
    return false;
}

/// Whether the present state is saved, for all that is known.
bool ManagerModel::isSaved() const
{
    const auto position = static_cast<int>(undoQueue.size());
    return getSavedPosition(0) == position || getSavedPosition(1) == position;
}

/// Whether the newest command has taken in @p command.
bool ManagerModel::merges(const CommandPtr& command, bool mayMerge)
{
    if (!mayMerge || !moving.empty() || !waiting().commands.empty() || isSaved())
    {
        return false;
    }
    if (!groups.empty())
    {
        // A copy, because the command may abandon its group when it is asked.
        const CommandPtr newest = groups.back().commands.empty() ? nullptr : groups.back().commands.back();
        if (newest == nullptr || !takesIn(*newest, *command))
        {
            return false;
        }
        if (!groups.empty())
        {
            groups.back().state = ++stateCount;
            tell();
        }
        return true;
    }
    if (undoQueue.empty() || !redoQueue.empty())
    {
        return false;
    }
    const Modules own = world.ask("modules.modified", world.modified);
    if (undoQueue.empty())
    {
        return false;
    }
    Entry merged = undoQueue.back();
    for (Modules& after : merged.after)
    {
        after |= own;
    }
    merged.own |= own;
    merged.state = ++stateCount;
    if (!takesIn(*merged.command, *command))
    {
        return false;
    }
    if (!undoQueue.empty() && undoQueue.back().command == merged.command)
    {
        undoQueue.back() = merged;
        loseSavesAfter(undoQueue.size() - 1);
        touch();
    }
    return true;
}

ManagerModel::Waiting& ManagerModel::waiting()
{
    return groups.empty() ? toMerge : groups.back().waiting;
}

unsigned ManagerModel::looseState() const
{
    unsigned state = toMerge.state;
    for (const Group& group : groups)
    {
        state = !group.waiting.commands.empty() ? group.waiting.state
                : !group.commands.empty()       ? group.state
                                                : state;
    }
    return state;
}

std::vector<unsigned> ManagerModel::states() const
{
    std::vector<unsigned> found{firstState};
    std::ranges::transform(undoQueue, std::back_inserter(found), &Entry::state);
    std::ranges::transform(redoQueue | std::views::reverse, std::back_inserter(found), &Entry::state);
    for (const auto& [ofEntry, position] : moving)
    {
        const std::size_t place = std::min(position, found.size());
        found.insert(std::next(found.begin(), static_cast<std::ptrdiff_t>(place)), ofEntry);
    }
    return found;
}

ManagerModel::DataState ManagerModel::dataState() const
{
    return {undoQueue.empty() ? firstState : undoQueue.back().state, looseState()};
}

int ManagerModel::getSavedPosition(std::uint64_t tracker) const
{
    const std::optional<DataState>& state = saved[tracker];
    if (!state.has_value() || state->ofLoose != looseState())
    {
        return -1;
    }
    const std::vector<unsigned> all = states();
    const auto found = std::ranges::find(all, state->ofEntry);
    return found == all.end() ? -1 : static_cast<int>(found - all.begin());
}

std::list<Modules> ManagerModel::modulesOfCommands() const
{
    std::list<Modules> modules;
    std::ranges::transform(undoQueue, std::back_inserter(modules), &Entry::own);
    std::ranges::transform(redoQueue | std::views::reverse, std::back_inserter(modules), &Entry::own);
    return modules;
}

std::list<std::string> ManagerModel::openGroups() const
{
    std::list<std::string> descriptions;
    std::ranges::transform(groups, std::back_inserter(descriptions), &Group::description);
    return descriptions;
}

ManagerModel::Told ManagerModel::whatIs() const
{
    return {
        undoQueue.size() + redoQueue.size(), undoQueue.size(), {getSavedPosition(0), getSavedPosition(1)}};
}

/// A slot that changes the history is told of that when it has returned.
void ManagerModel::tell()
{
    if (isTelling || !moving.empty())
    {
        return;
    }
    isTelling = true;
    try
    {
        for (Told now = whatIs(); hasChanged || now != told; now = whatIs())
        {
            const Told before = std::exchange(told, now);
            hasChanged = false;
            note("history " + std::to_string(before.position) + " to " + std::to_string(now.position) +
                 (before.saved == now.saved ? "" : " saved otherwise") + " modules " +
                 std::to_string(std::exchange(modulesOfRemoved, 0)));
            world.onMoment();
        }
    }
    catch (...)
    {
        isTelling = false;
        throw;
    }
    isTelling = false;
}

void ManagerModel::changeHistory(const std::function<void()>& work)
{
    try
    {
        work();
    }
    catch (...)
    {
        tell();
        throw;
    }
    tell();
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
    Waiting& those = waiting();
    those.commands.push_back(command);
    those.useForwardUndoOrder = those.useForwardUndoOrder || useForwardUndoOrder;
    those.state = ++stateCount;
    tell();
    return true;
}

CommandPtr ManagerModel::merge(const CommandPtr& command, const Waiting& those)
{
    if (those.commands.empty())
    {
        return command;
    }
    auto macro = std::make_shared<Command>();
    macro->description = descriptionOf(*command);
    macro->parts = {command};
    std::ranges::copy(those.commands, std::back_inserter(macro->parts));
    macro->forwardUndoOrder = those.useForwardUndoOrder;
    return macro;
}

/// What the application says it has modified. Nothing that waits to be merged is lost if it throws.
Modules ManagerModel::askForEntry(const Waiting& those)
try
{
    return world.ask("modules.modified", world.modified);
}

catch (...)
{
    toMerge.commands.insert(toMerge.commands.begin(), those.commands.begin(), those.commands.end());
    toMerge.useForwardUndoOrder = toMerge.useForwardUndoOrder || those.useForwardUndoOrder;
    toMerge.state = std::max(toMerge.state, those.state);
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
    if (command != nullptr)
    {
        queue(command);
    }
}

void ManagerModel::queue(const CommandPtr& command)
{
    if (!groups.empty())
    {
        appendToGroup(groups.back(), command, ++stateCount);
        tell();
        return;
    }
    changeHistory(
        [&]
        {
            intake(command);
            world.mark();
            applyLimit();
        });
    emit("queueChanged 3");
}

void ManagerModel::forgetRedo()
{
    if (undoQueue.empty() && !redoQueue.empty())
    {
        beforeFirstCommand = redoQueue.back().before;
    }
    if (redoQueue.empty())
    {
        return;
    }
    for (const Entry& entry : redoQueue)
    {
        modulesOfRemoved |= entry.own;
    }
    touch();
    redoQueue.clear();
    loseSavesAfter(undoQueue.size());
}

/// Those behind a position.
void ManagerModel::loseSavesAfter(std::size_t position)
{
    std::vector<unsigned> all = states();
    all.resize(1 + position);
    for (std::optional<DataState>& state : saved)
    {
        if (state.has_value() && std::ranges::count(all, state->ofEntry) == 0)
        {
            state.reset();
        }
    }
}

void ManagerModel::intake(const CommandPtr& command)
{
    forgetRedo();
    const Waiting those = toMerge.commands.empty() ? Waiting{} : std::exchange(toMerge, {});
    const CommandPtr merged = merge(command, those);
    const Modules own = askForEntry(those);
    loseSavesAfter(undoQueue.size());
    undoQueue.push_back(makeEntry(merged, own));
    undoQueue.back().state = ++stateCount;
    touch();
}

void ManagerModel::forgetRedoCommands()
{
    changeHistory([this] { forgetRedo(); });
}

bool ManagerModel::refuses(const std::string& operation) const
{
    if (groups.empty())
    {
        return false;
    }
    note("error: " + operation + "() is refused while the group '" + groups.back().description + "' is open");
    return true;
}

void ManagerModel::requireNoGroup(const std::string& operation) const
{
    if (refuses(operation))
    {
        throw VdException(operation + "() is refused while the group '" + groups.back().description +
                          "' is open");
    }
}

namespace
{

[[noreturn]] void refuse(const std::string& text)
{
    note("error: " + text);
    throw VdException(text);
}

CommandPtr macroOf(const ManagerModel::Group& group)
{
    auto macro = std::make_shared<Command>();
    macro->description = group.description;
    macro->parts = group.commands;
    std::ranges::copy(group.waiting.commands, std::back_inserter(macro->parts));
    return macro;
}

unsigned stateOf(const ManagerModel::Group& group)
{
    return group.waiting.commands.empty() ? group.state : group.waiting.state;
}

} // namespace

void ManagerModel::beginGroup(const std::string& description)
{
    if (slot != nullptr || threads.getCurrentThread() != nullptr)
    {
        refuse("beginGroup() is refused while a threaded command is running");
    }
    groups.push_back({description, {}, {}, 0});
    emit("groups");
}

void ManagerModel::appendToGroup(Group& group, const CommandPtr& command, unsigned state)
{
    group.commands.push_back(merge(command, group.waiting));
    if (!group.waiting.commands.empty())
    {
        group.waiting = {};
    }
    group.state = state;
}

void ManagerModel::endGroup()
{
    if (groups.empty())
    {
        refuse("endGroup() is refused because no group is open");
    }
    const std::size_t depth = groups.size() - 1;
    const Group group = groups.back();
    groups.pop_back();
    if (group.isEmpty())
    {
        emit("groups");
        return;
    }
    if (depth != 0)
    {
        appendToGroup(groups.back(), macroOf(group), stateOf(group));
        tell();
        emit("groups");
        return;
    }
    changeHistory(
        [&]
        {
            try
            {
                intake(macroOf(group));
            }
            catch (...)
            {
                groups.push_front(group);
                throw;
            }
            const DataState before{undoQueue.size() == 1 ? firstState : std::prev(undoQueue.end(), 2)->state,
                                   stateOf(group)};
            std::ranges::replace(saved, std::optional(before),
                                 std::optional(DataState{undoQueue.back().state, 0}));
            world.mark();
            applyLimit();
        });
    emit("queueChanged 3");
    emit("groups");
}

bool ManagerModel::abandonGroup()
{
    if (groups.empty())
    {
        refuse("abandonGroup() is refused because no group is open");
    }
    const std::size_t depth = groups.size() - 1;
    const Group group = groups.back();
    groups.pop_back();
    if (group.isEmpty())
    {
        emit("groups");
        return true;
    }
    bool isUndone = false;
    const CommandPtr macro = macroOf(group);
    const Flag reopened = [&]
    {
        if (!isUndone)
        {
            const std::size_t place = std::min(depth, groups.size());
            groups.insert(std::next(groups.begin(), static_cast<std::ptrdiff_t>(place)), group);
        }
        return false;
    };
    const auto work = [&]
    {
        note("progress.setSubProgress(" + progressOf(*macro) + ", 100, 1)");
        trace("Execute Undo command '" + descriptionOf(*macro) + "'...");
        run(*macro, Call::Undo);
        trace("Undo command '" + descriptionOf(*macro) + "' executed.");
        isUndone = true;
    };
    changeHistory(
        [&]
        {
            isUndone = process("Undo", *macro, reopened, work);
            if (isUndone && looseState() == 0)
            {
                world.mark();
            }
        });
    if (isUndone)
    {
        emit("undone");
        emit("groups");
    }
    return isUndone;
}

void ManagerModel::applyLimit()
{
    if (!usesMaxQueueSize)
    {
        return;
    }
    if (maxQueueSize < redoQueue.size())
    {
        dropAll();
        return;
    }
    while (undoQueue.size() + redoQueue.size() > maxQueueSize)
    {
        beforeFirstCommand = undoQueue.front().before;
        firstState = undoQueue.front().state;
        modulesOfRemoved |= undoQueue.front().own;
        touch();
        undoQueue.pop_front();
    }
}

ManagerModel::Rows ManagerModel::rows() const
{
    return {undoQueue.size(), changeCount};
}

/// Rows have come or gone.
void ManagerModel::touch()
{
    hasChanged = true;
    ++changeCount;
}

/// The commands that are done stay done.
void ManagerModel::dropAll()
{
    firstState = dataState().ofEntry;
    for (const std::list<Entry>* entries : {&undoQueue, &redoQueue})
    {
        for (const Entry& entry : *entries)
        {
            modulesOfRemoved |= entry.own;
            touch();
        }
    }
    undoQueue.clear();
    redoQueue.clear();
}

CommandPtr ManagerModel::takeExecutedCommands()
{
    requireNoGroup("takeExecutedCommands");
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
    requireNoGroup("takeLastExecutedCommand");
    if (undoQueue.empty())
    {
        return nullptr;
    }
    // What it did is part of the state from now on.
    const Entry taken = undoQueue.back();
    undoQueue.pop_back();
    modulesOfRemoved |= taken.own;
    touch();
    firstState = ++stateCount;
    for (Entry& entry : undoQueue)
    {
        entry.state = ++stateCount;
    }
    (undoQueue.empty() ? firstState : undoQueue.back().state) = taken.state;
    tell();
    return taken.command;
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
void ManagerModel::moveToRedo(Entry entry, const Rows& afterwards)
{
    const auto forget = [&]
    {
        modulesOfRemoved |= entry.own;
        touch();
        for (const Entry& older : redoQueue)
        {
            modulesOfRemoved |= older.own;
        }
        redoQueue.clear();
    };
    try
    {
        // The entry is in neither queue, so that nothing can be told.
        moving.emplace_back(entry.state, undoQueue.size() + 1);
        const bool isKept = isRedoCapable(*entry.command);
        moving.pop_back();
        followStep(afterwards, entry);
        if (isKept)
        {
            redoQueue.push_back(entry);
            return;
        }
    }
    catch (...)
    {
        moving.pop_back();
        followStep(afterwards, entry);
        forget();
        throw;
    }
    forget();
}

/// A command that changes the history in its own undo or redo leaves nobody knowing which state is saved.
void ManagerModel::followStep(const Rows& expected, Entry& entry)
{
    if (rows() != expected)
    {
        hasChanged = true;
        saved = {};
        entry.state = ++stateCount;
    }
}

bool ManagerModel::undo(std::uint64_t count)
{
    if (refuses("undo"))
    {
        return false;
    }
    for (; count != 0 && !undoQueue.empty(); --count)
    {
        const Entry entry = undoQueue.back();
        const Rows before = rows();
        if (!step("Undo", *entry.command, Call::Undo))
        {
            return false;
        }
        changeHistory(
            [&]
            {
                const std::size_t isThere = undoQueue.size() == before.first ? 1 : 0;
                dropTop(undoQueue, entry);
                moveToRedo(entry, {before.first - isThere, before.second});
                world.mark();
            });
        emit("undone");
        emit("queueChanged 0");
        if (count > 1 && !undoQueue.empty() && refuses("undo"))
        {
            return false;
        }
    }
    return true;
}

bool ManagerModel::redo(std::uint64_t count)
{
    if (refuses("redo"))
    {
        return false;
    }
    for (; count != 0 && !redoQueue.empty(); --count)
    {
        Entry entry = redoQueue.back();
        const Rows before = rows();
        if (!step("Redo", *entry.command, Call::Redo))
        {
            return false;
        }
        changeHistory(
            [&]
            {
                followStep(before, entry);
                dropTop(redoQueue, entry);
                undoQueue.push_back(entry);
                world.mark();
            });
        emit("executed");
        emit("queueChanged 1");
        if (count > 1 && !redoQueue.empty() && refuses("redo"))
        {
            return false;
        }
    }
    return true;
}

void ManagerModel::undoAll()
{
    requireNoGroup("undoAll");
    undo(std::numeric_limits<std::uint64_t>::max());
}

void ManagerModel::redoAll()
{
    requireNoGroup("redoAll");
    redo(std::numeric_limits<std::uint64_t>::max());
}

void ManagerModel::clear()
{
    requireNoGroup("clear");
    ModulesByTracker modified = {};
    for (std::size_t tracker = 0; tracker < trackerCount; ++tracker)
    {
        modified[tracker] = getModifiedModules(tracker);
    }
    // What is in a group that was opened when the modules were asked is not forgotten.
    const DataState before{dataState().ofEntry, toMerge.state};
    dropAll();
    firstState = ++stateCount;
    for (std::optional<DataState>& state : saved)
    {
        state = state == before ? std::optional<DataState>({firstState, 0}) : std::nullopt;
    }
    beforeFirstCommand = modified;
    toMerge.commands.clear();
    toMerge.state = 0;
    tell();
    emit("queueChanged 2");
}

void ManagerModel::setMaxQueueSize(std::uint32_t size)
{
    if (std::exchange(maxQueueSize, size) != size)
    {
        changeHistory([this] { applyLimit(); });
    }
}

void ManagerModel::setUsesMaxQueueSize(bool use)
{
    if (std::exchange(usesMaxQueueSize, use) != use)
    {
        changeHistory([this] { applyLimit(); });
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
    saved[tracker] = dataState();
    tell();
}

void ManagerModel::markAllModulesBeforeFirstCommandAsModified()
{
    beforeFirstCommand.fill(world.ask("modules.all", world.all));
    saved = {};
    tell();
}

void ManagerModel::emitSigUndoRedoProcessCompleted() const
{
    emit("completed");
}

/// Ends what @p command has running, unless another one has taken its place in the slot.
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
    requireNoGroup("addThreadedCommand");
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
    // The end of the run is being told just now, and a slot asks for what is running already.
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

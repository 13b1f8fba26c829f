#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Slot.h"
#include "Service/CommandPattern/CommandPatternExport.h"

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace Valdane
{

class CommandBase;
class MacroCommand;
class ModuleAccessInterface;
class Object;
class Progress;
class ThreadManager;
class ThreadedCommand;
class ThreadedMacroCommand;
struct HistoryChange;

/// Executes commands, keeps them for undo and redo, and tells listeners what happened.
///
///     CommandManager manager;
///     manager.addCommand(std::make_shared<SetNameCmd>(pump, "P-101", "Rename pump"));
///     manager.undo(1);
///     manager.redo(1);
///
/// Failures: if a command throws an exception derived from `std::exception`, the operation writes an error
/// line, emits sigCommandFailed and returns false, and the queues do not change. Any other exception passes
/// to the caller. If a slot or the module access interface throws, what came before has taken effect.
/// Docs/failures.md has the whole matrix.
///
/// Re-entrancy: signals are emitted after the queues have their new state. A slot, a command, or the
/// destructor of a command that is dropped, may call any operation, but must not destroy the manager.
///
/// Ownership: shares the commands with its callers. A command that dies with the manager must not call it.
/// Thread: one thread, usually the application's main thread. No locks.
class VALDANE_COMMANDPATTERN_EXPORT CommandManager
{
public:
    /// Why the queues changed.
    enum QueueChangeReason
    {
        CommandUndone = 0, ///< one command was undone
        CommandRedone = 1, ///< one command was redone
        QueueCleared = 2,  ///< clear()
        CommandAdded = 3,  ///< a command was put on top of the undo queue
    };

    /// The number of independent save points. A tracker argument must be less than it (not checked).
    static constexpr std::uint64_t ChangeTrackerCount = 2;

    /// Has empty queues and no limit; it is 25 if it is switched on.
    CommandManager();
    CommandManager(const CommandManager&) = delete;
    CommandManager& operator=(const CommandManager&) = delete;

    /// Aborts a running command and waits for its end, unless the application shares the thread manager.
    /// Until then all operations work, so that an abortRun() may call them.
    ~CommandManager();

    // Run

    /// Executes @p command and puts it on top of the undo queue as addExecutedCommand() does; then emits
    /// sigCommandExecuted. Resets the command's progress before execution and completes it after.
    /// @return false if the command threw or is empty.
    /// Guarantee: a command that cannot be queued stays executed, and the redo queue is emptied.
    bool addCommand(std::shared_ptr<CommandBase> command);

    /// Puts @p command, which its caller has executed, on top of the undo queue. Ignores an empty pointer.
    /// Empties the redo queue, merges the commands that wait, records the modified modules, applies the
    /// limit, and emits sigCommandQueueChanged(CommandAdded).
    /// Guarantee: on failure the redo queue is emptied.
    void addExecutedCommand(std::shared_ptr<CommandBase> command);

    // Groups. While one is open, commands become part of it instead of the undo queue, with sigCommandExecuted
    // only. undo() and redo() are refused meanwhile: they write an error line and return false. So are
    // undoAll(), redoAll(), clear(), takeExecutedCommands(), takeLastExecutedCommand() and
    // addThreadedCommand(): they write the line and throw a VdException.

    /// Opens a group, inside the one that is open. Commands that wait to be merged wait for the outermost group.
    /// @throws VdException while a threaded command is running.
    /// Guarantee: if a slot throws, the group is open.
    void beginGroup(std::string description);

    /// Closes the innermost group. It becomes one entry, a macro that is queued as addExecutedCommand() does, or
    /// a part of the group around it. An empty group leaves nothing. @throws VdException if none is open.
    /// Guarantee: if it cannot be queued, it stays open.
    void endGroup();

    /// Undoes what is in the innermost group and closes it; the history does not change. Emits sigCommandUndone.
    /// @return false if that failed: it is reported as a failed undo, and the group is as it was.
    /// @throws VdException if none is open.
    bool abandonGroup();

    /// The descriptions of the open groups, the outermost first.
    std::list<std::string> getOpenGroups() const;

    /// The commands that were executed and are not in the history yet: how many there are, and the one that was executed
    /// last; empty if there is none. They wait to be merged, or are in an open group. An inner group that has ended is
    /// one of them. Cost: linear in the open groups.
    std::uint64_t getPendingCount() const;
    std::shared_ptr<const CommandBase> getNewestPendingCommand() const;

    // Undo and redo

    /// Undoes up to @p count commands, newest first. Each step emits sigCommandUndone, then
    /// sigCommandQueueChanged(CommandUndone). A command that is not redo-capable, or whose isRedoCapable()
    /// throws, empties the redo queue instead of moving there.
    /// @return false if a command threw; it stays on top of the undo queue. True if fewer were there.
    /// Guarantee: earlier steps stay undone.
    bool undo(std::uint64_t count);

    /// Redoes up to @p count commands, starting with the one undone most recently. Each step emits
    /// sigCommandExecuted, then sigCommandQueueChanged(CommandRedone).
    /// @return false if a command threw; it stays on top of the redo queue. True if fewer were there.
    /// Guarantee: earlier steps stay redone.
    bool redo(std::uint64_t count);

    /// Undo or redo all there is, up to the first command that throws. @throws VdException in an open group.
    void undoAll();
    void redoAll();

    /// Forgets what could be redone; told by sigHistoryChanged alone.
    void forgetRedoCommands();

    /// Forgets all commands, also those that wait to be merged, but not which modules are modified; then
    /// emits sigCommandQueueChanged(QueueCleared).
    void clear();

    /// Emits sigUndoRedoProcessCompleted, which the manager never does itself: at the end of a gesture, say.
    void emitSigUndoRedoProcessCompleted();

    // Ask

    /// Whether there is a command to undo, or to redo, and no group is open.
    bool canUndo() const;
    bool canRedo() const;

    /// The command that undo(1) or redo(1) would take; empty if there is none.
    std::shared_ptr<const CommandBase> getUndoCommand() const;
    std::shared_ptr<const CommandBase> getRedoCommand() const;

    /// The descriptions of what can be undone or redone, the next one first. Cost: linear in the queue.
    std::list<std::string> collectUndoCommandDescriptions() const;
    std::list<std::string> collectRedoCommandDescriptions() const;

    /// The number of commands in both queues, which are the history.
    std::uint64_t getQueueSize() const;

    /// How many commands of the history are done. Cost: constant.
    std::uint64_t getPosition() const;

    /// The command at a place of the history: 0 is the oldest, getPosition() the next to redo; empty past the
    /// end. Cost: constant.
    std::shared_ptr<const CommandBase> getCommand(std::uint64_t index) const;

    /// Whether a command is being executed, undone or redone, or a threaded command is running. Informational
    /// only: nothing is refused because of it, and a nested operation sets it to false.
    bool isProcessingCommand() const;

    /// Makes the manager's progress, which follows undo and redo, a child of @p progress; empty is ignored.
    void setProgress(std::shared_ptr<Progress> progress);

    // Limit

    /// Sets the limit on getQueueSize(), and applies it if the value changes and the limit is in use. It is
    /// also applied whenever a command is added, never by undo and redo. It drops the oldest commands of the
    /// undo queue, or both queues if the redo queue alone is longer than the limit. Emits nothing.
    void setMaxQueueSize(std::uint32_t size);
    std::uint32_t getMaxQueueSize() const;

    /// Switches the limit on or off (off at first), and applies it if the value changes.
    void setUsesMaxQueueSize(bool use);
    bool usesMaxQueueSize() const;

    // Signals: the slot is called until the connection is destroyed.

    /// After a command that addCommand() or a run has executed was queued, and after each redone one.
    [[nodiscard]] Signals::Connection connectToSigCommandExecuted(const Signals::Slot<void()>& slot);

    /// After a command has thrown: the exception's text and the command's description, valid during the call.
    [[nodiscard]] Signals::Connection
    connectToSigCommandFailed(const Signals::Slot<void(const char*, const std::string&)>& slot);

    /// After each change of the queues, except those by the limit and takeLastExecutedCommand().
    [[nodiscard]] Signals::Connection
    connectToSigCommandQueueChanged(const Signals::Slot<void(CommandManager::QueueChangeReason)>& slot);

    /// After each command that was undone.
    [[nodiscard]] Signals::Connection connectToSigCommandUndone(const Signals::Slot<void()>& slot);

    /// After a threaded command that was started on a worker has ended, successfully or not.
    [[nodiscard]] Signals::Connection connectToSigThreadedCommandFinished(const Signals::Slot<void()>& slot);

    /// After a threaded command was started on a worker.
    [[nodiscard]] Signals::Connection connectToSigThreadedCommandStarted(const Signals::Slot<void()>& slot);

    /// After each change of the history, whatever its cause, when all state is settled; before the other signals
    /// of the change. If a slot changes the history, all slots are told of this change first, then of that.
    [[nodiscard]] Signals::Connection
    connectToSigHistoryChanged(const Signals::Slot<void(const HistoryChange&)>& slot);

    /// After a group was opened, ended or abandoned: the last signal of that operation.
    [[nodiscard]] Signals::Connection connectToSigOpenGroupsChanged(const Signals::Slot<void()>& slot);

    /// After a command has become pending, or has taken in the next one as addOrMergeCommand() says: the first signal of
    /// that. Pending commands that become one, or leave, are told by sigOpenGroupsChanged and sigHistoryChanged.
    [[nodiscard]] Signals::Connection connectToSigCommandPending(const Signals::Slot<void()>& slot);

    /// When the application calls emitSigUndoRedoProcessCompleted().
    [[nodiscard]] Signals::Connection connectToSigUndoRedoProcessCompleted(const Signals::Slot<void()>& slot);

    // Merge and take

    /// Executes @p command now and merges it into the command that is queued next: they become one macro. The
    /// macro has the description of the next one, which is first in it; those that waited follow as executed.
    /// Until then undo() does not reach them, and clear() drops them. Pass @p useForwardUndoOrder, for one of
    /// them, if the next one must be undone first.
    /// @return false if the command threw or is empty.
    bool addCommandToMergeWithNextCommand(std::shared_ptr<CommandBase> command, bool useForwardUndoOrder);

    /// Executes @p command as addCommand() does. If then the newest command is a MergeableCommand that takes it
    /// in, the two are one entry, and @p command is let go. Not across a save point of any tracker, not if
    /// something could be redone, not while commands wait to be merged; in a group with its last command.
    /// Guarantee: if mergeWith() throws, @p command is queued. A standard exception is logged, any other passes.
    bool addOrMergeCommand(std::shared_ptr<CommandBase> command);

    /// Takes all commands out of the undo queue, oldest first, then does what clear() does.
    /// @return a macro without a description; empty, with nothing changed, if there is nothing to undo.
    /// Guarantee: if a slot throws, the commands are lost.
    std::shared_ptr<MacroCommand> takeExecutedCommands();

    /// Takes the newest command out of the undo queue, still executed. The redo queue stays. The modified set
    /// becomes the one recorded after the previous command; without one, the one recorded before the next
    /// command to redo, or else before the oldest command. Emits sigHistoryChanged only.
    /// @return the command; empty if there is nothing to undo.
    /// Guarantee: fails only while a group is open, or if a slot of sigHistoryChanged throws; the command is
    /// lost then. A listener there also costs memory, if the command modified modules.
    std::shared_ptr<CommandBase> takeLastExecutedCommand();

    // Modules

    /// Replaces what tells the manager about the application's modules. @pre not empty (not checked).
    void setModuleAccessInterface(std::shared_ptr<ModuleAccessInterface> moduleAccess);

    /// The modules that commands modified since the last save for @p tracker, and those that the module
    /// access interface reports now. After an undo back to the save a module is unmodified again. Exact while
    /// a queue holds a command, or after clear(). If both become empty otherwise, modules that differ from
    /// the save may be missing; see Docs/change-tracking.md.
    std::set<const Object*> getModifiedModules(std::uint64_t tracker) const;

    /// The same, and the modules that the module access interface wants in the next save.
    std::set<const Object*> getModifiedOrSaveOnNextSaveModules(std::uint64_t tracker) const;

    /// The modules that the command at that place of the history modified; empty past the end.
    std::set<const Object*> getModulesOfCommand(std::uint64_t index) const;

    /// Where in the history the last save for @p tracker lies. Empty if nothing was saved, or if undo and redo
    /// cannot lead back to it. That is also so while commands that came after the save wait to be merged, or are
    /// in an open group.
    std::optional<std::uint64_t> getSavedPosition(std::uint64_t tracker) const;

    /// Makes the present state the save point of @p tracker; call it after a save, and after loading. What the
    /// module access interface reports stays modified as long as it reports it. Cost: linear in both queues.
    void adjustOnSave(std::uint64_t tracker);

    /// Treats all modules as modified before the oldest command, and forgets the save points, for all trackers:
    /// for data that must be saved as they were loaded. @pre both queues are empty (not checked).
    void markAllModulesBeforeFirstCommandAsModified();

    // Threaded commands: one at a time, in the worker slot. Its states, and how to learn of a run's end, are in
    // Docs/threading.md. These operations throw nothing derived from `std::exception`, unless an abortRun()
    // does, or addThreadedCommand() is refused because a group is open.

    /// Puts @p command into the worker slot and runs it. Ignores an empty pointer. Worker mode: emits
    /// sigThreadedCommandStarted and returns; finalizeThread() must follow. Synchronous mode: runs the
    /// command to its end and queues it as addCommand() does. A failed start does not emit
    /// sigThreadedCommandFinished.
    /// @pre getCurrentThreadedCommand() is empty; Docs/threading.md says what happens if it is not.
    /// Guarantee: as addCommand().
    void addThreadedCommand(std::shared_ptr<ThreadedCommand> command);

    /// The same for a macro, which runs up to its first thread on a worker; finalizeThread() must follow for
    /// each of its threads. A macro without threads is queued, followed in worker mode by
    /// sigThreadedCommandFinished.
    /// Guarantee: if a sub-command fails, ThreadedMacroCommand::abortExecution() rolls the macro back, and in
    /// worker mode sigThreadedCommandFinished is emitted.
    void addThreadedCommand(std::shared_ptr<ThreadedMacroCommand> command);

    /// Finalizes the running thread; waits for its end if it is still running. A macro then runs up to its
    /// next thread. A command that has ended leaves the worker slot and is queued, with sigCommandExecuted,
    /// unless it was aborted or is not addable; then sigThreadedCommandFinished is emitted. Does nothing if
    /// the worker slot is empty and no thread is running, or if a step of the run calls it.
    /// Guarantee: as for addThreadedCommand(); a command that failed is not queued.
    void finalizeThread();

    /// Asks the running thread to stop; finalizeThread() must still follow. Does nothing if none is running.
    /// In a nested macro it ends that macro only; see Docs/threading.md. @throws what abortRun() throws.
    void abortThreadedCommand();

    /// The command in the worker slot; empty if none is running.
    std::shared_ptr<CommandBase> getCurrentThreadedCommand() const;

    /// What runs the threads and tells when a run has ended. Shared, but not during the destructor.
    std::shared_ptr<ThreadManager> getThreadManager() const;

private:
    class VALDANE_COMMANDPATTERN_NO_EXPORT Private;

    std::unique_ptr<Private> d;
};

} // namespace Valdane

#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Slot.h"
#include "Service/CommandPattern/CommandPatternExport.h"

#include <cstdint>
#include <list>
#include <memory>
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

/// Runs commands, keeps them for undo and redo, and tells listeners what happened.
///
/// An executed command goes on top of the undo queue, an undone one from there on top of the redo queue, and
/// executing another command forgets what could be redone:
///
///     CommandManager manager;
///     manager.addCommand(std::make_shared<SetNameCmd>(pump, "P-101", "Rename pump"));
///     manager.undo(1);
///     manager.redo(1);
///
/// Failures. What a command throws is caught if it is derived from `std::exception`: the manager writes one
/// error line, emits sigCommandFailed, and the operation answers false; the queues are then as before the
/// command that failed. Everything else passes through to the caller: exceptions of other types, and whatever
/// slots and the module access interface throw, by then with the entry where it belongs; what would have come
/// after the throw (the limit, further signals) is left out. However an operation that runs a command ends,
/// isProcessingCommand() is false after it; but a threaded command may be under way then, and
/// addCommandToMergeWithNextCommand() leaves it as it was.
///
/// What a failure leaves, whoever fails, allocations included: an operation that throws or answers false has
/// changed nothing; where it is a slot that throws, or the module access interface when it is told to forget,
/// all up to there is done. These may leave more:
/// - addCommand(): the command done, but not queued, and what could be redone forgotten.
/// - addExecutedCommand(): what could be redone forgotten.
/// - addCommandToMergeWithNextCommand(): the command done, but not kept.
/// - undo(), undoAll(): the steps that went well; the command undone but still on top, where its trace line
///   fails after it; the command in no queue and nothing to redo, where its isRedoCapable() throws.
/// - redo(), redoAll(): the steps that went well; the command redone but still on top.
/// - takeExecutedCommands(): the commands in no queue, where a slot throws.
/// - addThreadedCommand(), finalizeThread(): what the run has done and nobody has wound up, not queued, and
///   what could be redone forgotten.
///
/// takeLastExecutedCommand(), the operations on the limit, and all that asks nobody, keeps nothing and gives
/// no text, set or connection never fail.
///
/// Threaded commands. One at a time can be under way, in the worker slot:
///
/// | operation                   | slot empty                       | command under way                   |
/// |-----------------------------|----------------------------------|-------------------------------------|
/// | addThreadedCommand()        | starts; worker mode: under way   | not meant; see there                |
/// | finalizeThread()            | does nothing                     | concludes a thread; the last: empty |
/// | abortThreadedCommand()      | does nothing                     | the run is asked to stop            |
/// | getCurrentThreadedCommand() | empty                            | the command                         |
/// | isProcessingCommand()       | false, unless a command executes | true                                |
///
/// Everything else works as ever meanwhile; it is for the application to keep its users from editing what the
/// run works on.
///
/// Signals are emitted on the calling thread when all state is settled, so a slot may call any operation of
/// the manager; so may a command's destructor, when an operation drops the command. Destroy the manager only
/// when none of its operations is under way; commands that die with it must not call it any more.
///
/// Ownership: shares the commands with its callers. Commands that only the queues hold die with their entry.
/// Thread: one thread, by custom the application's main thread. No locks.
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

    /// The number of change trackers: independent save points, such as one for saving and one for exporting.
    /// The operations that take a tracker want a number below it (not checked).
    static constexpr std::uint64_t ChangeTrackerCount = 2;

    /// Empty queues; a limit of 25 commands that is not in use.
    CommandManager();
    CommandManager(const CommandManager&) = delete;
    CommandManager& operator=(const CommandManager&) = delete;
    ~CommandManager();

    /// Executes @p command and, if it succeeds, puts it on the undo queue as addExecutedCommand() does.
    ///
    /// Resets the command's progress before and completes it after execution. Emits sigCommandQueueChanged
    /// (CommandAdded), then sigCommandExecuted.
    ///
    /// @return true if it was executed; false if it threw, or if @p command is empty.
    bool addCommand(std::shared_ptr<CommandBase> command);

    /// Puts @p command, which its caller has executed already, on top of the undo queue; empty is ignored.
    ///
    /// Forgets what could be redone, folds in what waits for it (addCommandToMergeWithNextCommand()), notes
    /// the modules that the application reports as modified, applies the limit, then emits
    /// sigCommandQueueChanged(CommandAdded).
    ///
    /// @throws what the module access interface throws: before the command is queued when it tells the
    ///         modules (nothing but what could be redone is lost then), after that when it is told to forget
    ///         them.
    void addExecutedCommand(std::shared_ptr<CommandBase> command);

    /// Executes @p command now and folds it into the command that is queued next.
    ///
    /// The two become one entry: a macro with the description of the command queued next, which stands first
    /// in it, followed by those that were waiting in the order of their execution. Until then @p command is
    /// in no queue, cannot be undone, and clear() forgets it. Emits nothing but sigCommandFailed.
    ///
    /// The command queued next, although executed last, is thus undone after those merged into it, unless the
    /// macro has the forward undo order; where it builds on what they did, pass true.
    ///
    /// @param command              not executed yet.
    /// @param useForwardUndoOrder  true to have that macro undone first to last: one true is enough for it.
    /// @return true if it was executed; false if it threw, or if @p command is empty.
    bool addCommandToMergeWithNextCommand(std::shared_ptr<CommandBase> command, bool useForwardUndoOrder);

    /// Takes all commands out of the undo queue as one macro, oldest first, then does what clear() does.
    ///
    /// @return the macro, without a description; empty, with nothing changed, if there is nothing to undo.
    /// @throws as clear(); when it is a slot that throws, the commands have left the queues and are lost.
    std::shared_ptr<MacroCommand> takeExecutedCommands();

    /// Takes the newest command out of the undo queue. Emits nothing.
    ///
    /// What counts as modified is then what did after the command below it; without one, what did before the
    /// next command to redo, where the commands that were taken still count; and without that either, what
    /// did before the oldest command.
    ///
    /// @return the command; empty if there is nothing to undo.
    std::shared_ptr<CommandBase> takeLastExecutedCommand();

    /// Undoes up to @p count commands, newest first. Each one undone emits sigCommandUndone, then
    /// sigCommandQueueChanged(CommandUndone).
    ///
    /// A command that is not redo-capable empties the redo queue instead of moving there; so does one whose
    /// isRedoCapable() throws, which passes through to the caller whatever its type is.
    ///
    /// @return false if a command threw: it stays on top of the undo queue, the ones before it stay undone.
    ///         True otherwise, also if there were fewer than @p count commands.
    bool undo(std::uint64_t count);

    /// Redoes up to @p count commands, the one undone last first. Each one redone emits sigCommandExecuted,
    /// then sigCommandQueueChanged(CommandRedone).
    ///
    /// @return false if a command threw: it stays on top of the redo queue, the ones before it stay redone.
    ///         True otherwise, also if there were fewer than @p count commands.
    bool redo(std::uint64_t count);

    /// Undoes everything, or up to the first command that throws. Never ends if each undo makes a command or
    /// a slot execute another one.
    void undoAll();

    /// Redoes everything, or up to the first command that throws.
    void redoAll();

    /// Whether there is a command to undo, or to redo.
    bool canUndo() const;
    bool canRedo() const;

    /// The command that undo(1) would undo; empty if there is none.
    std::shared_ptr<const CommandBase> getUndoCommand() const;

    /// The command that redo(1) would redo; empty if there is none.
    std::shared_ptr<const CommandBase> getRedoCommand() const;

    /// The descriptions of what can be undone, next one first. Cost: linear in the queue.
    std::list<std::string> collectUndoCommandDescriptions() const;

    /// The descriptions of what can be redone, next one first. Cost: linear in the queue.
    std::list<std::string> collectRedoCommandDescriptions() const;

    /// Forgets all commands of both queues and those that wait to be merged, but not which modules are
    /// modified; then emits sigCommandQueueChanged(QueueCleared), in any case.
    ///
    /// @throws what the module access interface throws, which is asked first; nothing has changed then.
    void clear();

    /// The number of commands in both queues.
    std::uint64_t getQueueSize() const;

    /// The limit on getQueueSize(), whether it is in use or not.
    std::uint32_t getMaxQueueSize() const;

    /// Sets the limit and, if that is a change and the limit is in use, applies it at once.
    ///
    /// Applying it drops the oldest commands of the undo queue, and both queues whole where the redo queue
    /// alone is longer than the limit. Nothing is emitted. The limit is applied here, in
    /// setUsesMaxQueueSize() and whenever a command is added; undo and redo never drop anything. Where it
    /// leaves no command in either queue, as a limit of 0 does, not all that they modified counts as modified
    /// any more.
    void setMaxQueueSize(std::uint32_t size);

    /// Whether the limit is in use; false at first.
    bool usesMaxQueueSize() const;

    /// Switches the limit on or off; if that is a change and the limit is on now, applies it at once.
    void setUsesMaxQueueSize(bool use);

    /// Whether the manager is running a command's execute, undo or redo just now, or has a threaded command
    /// under way. It only tells: no operation is refused because of it, and one that ends inside another's
    /// command, or while a threaded one is under way, leaves it false.
    bool isProcessingCommand() const;

    /// Hangs the manager's progress, which follows each command that is undone or redone, under @p progress,
    /// an application's progress bar for instance; empty is ignored. Nothing is owned either way.
    void setProgress(std::shared_ptr<Progress> progress);

    /// Installs what tells the manager about the application's modules, in place of the previous one.
    ///
    /// @pre not empty (not checked). @throws std::bad_alloc, the previous one then staying.
    void setModuleAccessInterface(std::shared_ptr<ModuleAccessInterface> moduleAccess);

    /// The modules that differ from what was saved last for @p tracker: those that the commands between that
    /// save and now modified, and those that the module access interface reports now.
    ///
    /// Undoing back to the save point makes a module unmodified again. Cost: linear in the result.
    std::set<const Object*> getModifiedModules(std::uint64_t tracker) const;

    /// The same and those that the module access interface wants in the next save.
    std::set<const Object*> getModifiedOrSaveOnNextSaveModules(std::uint64_t tracker) const;

    /// Tells that the application has saved: what is now is the save point of @p tracker. The other tracker
    /// is not affected. What the module access interface itself reports as modified is not either: it counts
    /// until the application resets its marks. Cost: linear in both queues.
    void adjustOnSave(std::uint64_t tracker);

    /// Has all modules of the application count as modified, for all trackers, in the state before the oldest
    /// command: for data that were loaded in a state that must be saved.
    ///
    /// To be called while both queues are empty: commands that are in them keep what they remember, so that
    /// undoing them all does not lead to that state.
    ///
    /// @throws what the module access interface throws; nothing has changed then.
    void markAllModulesBeforeFirstCommandAsModified();

    /// Puts @p command into the worker slot and starts its run; empty is ignored.
    ///
    /// Worker mode: emits sigThreadedCommandStarted and returns; finalizeThread() must follow when the run
    /// has ended. Synchronous mode (ThreadManager::getThreadingMode() is 0): runs the command to its end,
    /// queues it as addExecutedCommand() does, and emits sigCommandExecuted.
    ///
    /// Failures of the run's start, of a synchronous run, of the module access interface and of slots are
    /// reported as those of addCommand() are; the worker slot is empty then. Nothing derived from
    /// `std::exception` gets out: sigCommandFailed is emitted even if the error line cannot be written (with
    /// an empty description if that cannot be copied). A run that was started before a slot of
    /// sigThreadedCommandStarted failed goes on, and the next finalizeThread() concludes it.
    ///
    /// @pre nothing is under way: ask getCurrentThreadedCommand() first. If something is, @p command takes
    ///      its place in the slot and fails to start, and the one under way is concluded by the next
    ///      finalizeThread() but never queued, nor does anything tell of its end but its own run-finished
    ///      signal.
    void addThreadedCommand(std::shared_ptr<ThreadedCommand> command);

    /// Puts @p command into the worker slot and runs it up to its first thread; empty is ignored.
    ///
    /// In worker mode emits sigThreadedCommandStarted. If the macro is over already, because it has no thread
    /// or its threads ran synchronously, it is queued, and sigCommandExecuted and in worker mode
    /// sigThreadedCommandFinished are emitted; else finalizeThread() must follow for each of its threads.
    ///
    /// What its sub-commands throw is reported as in the other overload, after the macro has been wound up by
    /// ThreadedMacroCommand::abortExecution(); in worker mode sigThreadedCommandFinished follows. What a slot
    /// of sigThreadedCommandStarted throws is written to the log, and the run goes on.
    ///
    /// @pre as for the other overload.
    void addThreadedCommand(std::shared_ptr<ThreadedMacroCommand> command);

    /// Concludes the thread under way, waiting for its end if it has not come yet; without one does nothing,
    /// nor where the run itself calls it: from a slot of its run-finished signal, say, or from a sub-command.
    ///
    /// To be called on the caller's thread when a thread has ended. Three ways to learn of that:
    ///
    ///     // An event loop: the callback comes on the worker, so post from it.
    ///     const auto finalize = [&] { if (threads->isRunEnded()) manager.finalizeThread(); };
    ///     threads->setRunEndedCallback([&] { loop.post(finalize); });
    ///     // Polling, in an idle handler:
    ///     if (threads->isRunEnded()) manager.finalizeThread();
    ///     // Waiting, with a progress bar to be drawn meanwhile:
    ///     while (!threads->waitForRunEnd(100ms)) { draw(bar); }
    ///     manager.finalizeThread();
    ///
    /// A ThreadedMacroCommand then goes on to its next thread, or ends; one whose thread could not be
    /// started, and was passed over, has nothing under way and is finalized at once. What has ended leaves
    /// the worker slot, and, unless it was aborted or is not ThreadedCommand::isAddableToCommandManager(), is
    /// queued as addExecutedCommand() does; sigCommandExecuted and, in any case, sigThreadedCommandFinished
    /// are emitted.
    ///
    /// Failures, of the run too, are reported as those of addCommand() are; a ThreadedCommand is told by
    /// sendFinishSignal(false), a ThreadedMacroCommand whose run failed is wound up; the worker slot is empty
    /// then, nothing is queued that was not, and sigThreadedCommandFinished comes last. Nothing derived from
    /// `std::exception` gets out.
    void finalizeThread();

    /// Asks the thread under way to stop; finalizeThread() still has to follow. Nothing is under way: does
    /// nothing.
    ///
    /// A thread of a nested macro: that macro only is wound up, and the outer one goes on behind it. If no
    /// other thread follows, it ends with true, is not queued, and what it has done stays. To stop everything,
    /// abort and finalize until getCurrentThreadedCommand() is empty; where an abort must take everything
    /// back, use no nested macro.
    ///
    /// @throws what the thread's `abortRun()` throws.
    void abortThreadedCommand();

    /// The command in the worker slot; empty if none is under way.
    std::shared_ptr<CommandBase> getCurrentThreadedCommand() const;

    /// The manager's thread manager, by which an application chooses the threading mode and learns that a run
    /// has ended. Shared with the caller; held longer than the manager, it lets a run under way come to its
    /// end.
    std::shared_ptr<ThreadManager> getThreadManager() const;

    /// After a command that the manager executed was queued, and after each one that was redone; not after
    /// addExecutedCommand() and addCommandToMergeWithNextCommand().
    [[nodiscard]] Signals::Connection connectToSigCommandExecuted(const Signals::Slot<void()>& slot);

    /// When a command has thrown: with the exception's `what()` and the command's description. Both texts
    /// hold during the call only.
    [[nodiscard]] Signals::Connection
    connectToSigCommandFailed(const Signals::Slot<void(const char*, const std::string&)>& slot);

    /// After each change of the queues, except those that the limit and takeLastExecutedCommand() make.
    [[nodiscard]] Signals::Connection
    connectToSigCommandQueueChanged(const Signals::Slot<void(CommandManager::QueueChangeReason)>& slot);

    /// After each command that was undone.
    [[nodiscard]] Signals::Connection connectToSigCommandUndone(const Signals::Slot<void()>& slot);

    /// When a threaded command has ended that was started on a worker, whether it succeeded or not.
    [[nodiscard]] Signals::Connection connectToSigThreadedCommandFinished(const Signals::Slot<void()>& slot);

    /// When a threaded command has been started in worker mode.
    [[nodiscard]] Signals::Connection connectToSigThreadedCommandStarted(const Signals::Slot<void()>& slot);

    /// When the application says so by emitSigUndoRedoProcessCompleted().
    [[nodiscard]] Signals::Connection connectToSigUndoRedoProcessCompleted(const Signals::Slot<void()>& slot);

    /// To be called when a whole gesture of undos or redos is over, so that listeners can do once what they
    /// need not do at every step. The manager never emits this signal itself.
    void emitSigUndoRedoProcessCompleted();

private:
    class VALDANE_COMMANDPATTERN_NO_EXPORT Private;

    std::unique_ptr<Private> d;
};

} // namespace Valdane

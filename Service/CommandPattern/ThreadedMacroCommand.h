#pragma once

#include "Platform/Signals/Signal.h"
#include "Platform/Signals/Slot.h"
#include "Service/CommandPattern/CommandPatternExport.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <cstdint>
#include <memory>
#include <source_location>
#include <string>

namespace Valdane
{

class Thread;
class ThreadManager;

/// A macro that runs its threads on a worker, one after another, and everything else between them on the
/// caller's thread.
///
/// Hand it to CommandManager::addThreadedCommand(), and call CommandManager::finalizeThread() each time a
/// thread has ended, until the worker slot is empty. The macro is idle or running:
///
/// | operation           | idle                     | running: a sub-command is the current one          |
/// |---------------------|--------------------------|----------------------------------------------------|
/// | startExecution()    | runs, up to a thread     | not allowed (not checked)                          |
/// | continueExecution() | emits run-finished(true) | finalizes the thread, then runs up to the next one |
/// | abortExecution()    | undoes everything        | undoes what was done, goes back to the beginning   |
///
/// A sub-command is a thread if it is derived from Thread, as a ThreadedCommand is. A nested
/// ThreadedMacroCommand is stepped in the same way. Unlike a MacroCommand, this calls neither
/// prepareExecute() nor finalizeExecute(), and neither resets nor completes a sub-command's progress.
///
/// Failures: a sub-command that fails writes one error line; a nested macro has written its own. The
/// exception ends the run and passes to the caller, unless setContinueOnException(true) has the failure
/// skipped and counted. After setFailCountToThrow(N) the N-th failure ends the run even so. CommandManager
/// rolls a failed run back with abortExecution(); execute() does not: in CommandManager::addCommand(), or as
/// part of a plain macro, sub-commands before the failure stay executed. A failed sub-command that was
/// skipped stays in the macro, whose undo() undoes it with the others. Docs/failures.md says what a failure
/// in a nested macro leaves.
///
/// Aborting: after CommandManager::abortThreadedCommand() the next finalizeThread() undoes the aborted
/// thread, then the sub-commands before it. Docs/threading.md says what an abort in a nested macro does.
///
/// Neither copied nor moved. The preconditions of MacroCommand apply. In addition, no sub-command is added or
/// removed while the macro is running. After an abort it counts as running until the next startExecution().
///
/// Ownership: as MacroCommand.
/// Thread: the caller's; only the threads' own work is on the worker.
/// Cost: no stack per sub-command. Each level of nested macros takes some 300 bytes of stack, and 600 in
/// execute() (g++ 12, -O2, x86-64).
class VALDANE_COMMANDPATTERN_EXPORT ThreadedMacroCommand : public MacroCommand
{
public:
    /// A macro whose first failure ends the run. @param description as in CommandBase.
    explicit ThreadedMacroCommand(const std::string& description);

    /// @param description          as in CommandBase.
    /// @param continueOnException  see setContinueOnException().
    ThreadedMacroCommand(const std::string& description, bool continueOnException);
    ~ThreadedMacroCommand() override;

    /// Runs all sub-commands on the calling thread, threads too, by their execute().
    void execute() override;

    /// Begins a run: sets the count of failures to 0, lays out the progress and runs the sub-commands up to
    /// the first thread that is started on a worker.
    ///
    /// @param threadManager  what runs the threads; if empty, everything is executed on the calling thread.
    /// @return true if the run has ended; false if continueExecution() must be called when the thread has
    ///         ended. Also false if a thread could not be started and that failure was skipped: the thread
    ///         manager is idle then, and continueExecution() may be called at once.
    /// @throws the exception that ended the run.
    virtual bool startExecution(std::shared_ptr<ThreadManager> threadManager);

    /// Finalizes the running thread, waiting for its end if need be, and continues as startExecution() does.
    ///
    /// @param threadManager  the one that was given to startExecution().
    /// @return as startExecution(); true also after an abort.
    /// @throws the exception that ended the run; a VdException without a text if a thread's exception has
    ///         reached the limit of failures.
    virtual bool continueExecution(std::shared_ptr<ThreadManager> threadManager);

    /// Rolls a run back: undoes the sub-commands before the current one, newest first, without trace lines,
    /// goes back to the first one, emits the run-finished signal with false, and completes the progress.
    ///
    /// The current sub-command is not undone. After a run that has ended there is none, and everything is
    /// undone.
    /// @throws what an undo() throws; that sub-command counts as undone, and a second call does the rest.
    void abortExecution();

    /// Connects @p slot to the end of the next run; see ThreadedCommand::connectToRunFinishedSignal().
    /// @throws std::bad_alloc, with nothing changed.
    void connectToRunFinishedSignal(const Signals::Slot<void(bool, const CommandBase*)>& slot);

    /// Whether the failure of a sub-command is skipped; false at first.
    bool continueOnException() const;
    void setContinueOnException(bool continues);

    /// Has the @p count -th failure of a run end it, in spite of setContinueOnException(true). 0 means 1. Any
    /// negative number is no limit; -1 at first. Failures that were counted stay counted.
    void setFailCountToThrow(int count);
    int getFailCountToThrow() const;

protected:
    /// Described as "MacroCommand".
    ThreadedMacroCommand();

    /// Runs @p subCommand, which must be the current one. Unless that is a thread that was started on a
    /// worker, also runs what follows, up to the next such thread. Returns and throws as continueExecution().
    bool executeSubCommand(std::shared_ptr<CommandBase> subCommand,
                           std::shared_ptr<ThreadManager> threadManager);

    /// Finalizes the thread of @p subCommand; does nothing if it is none or ran synchronously.
    ///
    /// @return false if it was aborted; it is undone then, and the run rolled back.
    /// @throws as continueExecution()
    bool finalizeSubCommand(std::shared_ptr<CommandBase> subCommand,
                            std::shared_ptr<ThreadManager> threadManager);

    /// Emits the run-finished signal, once.
    void sendFinishSignal(bool ok);

    /// Whether the failures counted in this run are below the limit.
    bool checkFailCount() const;

    /// Whether there is a current sub-command; true also after an abort.
    virtual bool isRunning() const;

    /// Makes the first sub-command the current one, and sets the count of failures to 0.
    void rewind();

private:
    /// What follows a sub-command.
    enum class Next
    {
        SubCommand, ///< the current sub-command can be executed
        End,        ///< the run has ended
        Wait        ///< a thread must end first
    };

    bool startSubCommand(const std::shared_ptr<CommandBase>& subCommand,
                         const std::shared_ptr<ThreadManager>& threadManager,
                         const std::source_location& place);
    bool startThread(std::shared_ptr<Thread> thread, CommandBase& subCommand, ThreadManager& threadManager,
                     const std::source_location& place);
    bool startNested(ThreadedMacroCommand& nested, const std::shared_ptr<ThreadManager>& threadManager);
    void executeOnThisThread(CommandBase& subCommand, const std::source_location& place);
    Next goToNext(const std::shared_ptr<ThreadManager>& threadManager);
    void finish();

    /// Called while a failure that was thrown on this thread is handled: counts it, or rethrows it if it ends
    /// the run. finalizeSubCommand() does the same for a failure on the worker, but throws another exception
    /// at the limit.
    void skipOrRethrow();

    CommandList::const_iterator valdaneCurrentSubCommand;
    std::unique_ptr<Signals::Signal<void(bool, const CommandBase*)>> valdaneRunFinishedSignal;
    bool valdaneContinuesOnException = false;
    std::uint64_t valdaneFailCount = 0;
    std::int32_t valdaneFailCountToThrow = -1;
};

} // namespace Valdane

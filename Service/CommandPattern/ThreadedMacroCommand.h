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

/// A macro that runs step by step: its threads on a worker, one after another, everything else between them
/// on the caller's thread.
///
/// Hand it to CommandManager::addThreadedCommand(), and call CommandManager::finalizeThread() each time a
/// thread has ended, until the manager is no longer processing the command:
///
/// | operation           | idle                      | running: a sub-command is under way              |
/// |---------------------|---------------------------|--------------------------------------------------|
/// | startExecution()    | runs, up to a thread      | not allowed (not checked)                        |
/// | continueExecution() | tells that the run is over| concludes the thread, then runs up to the next   |
/// | abortExecution()    | see there                 | undoes what is done, stands at the beginning     |
///
/// A sub-command is a thread if it is derived from Thread (a ThreadedCommand, for instance). A sub-command
/// that is a ThreadedMacroCommand itself is stepped in the same way. Unlike in a MacroCommand,
/// prepareExecute() and finalizeExecute() are not called, and the progress of a sub-command is neither reset
/// nor completed.
///
/// Failures. A failing sub-command writes one error line (a nested macro has written its own). The exception
/// then ends the run and goes on to the caller, unless setContinueOnException() has it passed over and
/// counted; the N-th failure ends the run all the same after setFailCountToThrow(N). What ended a run is
/// rolled back by abortExecution(), which CommandManager calls; execute() does not, so that in addCommand(),
/// or as part of a plain macro, sub-commands that were executed before the failure stay executed. So do those
/// of a nested macro that fails once a thread of it was started on the worker: only the outer macro is wound
/// up. A failure that is passed over leaves the sub-command in the macro, whose undo() will undo it with the
/// others.
///
/// Aborting. After CommandManager::abortThreadedCommand() the next finalizeThread() undoes the thread that
/// was aborted, then the sub-commands before it. An abort within a nested macro winds up that macro only, and
/// the outer one goes on behind it. A nested macro whose failure was passed over was wound up, too, and goes
/// on behind its first sub-command.
///
/// Neither copied nor moved. In addition to what MacroCommand asks: no sub-command is added or removed while
/// a run is under way, or between an abort and the next startExecution() if anything but that is called.
///
/// Ownership: as MacroCommand. Thread: the caller's; only the threads' own work is on the worker.
/// Cost: no stack per sub-command, whatever the sub-commands are; nested macros take some for each level.
class VALDANE_COMMANDPATTERN_EXPORT ThreadedMacroCommand : public MacroCommand
{
public:
    /// A macro whose first failure ends the run. @param description  as in CommandBase.
    explicit ThreadedMacroCommand(const std::string& description);

    /// @param description          as in CommandBase.
    /// @param continueOnException  see setContinueOnException().
    ThreadedMacroCommand(const std::string& description, bool continueOnException);
    ~ThreadedMacroCommand() override;

    /// Runs all sub-commands on the calling thread, threads too, by their execute().
    void execute() override;

    /// Begins a run: forgets the count of failures, lays out the progress and runs the sub-commands up to the
    /// first thread that is started on a worker.
    ///
    /// @param threadManager  what runs the threads; if empty, everything is executed on the calling thread.
    /// @return true if the run is over; false if continueExecution() must be called when the thread has
    ///         ended. False, too, if a thread could not be started and that was passed over: the thread
    ///         manager is idle then, and continueExecution() may be called at once.
    /// @throws what ended the run; see above.
    virtual bool startExecution(std::shared_ptr<ThreadManager> threadManager);

    /// Concludes the thread under way, waiting for its end if need be, and goes on as startExecution() does.
    /// Only callers from outside reach this; the run itself does not come back to it between sub-commands.
    ///
    /// @param threadManager  the one that was given to startExecution().
    /// @return as startExecution(); true also after an abort.
    /// @throws what ended the run; see above. A VdException without a text if it is the limit of failures
    ///         that a thread's exception has reached.
    virtual bool continueExecution(std::shared_ptr<ThreadManager> threadManager);

    /// Winds a run up: undoes the sub-commands before the current one, newest first, without trace lines,
    /// stands at the first one, tells those who wait for the end (false), and completes the progress.
    ///
    /// The current sub-command is not undone. When idle after a run that came to its end, everything is
    /// undone.
    /// @throws what an undo() throws; that sub-command counts as undone, and a second call does the rest.
    void abortExecution();

    /// Has @p slot told of the end of the next run, once; see ThreadedCommand::connectToRunFinishedSignal().
    /// @throws std::bad_alloc, nobody being connected then.
    void connectToRunFinishedSignal(const Signals::Slot<void(bool, const CommandBase*)>& slot);

    /// Whether a failing sub-command is passed over; false at first.
    bool continueOnException() const;
    void setContinueOnException(bool continues);

    /// Has the @p count -th failure of a run end it, in spite of setContinueOnException(true). 0 is as 1. Any
    /// negative number is no limit; -1 at first. The failures counted so far stay.
    void setFailCountToThrow(int count);

protected:
    /// Described as "MacroCommand".
    ThreadedMacroCommand();

    /// Runs @p subCommand, which must be the current one, and, unless it is a thread that has been started on
    /// a worker, all that follows up to the next such thread. Returns and throws as continueExecution().
    bool executeSubCommand(std::shared_ptr<CommandBase> subCommand,
                           std::shared_ptr<ThreadManager> threadManager);

    /// Concludes the thread of @p subCommand; nothing to do if it is none or ran synchronously.
    ///
    /// @return false if it was aborted; it is undone then, and the run wound up.
    /// @throws as continueExecution()
    bool finalizeSubCommand(std::shared_ptr<CommandBase> subCommand,
                            std::shared_ptr<ThreadManager> threadManager);

    /// Tells those who wait for the end of the run, and forgets them.
    void sendFinishSignal(bool ok);

    /// Whether the failures counted in this run are below the limit.
    bool checkFailCount() const;

    /// Whether there is a current sub-command; so it is after an abort, too.
    virtual bool isRunning() const;

    /// Makes the first sub-command the current one, and forgets the count of failures.
    void rewind();

private:
    enum class Step
    {
        GoesOn,    ///< the current sub-command can be executed
        IsOver,    ///< the run is over
        IsUnderWay ///< a thread must end first
    };

    bool startSubCommand(const std::shared_ptr<CommandBase>& subCommand,
                         const std::shared_ptr<ThreadManager>& threadManager,
                         const std::source_location& place);
    bool startThread(std::shared_ptr<Thread> thread, CommandBase& subCommand, ThreadManager& threadManager,
                     const std::source_location& place);
    bool startNested(ThreadedMacroCommand& nested, const std::shared_ptr<ThreadManager>& threadManager);
    void executeOnThisThread(CommandBase& subCommand, const std::source_location& place);
    Step goToNext(const std::shared_ptr<ThreadManager>& threadManager);
    void finish();
    void passOver();

    CommandList::const_iterator valdaneCurrentSubCommand;
    std::unique_ptr<Signals::Signal<void(bool, const CommandBase*)>> valdaneRunFinishedSignal;
    bool valdaneContinuesOnException = false;
    std::uint64_t valdaneFailCount = 0;
    std::int32_t valdaneFailCountToThrow = -1;
};

} // namespace Valdane

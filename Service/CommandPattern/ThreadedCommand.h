#pragma once

#include "Platform/Multitasking/Thread.h"
#include "Platform/Signals/Signal.h"
#include "Platform/Signals/Slot.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandPatternExport.h"

#include <memory>
#include <string>

namespace Valdane
{

/// A command whose work is a thread's run, so that the caller's thread need not wait for it.
///
/// Derive from it, implement run() (the work), finishRun() (its last step on the worker) and undo(), and pass
/// the command to CommandManager::addThreadedCommand(). In CommandManager::addCommand() and in a plain
/// MacroCommand it runs on the caller's thread like any other command.
///
/// Result. run() and finishRun() should use data of the command's own only. Hand the result over to the
/// application's data in an overridden sendFinishSignal(true), which runs on the caller's thread before the
/// command is queued. Override execute() to do the same after ThreadedCommand::execute(), which sends no
/// finish signal.
///
/// Abort. In worker mode the manager does not queue an aborted command, and nobody calls its undo(). An abort
/// counts until CommandManager::finalizeThread(), so it may come after the run has ended; sendFinishSignal() is
/// told false then. finishRun() is also called after an aborted run(). In synchronous mode a run can only abort
/// itself. sendFinishSignal() is told false, too, but the manager queues the command all the same.
///
/// In a ThreadedMacroCommand, undo() is also called for a thread that was aborted or whose failure was
/// skipped. So undo() must know whether there is something to undo.
///
/// redo() is execute() unless overridden: a whole run on the caller's thread. Neither resets isAborted().
///
/// Neither copied nor moved: a run refers to its object.
///
/// Ownership: held by `std::shared_ptr`; the thread manager keeps it alive until the run is finalized.
/// Thread: prepareRun(), run() and finishRun() on a worker thread; on the caller's in synchronous mode and
/// through execute(). All other operations but isAborted() on the caller's thread. Drive the command's
/// progress from the run only.
class VALDANE_COMMANDPATTERN_EXPORT ThreadedCommand : public CommandBase, public Thread
{
public:
    /// @param description  what users read, and the name of the thread. @throws std::bad_alloc
    explicit ThreadedCommand(const std::string& description);
    ~ThreadedCommand() override;

    /// Runs prepareRun(), run(), finishRun() on the calling thread. Sends no finish signal.
    /// @throws what they throw.
    void execute() override;

    /// Whether CommandManager::addThreadedCommand() and finalizeThread() keep the command for undo; true,
    /// unless overridden. Asked after each run that succeeded.
    virtual bool isAddableToCommandManager() const;

    /// Calls @p slot at the end of the next run, with this command: with true, or with false if the run was
    /// aborted or failed. A thread of a ThreadedMacroCommand that fails on the worker tells nobody; the slot
    /// then waits for the next run. The slot is called once. A later run needs another connection, which the
    /// slot itself may make.
    ///
    /// The slot runs on the thread that calls sendFinishSignal(): with this project's thread manager the
    /// caller's thread. @throws std::bad_alloc; nobody is connected then.
    void connectToRunFinishedSignal(const Signals::Slot<void(bool, const CommandBase*)>& slot);

    /// Calls the slots that wait for the end of the run, and disconnects them. The thread manager and
    /// CommandManager::finalizeThread() call this. A second call tells nobody.
    ///
    /// @param ok  true if the run came to its end and was not aborted. False follows true if a slot throws;
    ///            not in a macro, and not in synchronous mode.
    /// @throws what a slot throws; the slots after it are not called then.
    void sendFinishSignal(bool ok) override;

protected:
    /// No description, a thread without a name.
    ThreadedCommand();

private:
    std::unique_ptr<Signals::Signal<void(bool, const CommandBase*)>> valdaneRunFinishedSignal;
};

} // namespace Valdane

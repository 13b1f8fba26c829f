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

/// A command whose work is a thread's run, so that it need not hold up the caller's thread.
///
/// Derive from it, implement run() (the work), finishRun() (its closing step) and undo(), and hand the
/// command to CommandManager::addThreadedCommand(). Handed to CommandManager::addCommand(), or as part of a
/// plain MacroCommand, it runs on the caller's thread like any other command.
///
/// A run that is aborted is not kept for undo by the manager and nobody calls its undo(), so run() should
/// leave the data as it found them when it returns because of isAborted(), and so should finishRun(), which
/// is called after it all the same. An abort counts until CommandManager::finalizeThread(), so one can come
/// too late for the run to see it; an overridden sendFinishSignal(), which is told false then, can revert
/// what was done.
///
/// As part of a ThreadedMacroCommand its undo() is called after an abort, whether the run has seen it or
/// not. So undo() must know whether there is something to undo.
///
/// redo() is execute() unless overridden: a whole run on the caller's thread. Neither resets isAborted().
///
/// Neither copied nor moved: a run refers to its object while it goes on.
///
/// Ownership: held by `std::shared_ptr`; the thread manager keeps it alive until the run is concluded.
/// Thread: prepareRun(), run() and finishRun() on a worker thread, or on the caller's in synchronous mode and
/// through execute(); redo(), undo() and all that is CommandBase's on the caller's thread. Drive the
/// command's progress from the run only.
class VALDANE_COMMANDPATTERN_EXPORT ThreadedCommand : public CommandBase, public Thread
{
public:
    /// @param description  what users read, and the name of the thread. @throws std::bad_alloc
    explicit ThreadedCommand(const std::string& description);
    ~ThreadedCommand() override;

    /// Runs prepareRun(), run(), finishRun() on the calling thread, and sends no finish signal. Throws what
    /// they throw.
    void execute() override;

    /// Whether CommandManager::addThreadedCommand() and finalizeThread() keep the command for undo; true,
    /// unless overridden. Asked after each run that went well.
    virtual bool isAddableToCommandManager() const;

    /// Has @p slot told of the end of the next run: with true, or with false if it was aborted or failed, and
    /// with this command. The slot is told once; a later run needs another connection, which the slot itself
    /// may make. @throws std::bad_alloc, nobody being connected then.
    ///
    /// Runs on the thread that calls sendFinishSignal(): the caller's, with the thread manager of this
    /// project.
    void connectToRunFinishedSignal(const Signals::Slot<void(bool, const CommandBase*)>& slot);

    /// Tells those who wait for the end of the run, and forgets them. Called by the thread manager and by
    /// CommandManager::finalizeThread(); a second call tells nobody.
    ///
    /// @param ok  whether the run came to its end and was not aborted.
    /// @throws what a slot throws; the slots after it are not told then.
    void sendFinishSignal(bool ok) override;

protected:
    /// No description, a thread without a name.
    ThreadedCommand();

private:
    std::unique_ptr<Signals::Signal<void(bool, const CommandBase*)>> valdaneRunFinishedSignal;
};

} // namespace Valdane

#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Slot.h"
#include "Service/Editing/EditingExport.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Valdane
{

class CommandBase;
class CommandManager;
class ThreadManager;
class ThreadedCommand;
class ThreadedMacroCommand;

/// Starts threaded commands of a CommandManager, one at a time, and finalizes them from the application's
/// event loop.
///
///     ThreadedRun run(manager, [&](auto work) { loop.post(std::move(work)); }, ThreadedRun::Edits::Queued);
///     const auto finished = run.connectToSigFinished(
///         [&](ThreadedRun::Result result, const std::string& text) { showEnd(result, text); });
///     run.start(std::make_shared<LoadModel>(path));
///     run.addCommand(std::make_shared<RenameCommand>(pump, "P-101")); // when the model is loaded
///
/// Worker mode: start() returns while the run continues, and the loop does the rest. Synchronous mode: the
/// run is over, and finished is told, when start() returns. The loop tells no progress meanwhile.
///
/// Abort. An aborted run changes nothing. What its command has done is undone, in nested macros too, and it
/// is not in the history. A ThreadedCommand takes part by the rules of its own class.
/// - To stop a thread of a nested macro, a stand-in takes the macro's place in the worker slot.
///   CommandManager::getCurrentThreadedCommand() shows it, and sigThreadedCommandStarted is emitted once
///   more.
/// - A thread that is in several macros of the command is not asked to stop. The run is undone at its end.
/// - A command that is queued before the abort takes effect is undone and dropped if it is the newest. What
///   could be redone before is lost then. If it is not the newest, the abort is too late.
///
/// Failures: a run that fails is reported by the manager, as Docs/failures.md says, and told with the reason.
/// - Failed: nothing has changed. A macro was rolled back. A command that throws, alone or in a macro, has
///   restored its own data, as each command must.
/// - NotTakenBack: something may be left, and it is not in the history. An undo() has failed; or a nested
///   macro failed after its first thread, and what it had done stays; or the work was done when a slot of
///   the command's run-finished signal, its isAddableToCommandManager() or the module access interface
///   failed; or an exception that is not derived from std::exception has ended a macro. After an abort that
///   came too late, the command whose undo() has failed is in the history.
///
/// A macro that skips failures has not failed: it is Done, without its failed sub-commands. If their number
/// reaches the limit, the macro was rolled back as any other.
///
/// An exception of a slot, and what the manager lets through, reaches the caller of start(), or the loop. By
/// then the end of the run is told, or follows from the loop.
///
/// Others may use the manager directly: finalize or abort the run, or start one of their own. If they abort a
/// nested macro, it ends alone, as CommandManager says. If they take the worker slot from the run, it is
/// taken back and told as Failed.
///
/// Re-entrancy: a slot, a command and a posted function may call any operation, and destroy this object. The
/// clock and the other functions that are given may not.
///
/// Ownership: shares the command while it runs. The manager must outlive this object.
/// Thread: the manager's thread.
/// Services of the application's own: Docs/own-services.md says what this needs of them.
/// Cost: a change of the progress posts one function, unless one is waiting already, or no slot is connected to
/// the progress. A function that was posted finalizes at most one thread, so that a macro of many quick threads
/// leaves the loop its turn.
class VALDANE_EDITING_EXPORT ThreadedRun
{
public:
    /// What becomes of addCommand(), undo(), redo() and edit() while a command is running.
    enum class Edits
    {
        Refused, ///< they throw a VdException
        Queued,  ///< they are done in order when the run is over, also if it failed or was aborted
    };

    /// How a run has ended.
    enum class Result
    {
        Done,         ///< its changes are made
        Failed,       ///< it has failed; nothing has changed
        Aborted,      ///< nothing has changed
        NotTakenBack, ///< it has failed, or could not be aborted; some of what it did may be left
    };

    /// How far a run is.
    struct Progress
    {
        double share = 0;                              ///< from 0 to 1
        std::string message;                           ///< the last one of the command; may be empty
        std::chrono::steady_clock::duration elapsed{}; ///< since start()
        /// At the pace up to now. Empty before the first progress.
        std::optional<std::chrono::steady_clock::duration> remaining;
    };

    /// Runs a function on the manager's thread, later and not inside the call. Is called on any thread. What
    /// it throws is dropped; the next function that it takes finds what was missed.
    using PostFunction = std::function<void(std::function<void()>)>;

    /// Says what time it is, on the manager's thread.
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// Has a thread manager call a function, on any thread, at the end of each run that is added from then
    /// on.
    using RunEndFunction = std::function<void(ThreadManager&, std::function<void()>)>;

    /// @param commandManager  the manager that runs the commands; must outlive this object.
    /// @param post            the event loop; must not be empty. Not called any more after the destructor.
    /// @param edits           what becomes of edits while a command is running.
    /// @param clock           empty: the steady clock of the system.
    /// @param onRunEnd        called by each start(). Empty: ThreadManager::setRunEndedCallback(), which
    ///                        replaces the callback that was set before.
    /// @throws VdException if @p post is empty, or if @p onRunEnd is and a thread manager of the application's
    ///         own does not have that operation.
    ThreadedRun(CommandManager& commandManager, PostFunction post, Edits edits, Clock clock = {},
                RunEndFunction onRunEnd = {});

    ThreadedRun(const ThreadedRun&) = delete;
    ThreadedRun& operator=(const ThreadedRun&) = delete;

    /// Aborts the run and waits until it is taken back; tells nobody. Edits that wait are dropped. Functions
    /// that were posted do nothing any more. Lets no exception out.
    ///
    /// Called within a step of the run, by a sub-command for example, it cannot wait. start(), or the
    /// function in the loop, then waits before it returns. If others have called
    /// CommandManager::finalizeThread() for that step, the rest of the run is left to them.
    ~ThreadedRun();

    /// Tells started, then runs @p command as CommandManager::addThreadedCommand() does. Replaces the change
    /// callback of its progress until the run is over.
    /// @throws VdException if @p command is empty, if a group is open, or if a threaded command is running.
    ///         Nothing was told then.
    /// Guarantee: if a slot of started throws, the command is not run, and Failed is told.
    void start(std::shared_ptr<ThreadedCommand> command);

    /// The same for a macro.
    /// @param command  as above.
    /// @throws as above.
    void start(std::shared_ptr<ThreadedMacroCommand> command);

    /// Asks the run to stop, and has it taken back when it has stopped. Returns at once; finished follows
    /// from the loop. Does nothing if no command is running.
    /// @throws what Thread::abortRun() throws; the run is aborted all the same.
    void abort();

    /// Whether a command that was started here is running: from start() until finished is told.
    bool isRunning() const;

    /// How far the run is, for a display that a timer refreshes; empty if no command is running.
    std::optional<Progress> getProgress() const;

    /// CommandManager::addCommand() if no command is running.
    /// @param command  what to execute.
    /// @return whether it is done, or waits for the end of the run.
    /// @throws VdException if it is refused.
    bool addCommand(std::shared_ptr<CommandBase> command);

    /// CommandManager::undo() if no command is running.
    /// @param count  how many commands, counted when it is done.
    /// @return whether it is done, or waits for the end of the run.
    /// @throws VdException if it is refused.
    bool undo(std::uint64_t count);

    /// CommandManager::redo() if no command is running.
    /// @param count  how many commands, counted when it is done.
    /// @return whether it is done, or waits for the end of the run.
    /// @throws VdException if it is refused.
    bool redo(std::uint64_t count);

    /// Calls @p work if no command is running. For what edits by other means: a MergePolicy or a CommandGroup,
    /// for example.
    ///
    ///     run.edit("Type", [&, command] { return policy.add(command, "title"); });
    ///
    /// @param name  what the user is told if it is refused.
    /// @param work  not empty; called at most once.
    /// @return what @p work answers, or true if it waits for the end of the run.
    /// @throws VdException if it is refused; what @p work throws.
    bool edit(const std::string& name, std::function<bool()> work);

    /// Before each run.
    /// @param slot  called until the connection is destroyed.
    [[nodiscard]] Signals::Connection connectToSigStarted(const Signals::Slot<void()>& slot);

    /// From the loop, after changes of the command's progress. The last one of a run that is done is told
    /// before finished, unless the loop had no part in its end. A slot that is connected during a run hears of
    /// the next change.
    /// @param slot  called until the connection is destroyed.
    [[nodiscard]] Signals::Connection connectToSigProgress(const Signals::Slot<void(const Progress&)>& slot);

    /// Once for each started, when the run is over, and before edits that waited are done. The text says why
    /// a run has failed, and is empty otherwise.
    /// @param slot  called until the connection is destroyed.
    [[nodiscard]] Signals::Connection
    connectToSigFinished(const Signals::Slot<void(Result, const std::string&)>& slot);

private:
    class VALDANE_EDITING_NO_EXPORT Private;

    std::shared_ptr<Private> d;
};

} // namespace Valdane

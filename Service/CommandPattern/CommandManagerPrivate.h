#pragma once

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Platform/Signals/Signal.h"
#include "Service/CommandPattern/ChangeTracking.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/CommandQueue.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandPattern/QueueLimit.h"

#include <boost/smart_ptr/local_shared_ptr.hpp>

#include <cstdint>
#include <exception>
#include <list>
#include <memory>
#include <set>
#include <source_location>
#include <string>

namespace Valdane
{

/// The state of a manager, and the steps that its operations have in common.
///
/// Thread: as CommandManager.
class CommandManager::Private
{
public:
    Private();
    Private(const Private&) = delete;
    Private& operator=(const Private&) = delete;

    /// Waits for the run under way, unless the application shares the thread manager.
    ~Private();

    /// Runs @p work, which is one command's own work, with processingCommand set.
    ///
    /// The flag is @p flagAfterwards then, however @p work ends. What is derived from `std::exception` is
    /// reported as a failure of @p command and answered with false; everything else passes through.
    template <typename Work>
    bool process(CommandBase& command, const char* context, bool flagAfterwards, const Work& work);

    /// Executes @p command between two trace lines, resetting and completing its progress.
    void execute(CommandBase& command, const std::source_location& place) const;

    /// Writes the failure to the log and emits sigCommandFailed.
    ///
    /// @param command  null if it is not known what failed.
    void reportFailure(const std::exception& exception, const char* context, const CommandBase* command);

    /// The same for operations that let nothing derived from `std::exception` out: if the log fails, or the
    /// description cannot be had, the signal is emitted all the same.
    void reportFailureInAnyCase(const std::exception& exception, const char* context,
                                const CommandBase* command);

    /// Writes the error line of a failed command.
    void logException(const std::exception& exception, const std::string& context,
                      const std::string& commandDescription);

    /// Writes the error line of a failure that came on top of another one; if that is not possible either, it
    /// is lost.
    void logFurtherFailure(const std::exception& exception, const char* context, const CommandBase* command);

    /// The macro of @p command and of all that waits to be merged with it.
    std::shared_ptr<CommandBase> mergeWithPending(std::shared_ptr<CommandBase>&& command);

    /// Puts a command that was executed, and all that waits to be merged with it, on top of the undo queue.
    void record(std::shared_ptr<CommandBase>&& command);

    /// Puts @p command on top of the undo queue, with the modules that are modified now.
    void enqueue(std::shared_ptr<CommandBase>&& command);

    void enforceLimit();

    /// Takes the command in the worker slot a step further; without a command, concludes what the thread
    /// manager has under way.
    ///
    /// @return whether the run is over.
    bool continueRun(CommandBase* command);

    /// A step of the run with this number; see isInItsOwnStep().
    class StepOfRun
    {
    public:
        StepOfRun(Private& manager, std::uint64_t run);
        StepOfRun(const StepOfRun&) = delete;
        StepOfRun& operator=(const StepOfRun&) = delete;
        ~StepOfRun();

    private:
        Private& d;
        std::uint64_t outer;
    };

    /// Puts @p command into the worker slot and sets processingCommand. @return the number of its run
    std::uint64_t fillWorkerSlot(std::shared_ptr<CommandBase> command);

    /// Empties the worker slot. Where somebody who was called has begun another run there meanwhile, of
    /// another command or of the same one, that one stays under way.
    void releaseWorkerSlot(std::uint64_t run);

    /// Whether @p run is in the worker slot.
    bool isInWorkerSlot(std::uint64_t run) const;

    /// Whether this is called by what the step of @p run has called, with no @p thread that could be
    /// concluded: the step itself goes on to the end of the run, which would otherwise end twice.
    bool isInItsOwnStep(std::uint64_t run, const Thread* thread) const;

    /// Brings @p run, which failed in its finalization, to an end, if it is in the worker slot.
    void windUp(std::uint64_t run);

    /// Ends a threaded command that failed: winds it up by @p wind, releases the worker slot, reports the
    /// failure and, if @p tellsFinished, emits sigThreadedCommandFinished. What is derived from
    /// `std::exception` does not get out.
    ///
    /// @param command  empty if it is not known what failed.
    template <typename WindUp>
    void failThreadedCommand(const std::exception& exception, const char* context, std::uint64_t run,
                             const std::shared_ptr<CommandBase>& command, const WindUp& wind,
                             bool tellsFinished);

    /// Does one step of handling a failure: if it fails itself, writes the error line of that, and the next
    /// step can follow.
    template <typename Step>
    void attempt(const char* context, const CommandBase* command, const Step& step);

    /// What tells about the modules, kept alive while it is called, as it may install another one.
    boost::local_shared_ptr<ModuleAccessInterface> moduleAccess() const
    {
        return moduleAccessInterface;
    }

    /// The modules that differ from the save point of @p tracker.
    std::set<const Object*> modifiedModules(std::uint64_t tracker) const;

    /// Puts an undone entry on top of the redo queue. If its command is not redo-capable, or fails to tell,
    /// the older ones there could not be redone without it, so that the redo queue is emptied instead.
    void keepForRedo(QueuedCommand&& entry);

    CommandQueue undoQueue;
    CommandQueue redoQueue;
    QueueLimit limit;
    std::list<std::shared_ptr<CommandBase>> commandsToMerge;
    bool useForwardUndoOrderForMerge = false;
    ChangeTracking tracking;
    std::shared_ptr<ThreadManager> threadManager;
    std::shared_ptr<CommandBase> currentThreadedCommand;
    std::shared_ptr<LegacyProgress> progress;
    /// Keeps the application's pointer, and is copied without atomic operations.
    boost::local_shared_ptr<ModuleAccessInterface> moduleAccessInterface;
    bool processingCommand = false;
    Signals::Signal<void()> sigUndoRedoProcessCompleted;
    Signals::Signal<void(QueueChangeReason)> sigCommandQueueChanged;
    Signals::Signal<void()> sigThreadedCommandStarted;
    Signals::Signal<void()> sigThreadedCommandFinished;
    Signals::Signal<void()> sigCommandExecuted;
    Signals::Signal<void()> sigCommandUndone;
    Signals::Signal<void(const char*, const std::string&)> sigCommandFailed;
    /// The number of the run that was put into the worker slot last.
    std::uint64_t lastRun = 0;
    /// The run that is taken a step further just now; 0 if none is.
    std::uint64_t steppedRun = 0;
};

template <typename Work>
bool CommandManager::Private::process(CommandBase& command, const char* context, bool flagAfterwards,
                                      const Work& work)
{
    processingCommand = true;
    try
    {
        work();
    }
    catch (const std::exception& exception)
    {
        processingCommand = flagAfterwards;
        reportFailure(exception, context, &command);
        return false;
    }
    catch (...)
    {
        processingCommand = flagAfterwards;
        throw;
    }
    processingCommand = flagAfterwards;
    return true;
}

template <typename WindUp>
void CommandManager::Private::failThreadedCommand(const std::exception& exception, const char* context,
                                                  std::uint64_t run,
                                                  const std::shared_ptr<CommandBase>& command,
                                                  const WindUp& wind, bool tellsFinished)
{
    try
    {
        const StepOfRun step(*this, run);
        wind();
    }
    catch (...)
    {
        releaseWorkerSlot(run);
        throw;
    }
    releaseWorkerSlot(run);
    reportFailureInAnyCase(exception, context, command.get());
    if (tellsFinished)
    {
        attempt(context, command.get(), [&] { sigThreadedCommandFinished(); });
    }
}

template <typename Step>
void CommandManager::Private::attempt(const char* context, const CommandBase* command, const Step& step)
{
    try
    {
        step();
    }
    catch (const std::exception& exception)
    {
        logFurtherFailure(exception, context, command);
    }
}

} // namespace Valdane

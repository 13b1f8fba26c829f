#pragma once

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Signals/Signal.h"
#include "Service/CommandPattern/ChangeTracking.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/CommandQueue.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandPattern/QueueLimit.h"
#include "Service/CommandPattern/WorkerSlot.h"

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

class Logging;

/// The log of the manager, whichever of its sources writes to it.
extern const Logging managerLogger;

/// The state of a manager, and the steps that its operations have in common.
///
/// Thread: as CommandManager.
class CommandManager::Private final : public WorkerSlot::Owner
{
public:
    Private();
    Private(const Private&) = delete;
    Private& operator=(const Private&) = delete;
    ~Private();

    /// Runs @p work, which is one command's own work, with processingCommand set.
    ///
    /// The flag becomes @p flagAfterwards() when @p work has ended, also if it threw. An exception derived
    /// from `std::exception` is reported as a failure of @p command; everything else passes through.
    ///
    /// @return false if @p work failed.
    template <typename Work, typename Flag>
    bool process(CommandBase& command, const char* context, const Work& work, const Flag& flagAfterwards);

    /// Executes @p command between two trace lines, resetting and completing its progress.
    void execute(CommandBase& command, const std::source_location& place) const;

    /// CommandManager::undo() and redo(). @param place  where the trace lines say that they are written
    bool undo(std::uint64_t count, const std::source_location& place);
    bool redo(std::uint64_t count, const std::source_location& place);

    /// Writes the failure to the log and emits sigCommandFailed.
    void reportFailure(const std::exception& exception, const char* context, const CommandBase& command);

    /// Writes the error line of a failed command; in CommandManager.cpp, because the line names its place.
    /// MacroCommand and ThreadedMacroCommand have lines of their own, for sub-commands; see logFailure() in
    /// their sources.
    void logException(const std::exception& exception, const std::string& context,
                      const std::string& commandDescription);

    /// Empties the redo queue, again if a destructor of a dropped command fills it.
    void forgetRedo();

    /// Drops what is beyond the limit.
    void enforceLimit();

    /// What tells about the modules, kept alive while it is called, as it may install another one.
    boost::local_shared_ptr<ModuleAccessInterface> moduleAccess() const
    {
        return moduleAccessInterface;
    }

    /// The modules that differ from the save point of @p tracker.
    std::set<const Object*> modifiedModules(std::uint64_t tracker) const;

    /// Puts a command that was executed on the undo queue: the whole intake, up to its signal.
    void queue(std::shared_ptr<CommandBase> command) override;
    void setProcessing(bool processing) override;
    void tellStarted() override;
    void tellExecuted() override;
    void tellFinished() override;
    void reportRunFailure(const std::exception& exception, const char* context,
                          const CommandBase* command) override;
    void logFurtherFailure(const std::exception& exception, const char* context,
                           const CommandBase* command) override;

    CommandQueue undoQueue;
    CommandQueue redoQueue;
    QueueLimit limit;
    std::list<std::shared_ptr<CommandBase>> commandsToMerge;
    bool useForwardUndoOrderForMerge = false;
    ChangeTracking tracking;
    WorkerSlot workerSlot;
    std::shared_ptr<LegacyProgress> progress;
    /// Keeps the application's pointer, and is copied without atomic operations: a `std::shared_ptr` copied
    /// for each call takes 14 % more time of an undo and 19 % of a redo.
    boost::local_shared_ptr<ModuleAccessInterface> moduleAccessInterface;
    bool processingCommand = false;
    Signals::Signal<void()> sigUndoRedoProcessCompleted;
    Signals::Signal<void(QueueChangeReason)> sigCommandQueueChanged;
    Signals::Signal<void()> sigThreadedCommandStarted;
    Signals::Signal<void()> sigThreadedCommandFinished;
    Signals::Signal<void()> sigCommandExecuted;
    Signals::Signal<void()> sigCommandUndone;
    Signals::Signal<void(const char*, const std::string&)> sigCommandFailed;

private:
    /// One step, up to its signals. @return false if the command failed
    bool undoOne(const std::source_location& place);
    bool redoOne(const std::source_location& place);

    /// Puts an undone entry on top of the redo queue. If its command is not redo-capable, or its
    /// isRedoCapable() throws, empties the redo queue instead: the older entries there could not be redone
    /// without this one.
    void keepForRedo(QueuedCommand&& entry);

    /// Queues @p command, merged with all that waits for it. If that fails, these wait again.
    void record(std::shared_ptr<CommandBase>&& command);
    std::shared_ptr<CommandBase> mergeWithPending(std::shared_ptr<CommandBase>&& command);
    void enqueue(std::shared_ptr<CommandBase>&& command);
};

template <typename Work, typename Flag>
bool CommandManager::Private::process(CommandBase& command, const char* context, const Work& work,
                                      const Flag& flagAfterwards)
{
    processingCommand = true;
    try
    {
        work();
    }
    catch (const std::exception& exception)
    {
        processingCommand = flagAfterwards();
        reportFailure(exception, context, command);
        return false;
    }
    catch (...)
    {
        processingCommand = flagAfterwards();
        throw;
    }
    processingCommand = flagAfterwards();
    return true;
}

} // namespace Valdane

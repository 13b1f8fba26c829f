#pragma once

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Signals/Signal.h"
#include "Service/CommandPattern/ChangeTracking.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/CommandQueue.h"
#include "Service/CommandPattern/HistoryChanges.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandPattern/OpenGroup.h"
#include "Service/CommandPattern/QueueLimit.h"
#include "Service/CommandPattern/SavePoints.h"
#include "Service/CommandPattern/WorkerSlot.h"

#include <boost/smart_ptr/local_shared_ptr.hpp>

#include <cstddef>
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
class CommandManager::Private final : public WorkerSlot::Owner, public QueueLimit::Watcher
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

    /// Executes a command that is to be queued. @return false if it failed
    /// @throws std::bad_alloc, with nothing changed, if it could not be queued.
    bool executeToQueue(CommandBase& command, const std::source_location& place);

    /// Executes @p command between two trace lines, resetting and completing its progress.
    void execute(CommandBase& command, const std::source_location& place) const;

    /// One whole step of undo or redo, with its signals at the end. @return false if the command failed
    /// @param place  where the trace lines say that they are written
    bool undoOne(const std::source_location& place);
    bool redoOne(const std::source_location& place);

    /// Writes the failure to the log and emits sigCommandFailed.
    void reportFailure(const std::exception& exception, const char* context, const CommandBase& command);

    /// Writes the error line of a failed command; in CommandManager.cpp, because the line names its place.
    /// MacroCommand and ThreadedMacroCommand have lines of their own, for sub-commands; see logFailure() in
    /// their sources.
    void logException(const std::exception& exception, const std::string& context,
                      const std::string& commandDescription);

    /// Does @p work, which changes the history, and then tells what has changed, even if @p work fails.
    template <typename Work>
    void changeHistory(const Work& work);

    /// Emits sigHistoryChanged if the history has changed.
    void tellHistory()
    {
        if (historyChanges.areWatched())
        {
            historyChanges.tell([this] { return historyState(); });
        }
    }

    HistoryChanges::State historyState() const;
    SavePoints::State saveState() const noexcept;

    /// The number of the newest loose command, see SavePoints; 0 if there is none.
    std::uint64_t newestLoose() const noexcept;

    /// The entry at a place of the history. @pre there is one (not checked).
    const QueuedCommand& entryAt(std::uint64_t index) const;

    /// Empties the redo queue, again if a destructor of a dropped command fills it.
    void forgetRedo();

    /// Drops what is beyond the limit.
    void enforceLimit();

    /// What the limit and clear() drop.
    void willDropOldest() override;
    void willDropAll() override;

    /// CommandManager::takeLastExecutedCommand(). @pre there is a command (not checked).
    std::shared_ptr<CommandBase> takeNewest();

    /// CommandManager::endGroup() and abandonGroup(). @pre a group is open (not checked).
    void endGroup();
    bool abandonGroup(const std::source_location& place);

    /// The commands that wait to be merged: those of the innermost group, if one is open.
    WaitingCommands& waiting()
    {
        return groups.empty() ? commandsToMerge : groups.back().waiting;
    }

    /// While a group is open, writes an error line that names @p operation. @return whether one is open
    bool isRefusedInGroup(const char* operation, const std::source_location& place) const
    {
        return !groups.empty() && logRefusalInGroup(operation, place);
    }

    /// The same. @throws VdException while a group is open.
    void requireNoGroup(const char* operation, const std::source_location& place) const;

    /// Writes an error line. @throws VdException with the same text.
    [[noreturn]] static void refuse(const std::string& text, const std::source_location& place);

    /// Has the newest command take in @p command, which was executed after it; if it does not, queues that.
    /// @param mayMerge  false if it is to be queued in any case
    void queueOrMerge(std::shared_ptr<CommandBase> command, bool mayMerge);

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
    WaitingCommands commandsToMerge;
    /// The outermost first.
    std::list<OpenGroup> groups;
    ChangeTracking tracking;
    SavePoints savePoints;
    /// How many commands were loose so far.
    std::uint64_t looseCount = 0;
    HistoryChanges historyChanges;
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
    Signals::Signal<void()> sigOpenGroupsChanged;
    Signals::Signal<void()> sigCommandPending;
    Signals::Signal<void(const char*, const std::string&)> sigCommandFailed;

private:
    /// By which a step of undo or redo notices that its command has changed the history itself.
    struct Rows
    {
        std::size_t done = 0;
        std::uint64_t noteCount = 0;

        bool operator==(const Rows&) const = default;
    };

    Rows rows() const noexcept
    {
        return {.done = undoQueue.size(), .noteCount = historyChanges.noteCount()};
    }

    /// After the command's part of a step: if it has changed the history, nobody knows any more which state of the data is
    /// saved.
    void followStep(const Rows& expected) noexcept
    {
        if (rows() != expected)
        {
            savePoints.loseAll();
            historyChanges.replaceAllRows();
        }
    }

    /// Puts an undone entry on top of the redo queue. If its command is not redo-capable, or its
    /// isRedoCapable() throws, empties the redo queue instead: the older entries there could not be redone
    /// without this one.
    void keepForRedo(QueuedCommand&& entry, const Rows& afterwards);
    bool askWhetherRedoCapable(CommandBase& command);
    void forgetRedoWith(const QueuedCommand& undone);

    /// Writes the error line of isRefusedInGroup(). @return true @pre a group is open (not checked).
    bool logRefusalInGroup(const char* operation, const std::source_location& place) const;
    std::string refusalInGroup(const char* operation) const;

    /// Queues @p command, merged with all that waits for it. If that fails, these wait again.
    void record(std::shared_ptr<CommandBase>&& command);
    void enqueue(std::shared_ptr<CommandBase>&& command);

    /// Makes sure that the command that is executed next can be queued. @throws std::bad_alloc, with nothing changed.
    void reserveOne();

    /// What queue() does before and after the command is in the undo queue.
    void intake(std::shared_ptr<CommandBase>&& command);
    void settle();

    /// Returns @p modules and, if anybody is told, what the commands of a queue modified. @throws std::bad_alloc
    ModuleSet withModulesOf(const CommandQueue& queue, ModuleSet modules) const;

    /// Undoes @p command between two trace lines.
    void runUndo(CommandBase& command, const std::source_location& place) const;

    /// Has the newest command take in @p command, where the two can be one entry. @return whether it did.
    bool mergeIntoNewest(const CommandBase& command);
    bool mergeIntoNewestOfGroup(const CommandBase& command);

    /// Whether @p newest has taken in @p command, which was executed after it. A standard exception is logged.
    bool isTakenIn(CommandBase& newest, const CommandBase& command);
};

template <typename Work>
void CommandManager::Private::changeHistory(const Work& work)
{
    try
    {
        work();
    }
    catch (...)
    {
        tellHistory();
        throw;
    }
    tellHistory();
}

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

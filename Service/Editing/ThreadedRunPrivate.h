#pragma once

#include "Platform/Signals/Signal.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Editing/RunRelay.h"
#include "Service/Editing/RunRollback.h"
#include "Service/Editing/ThreadedRun.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <exception>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace Valdane
{

struct HistoryChange;

/// What a ThreadedRun knows and does. Outlives it while one of its operations is on the stack.
///
/// Ownership: posted functions refer to it weakly. Thread: as ThreadedRun.
class ThreadedRun::Private : public std::enable_shared_from_this<ThreadedRun::Private>
{
public:
    Private(CommandManager& commandManager, PostFunction post, Edits editsDuringRun, Clock ownClock,
            RunEndFunction onRunEnd);

    /// @param launch  hands the command to the manager.
    void start(const std::shared_ptr<CommandBase>& command, const std::function<void()>& launch);

    void abort();

    /// The end of the ThreadedRun.
    void close() noexcept;

    /// Does @p work now or after the run. @return what it answers, or true if it waits.
    bool edit(const std::string& name, std::function<bool()> work);

    std::optional<Progress> getProgress() const;

    Signals::Connection connectToProgress(const Signals::Slot<void(const Progress&)>& slot);

    bool isRunning() const noexcept
    {
        return run != nullptr;
    }

    /// Destroyed with the ThreadedRun, so that none of their slots is called later.
    struct Told
    {
        Signals::Signal<void()> started;
        Signals::Signal<void(const Progress&)> progress;
        Signals::Signal<void(Result, const std::string&)> finished;
    };

    CommandManager& manager;
    std::unique_ptr<Told> told = std::make_unique<Told>();

private:
    /// What a run shares with functions that others hold. Those in the loop know their run by it.
    struct Shared
    {
        /// Whether a function waits in the loop that tells the progress.
        std::atomic<bool> isProgressPosted = false;
        /// How many threads have ended.
        std::atomic<std::size_t> endedThreads = 0;
        /// What the command, its nested macros and a thread that is aborted have told of their ends: empty,
        /// or whether they were successful. Filled before the run, so that telling allocates nothing.
        std::map<const CommandBase*, std::optional<bool>> ends;
    };

    /// What is known of the command that is running.
    struct Run
    {
        std::shared_ptr<CommandBase> command;
        std::string description;
        std::chrono::steady_clock::time_point begin;
        /// The one that was current last.
        std::weak_ptr<Thread> thread;
        /// What has the worker slot in place of the command; empty if the command has it.
        std::shared_ptr<RunRollback> rollback;
        /// How many more steps may have no effect before others are seen to drive the run.
        std::size_t patience = 0;
        std::shared_ptr<Shared> shared = std::make_shared<Shared>();
        std::size_t finalizedThreads = 0;
        bool isLaunched = false;
        bool isAborting = false;
        bool hasEnded = false;
        bool isDisplaced = false;
        bool isRolledBack = false;
        bool isQueued = false;
        bool hasFailed = false;
        std::string failure;
        Signals::Connection failed;
        Signals::Connection finished;
        Signals::Connection changed;
    };

    struct End
    {
        Result result = Result::Done;
        std::string text;
    };

    /// Sets a flag while it exists.
    class Flag
    {
    public:
        explicit Flag(bool& flag) : target(flag), before(std::exchange(flag, true)) {}

        Flag(const Flag&) = delete;
        Flag& operator=(const Flag&) = delete;

        ~Flag()
        {
            target = before;
        }

    private:
        bool& target;
        bool before;
    };

    /// While it exists, the manager is in an operation that was called here.
    class Stepping : public Flag
    {
    public:
        explicit Stepping(Private& owner) : Flag(owner.isStepping) {}
    };

    void requireIdle(const CommandBase* command) const;
    void requireFree(const std::string& description) const;
    void failStart(const std::exception_ptr& exception);
    std::unique_ptr<Run> begin(const std::shared_ptr<CommandBase>& command);
    void connect(Run& begun);
    static void followEnd(CommandBase* command, const std::shared_ptr<Shared>& shared);
    static void followEnds(CommandBase& command, const std::shared_ptr<Shared>& shared);
    auto checkLater();
    std::function<void()> runEndCallback(const std::shared_ptr<Shared>& shared);
    std::function<void()> progressCallback(const std::shared_ptr<Shared>& shared);
    static void setProgressCallback(CommandBase& command, const std::function<void()>& callback);
    void postCheck();
    void check();
    void tellProgress(bool isUntold);
    std::exception_ptr tellLastProgress();

    void proceed();
    bool step(ThreadManager& threads, bool mayFinalize);
    void finalizeDisplaced(const std::shared_ptr<Thread>& thread);
    void tryAbort(ThreadManager& threads) noexcept;
    void applyAbort(ThreadManager& threads);
    bool putRollback(const std::shared_ptr<Thread>& thread);
    bool isInSlot() const;
    bool isOnWorker() const;

    void noteFailure(const char* text, const std::string& description);
    void noteHistory(const HistoryChange& change);
    void noteEnd();

    void conclude(std::exception_ptr passing);
    End judge(std::exception_ptr& passing);
    End takeBack(std::exception_ptr& passing);
    bool isTakenBack() const;
    bool isPartLeft() const;
    std::optional<bool> endOf(const CommandBase* command) const;
    bool isAborted() const;
    void release();
    void runEdits();

    std::shared_ptr<RunRelay> relay;
    /// Each slot of the progress has it, too, as long as it is connected: so the worker can ask whether there
    /// is any, which it cannot ask the signal.
    std::shared_ptr<const bool> listening = std::make_shared<const bool>(true);
    Edits edits;
    Clock clock;
    RunEndFunction installRunEnd;
    std::unique_ptr<Run> run;
    std::list<std::function<bool()>> waiting;
    bool isStepping = false;
    bool isEditing = false;
    /// Whether a posted function is running.
    bool isInLoop = false;
    bool isClosed = false;
};

} // namespace Valdane

// The state of the run is asked, not followed: what has the worker slot, which thread is on the worker, and
// whether it has ended. So it does not matter who finalizes it. check() is posted whenever that may have
// changed, and a check too many does nothing. The slots on the manager's signals note what cannot be asked
// afterwards.
//
// A frame that calls the manager marks it (Stepping). What comes back in meanwhile only leaves a note:
// abort() sets isAborting, close() sets isClosed. The frame acts on it when the manager has returned.

#include "Service/Editing/ThreadedRunPrivate.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Logging/LogMessage.h"
#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/HistoryChange.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Valdane
{

namespace
{

// Templates, because a thread manager of the application's own need not have these two operations.

template <typename Threads>
void setRunEndedCallback(Threads& threads, const std::function<void()>& callback)
{
    if constexpr (requires { threads.setRunEndedCallback(callback); })
    {
        threads.setRunEndedCallback(callback);
    }
    else
    {
        throw VdException(
            "The thread manager needs a function that tells the end of a run: give one to ThreadedRun");
    }
}

template <typename Threads>
bool hasRunEnded(const Threads& threads)
{
    if constexpr (requires { threads.isRunEnded(); })
    {
        return threads.isRunEnded();
    }
    else
    {
        return true;
    }
}

/// A failure counts, also if there is no memory for its text.
void setText(std::string& target, const char* text) noexcept
{
    try
    {
        target = text == nullptr ? "" : text;
    }
    catch (const std::bad_alloc&)
    {
        target.clear();
    }
}

void describe(const std::exception_ptr& exception, std::string& target) noexcept
{
    try
    {
        std::rethrow_exception(exception);
    }
    catch (const std::exception& known)
    {
        setText(target, known.what());
    }
    catch (...)
    {
        setText(target, "an exception that is not derived from std::exception");
    }
}

void keepFirst(std::exception_ptr& first)
{
    if (first == nullptr)
    {
        first = std::current_exception();
    }
}

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

} // namespace

class ThreadedRun::Private::Stepping : public Flag
{
public:
    explicit Stepping(Private& owner) : Flag(owner.isStepping) {}
};

ThreadedRun::Private::Private(CommandManager& commandManager, PostFunction post, Edits editsDuringRun,
                              Clock ownClock, RunEndFunction onRunEnd)
    : manager(commandManager),
      edits(editsDuringRun),
      clock(ownClock ? std::move(ownClock) : Clock(&std::chrono::steady_clock::now)),
      installRunEnd(onRunEnd ? std::move(onRunEnd) : RunEndFunction(&setRunEndedCallback<ThreadManager>))
{
    if (!post)
    {
        throw VdException("A ThreadedRun needs a function that posts to the event loop");
    }
    relay = std::make_shared<RunRelay>(std::move(post));
}

void ThreadedRun::Private::start(const std::shared_ptr<CommandBase>& command,
                                 const std::function<void()>& launch)
{
    const auto self = shared_from_this();
    requireIdle(command.get());
    run = begin(command);
    bool isLaunched = false;
    try
    {
        told->started();
        if (run != nullptr && !run->isAborting)
        {
            requireFree(run->description);
            const Stepping stepping(*this);
            isLaunched = true;
            launch();
        }
    }
    catch (...)
    {
        failStart(isLaunched, std::current_exception());
    }
    const auto threads = manager.getThreadManager();
    const auto thread = threads->getCurrentThread();
    if (run == nullptr || isClosed || thread == nullptr || !isInSlot())
    {
        proceed();
        return;
    }
    // Also if it has ended already: the loop finalizes.
    run->thread = thread;
    tryAbort(*threads);
}

/// @throws @p exception
void ThreadedRun::Private::failStart(bool isLaunched, const std::exception_ptr& exception)
{
    const auto thread = isLaunched ? manager.getThreadManager()->getCurrentThread() : nullptr;
    if (thread == nullptr)
    {
        conclude(exception);
    }
    // A slot of the manager has failed when the thread was running already.
    run->thread = thread;
    run->hasFailed = true;
    describe(exception, run->failure);
    if (isClosed)
    {
        proceed();
    }
    postCheck();
    std::rethrow_exception(exception);
}

void ThreadedRun::Private::requireIdle(const CommandBase* command) const
{
    if (command == nullptr)
    {
        throw VdException("There is no command to start: give one that is not empty");
    }
    const std::string& description = command->getDescription();
    if (run != nullptr)
    {
        throw VdException("'" + description + "' cannot be started while '" + run->description +
                          "' is running: wait until it has finished, or abort it");
    }
    requireFree(description);
}

void ThreadedRun::Private::requireFree(const std::string& description) const
{
    const std::string text = "'" + description + "' cannot be started while ";
    if (manager.getCurrentThreadedCommand() != nullptr ||
        manager.getThreadManager()->getCurrentThread() != nullptr)
    {
        throw VdException(text + "another threaded command is running: finalize it first");
    }
    if (const auto groups = manager.getOpenGroups(); !groups.empty())
    {
        throw VdException(text + "the group '" + groups.back() + "' is open: end or abandon it first");
    }
}

std::unique_ptr<ThreadedRun::Private::Run>
ThreadedRun::Private::begin(const std::shared_ptr<CommandBase>& command)
{
    auto begun = std::make_unique<Run>();
    begun->command = command;
    begun->description = command->getDescription();
    begun->thread = std::dynamic_pointer_cast<Thread>(command);
    begun->patience = countCommands(*command);
    begun->begin = clock();
    connect(*begun);
    installRunEnd(*manager.getThreadManager(), runEndCallback());
    if (const auto progress = command->getProgress())
    {
        progress->setChangeCallback(progressCallback(begun->isProgressPosted));
    }
    return begun;
}

void ThreadedRun::Private::connect(Run& begun)
{
    begun.failed = manager.connectToSigCommandFailed([this](const char* text, const std::string& description)
                                                     { noteFailure(text, description); });
    begun.changed =
        manager.connectToSigHistoryChanged([this](const HistoryChange& change) { noteHistory(change); });
    begun.finished = manager.connectToSigThreadedCommandFinished([this] { noteEnd(); });
}

auto ThreadedRun::Private::checkLater()
{
    return [weak = weak_from_this()]
    {
        if (const auto self = weak.lock())
        {
            self->check();
        }
    };
}

std::function<void()> ThreadedRun::Private::runEndCallback()
{
    return [posts = relay, later = checkLater()]
    {
        posts->post(later);
    };
}

std::function<void()>
ThreadedRun::Private::progressCallback(const std::shared_ptr<std::atomic<bool>>& isPosted)
{
    return [posts = relay, weak = weak_from_this(), isPosted]
    {
        const auto tell = [weak, isPosted]
        {
            const bool isUntold = isPosted->exchange(false);
            if (const auto self = weak.lock())
            {
                self->tellProgress(isUntold && self->run != nullptr &&
                                   self->run->isProgressPosted == isPosted);
            }
        };
        if (!isPosted->exchange(true) && !posts->post(tell))
        {
            *isPosted = false;
        }
    };
}

void ThreadedRun::Private::postCheck()
{
    relay->post(checkLater());
}

void ThreadedRun::Private::check()
{
    const Flag inLoop(isInLoop);
    if (run != nullptr)
    {
        proceed();
    }
    else
    {
        runEdits();
    }
}

void ThreadedRun::Private::tellProgress(bool isUntold)
{
    const Flag inLoop(isInLoop);
    if (const auto progress = getProgress(); isUntold && progress && !isClosed)
    {
        told->progress(*progress);
    }
    // A post for the end of the run may have failed.
    proceed();
}

/// The loop may see the end of the run before it comes to the function that tells the last progress. @return what a slot throws, which is no failure of the run; null otherwise.
std::exception_ptr ThreadedRun::Private::tellLastProgress()
{
    try
    {
        const bool isUntold = isInLoop && !isClosed && !run->hasFailed && !isAborted() &&
                              run->isProgressPosted->exchange(false);
        if (const auto progress = isUntold ? getProgress() : std::nullopt)
        {
            told->progress(*progress);
        }
    }
    catch (...)
    {
        return std::current_exception();
    }
    return nullptr;
}

std::optional<ThreadedRun::Progress> ThreadedRun::Private::getProgress() const
{
    if (run == nullptr)
    {
        return std::nullopt;
    }
    Progress progress;
    progress.elapsed = std::max(clock() - run->begin, std::chrono::steady_clock::duration::zero());
    if (const LegacyProgress* const source = run->command->getProgressPtr())
    {
        progress.share = source->fraction();
        const auto message = source->getLastMessage();
        progress.message = message == nullptr ? "" : message->getText();
    }
    using Duration = std::chrono::steady_clock::duration;
    const double remaining =
        static_cast<double>(progress.elapsed.count()) * (1 - progress.share) / progress.share;
    if (progress.share > 0 && remaining < static_cast<double>(Duration::max().count()))
    {
        progress.remaining = Duration(static_cast<Duration::rep>(remaining));
    }
    return progress;
}

void ThreadedRun::Private::abort()
{
    if (run == nullptr)
    {
        return;
    }
    const auto self = shared_from_this();
    run->isAborting = true;
    const auto threads = manager.getThreadManager();
    if (isStepping && threads->getThreadingMode() == 0)
    {
        manager.abortThreadedCommand();
    }
    if (isStepping)
    {
        return;
    }
    std::exception_ptr passing;
    try
    {
        applyAbort(*threads);
    }
    catch (...)
    {
        passing = std::current_exception();
    }
    if (isClosed)
    {
        proceed();
    }
    postCheck();
    if (passing != nullptr)
    {
        std::rethrow_exception(passing);
    }
}

void ThreadedRun::Private::close() noexcept
{
    isClosed = true;
    told.reset();
    const auto dropped = std::exchange(waiting, {});
    if (run == nullptr)
    {
        relay->close();
        return;
    }
    run->isAborting = true;
    if (!isStepping)
    {
        try
        {
            proceed();
        }
        catch (...)
        {
            // Nobody is left who could be told.
        }
    }
}

bool ThreadedRun::Private::edit(const std::string& name, const std::function<bool()>& work)
{
    if (run == nullptr && waiting.empty())
    {
        return work();
    }
    if (edits == Edits::Refused)
    {
        throw VdException(name + " is refused while '" + run->description +
                          "' is running: wait until it has finished, or abort it");
    }
    waiting.push_back(work);
    return true;
}

void ThreadedRun::Private::proceed()
{
    const auto self = shared_from_this();
    std::exception_ptr passing;
    try
    {
        const auto threads = manager.getThreadManager();
        // At most one thread is finalized in a function of the loop: the end of the next one is posted, too. The loop
        // has other work, an abort for example.
        for (bool isFirst = true; run != nullptr && !isStepping && (isInSlot() || isOnWorker());
             isFirst = false)
        {
            if (!step(*threads, isFirst))
            {
                if (isClosed)
                {
                    release();
                }
                return;
            }
        }
    }
    catch (...)
    {
        passing = std::current_exception();
    }
    if (!isStepping)
    {
        conclude(passing);
    }
}

/// @param mayFinalize  whether a thread is finalized if it has ended.
/// @return false if the run continues when something is posted.
bool ThreadedRun::Private::step(ThreadManager& threads, bool mayFinalize)
{
    if (!isInSlot())
    {
        // Nobody could undo what a displaced run hands over.
        run->isDisplaced |= !run->isAborting;
        run->isAborting = true;
    }
    tryAbort(threads);
    const auto thread = threads.getCurrentThread();
    const bool isOwn = isInSlot();
    if (isOwn && thread != nullptr)
    {
        run->thread = thread;
    }
    const bool isHeldByOthers = !isOwn && manager.getCurrentThreadedCommand() != nullptr;
    if (isHeldByOthers || (thread != nullptr && !isClosed && !(mayFinalize && hasRunEnded(threads))))
    {
        return false;
    }
    {
        const Stepping stepping(*this);
        isOwn ? manager.finalizeThread() : finalizeDisplaced(thread);
    }
    if (thread != nullptr || threads.getCurrentThread() != nullptr || !isInSlot())
    {
        return true;
    }
    // Again a thread could not be started, or others are in the middle of a step.
    if (!isClosed)
    {
        postCheck();
    }
    return isClosed && run->patience-- > 0;
}

/// The worker slot is empty, so that the manager would not roll a macro back.
void ThreadedRun::Private::finalizeDisplaced(const std::shared_ptr<Thread>& thread)
{
    auto chains = findChains(run->command, *thread);
    if (chains.size() != 1)
    {
        manager.finalizeThread();
        return;
    }
    try
    {
        RunRollback(std::move(chains.front()), thread).continueExecution(manager.getThreadManager());
    }
    catch (const std::exception& exception)
    {
        noteFailure(exception.what(), run->description);
    }
}

void ThreadedRun::Private::tryAbort(ThreadManager& threads) noexcept
{
    try
    {
        applyAbort(threads);
    }
    catch (...)
    {
        // The thread knows that it is aborted, and its end is waited for.
    }
}

void ThreadedRun::Private::applyAbort(ThreadManager& threads)
{
    const auto thread = threads.getCurrentThread();
    if (!run->isAborting || thread == nullptr || (!isInSlot() && !isOnWorker()))
    {
        return;
    }
    const Stepping stepping(*this);
    const bool needsNone = run->rollback != nullptr || !isInSlot();
    if ((needsNone || putRollback(thread)) && !thread->isAborted())
    {
        manager.abortThreadedCommand();
    }
}

/// @return false if the thread must not be aborted.
bool ThreadedRun::Private::putRollback(const std::shared_ptr<Thread>& thread)
{
    auto chains = findChains(run->command, *thread);
    if (chains.empty() || (chains.size() == 1 && chains.front().size() == 1))
    {
        return true;
    }
    if (chains.size() > 1)
    {
        return false;
    }
    run->rollback = std::make_shared<RunRollback>(std::move(chains.front()), thread);
    manager.addThreadedCommand(run->rollback);
    if (manager.getCurrentThreadedCommand() == run->command)
    {
        run->rollback.reset();
    }
    return run->rollback != nullptr;
}

bool ThreadedRun::Private::isInSlot() const
{
    const auto current = manager.getCurrentThreadedCommand();
    return current != nullptr && !run->hasEnded && (current == run->command || current == run->rollback);
}

bool ThreadedRun::Private::isOnWorker() const
{
    const auto thread = run->thread.lock();
    return thread != nullptr && !run->hasEnded && manager.getThreadManager()->getCurrentThread() == thread;
}

void ThreadedRun::Private::noteFailure(const char* text, const std::string& description)
{
    if (run == nullptr || run->hasEnded || isInSlot())
    {
        return;
    }
    if (isOnWorker())
    {
        run->isDisplaced = true;
        postCheck();
    }
    if (run->hasFailed || (run->isDisplaced && description != run->description))
    {
        return;
    }
    run->hasFailed = true;
    setText(run->failure, text);
}

void ThreadedRun::Private::noteHistory(const HistoryChange& change)
{
    const bool isInserted = std::any_of(change.rows.begin(), change.rows.end(),
                                        [](const RowChange& row) { return row.inserted > 0; });
    const std::uint64_t position = manager.getPosition();
    if (run != nullptr && isInserted && position > 0 && manager.getCommand(position - 1) == run->command)
    {
        run->isQueued = true;
    }
}

void ThreadedRun::Private::noteEnd()
{
    if (run == nullptr || isInSlot() || isOnWorker())
    {
        return;
    }
    run->hasEnded = true;
    if (!isStepping)
    {
        postCheck();
    }
}

/// @param passing  an exception that the caller gets when all is settled; null if there is none.
void ThreadedRun::Private::conclude(std::exception_ptr passing)
{
    const auto self = shared_from_this();
    const auto isPosted = run != nullptr ? run->isProgressPosted : nullptr;
    const auto last = run != nullptr && passing == nullptr ? tellLastProgress() : nullptr;
    // A slot may have ended the run, and started the next one.
    if (run != nullptr && run->isProgressPosted == isPosted)
    {
        const End end = judge(passing);
        release();
        try
        {
            if (!isClosed)
            {
                told->finished(end.result, end.text);
            }
        }
        catch (...)
        {
            keepFirst(passing);
        }
    }
    passing = passing == nullptr ? last : passing;
    if (passing != nullptr)
    {
        if (!waiting.empty())
        {
            postCheck();
        }
        std::rethrow_exception(passing);
    }
    runEdits();
}

ThreadedRun::Private::End ThreadedRun::Private::judge(std::exception_ptr& passing)
{
    if (passing != nullptr && !run->hasFailed)
    {
        run->hasFailed = true;
        describe(passing, run->failure);
    }
    if (run->isDisplaced && !run->hasFailed)
    {
        run->hasFailed = true;
        setText(run->failure, "another threaded command has taken its place");
    }
    if (run->hasFailed && !run->isQueued)
    {
        return {.result = Result::Failed, .text = std::move(run->failure)};
    }
    return isAborted() ? takeBack(passing) : End{};
}

/// A run that was aborted too late is in the history.
ThreadedRun::Private::End ThreadedRun::Private::takeBack(std::exception_ptr& passing)
{
    if (!run->isQueued)
    {
        return {.result = Result::Aborted, .text = {}};
    }
    if (!manager.canUndo() || manager.getUndoCommand() != run->command)
    {
        return {};
    }
    const Stepping stepping(*this);
    // From here on failures are noted again.
    run->hasEnded = run->hasFailed = false;
    bool isUndone = false;
    try
    {
        isUndone = manager.undo(1);
        if (isUndone)
        {
            manager.forgetRedoCommands();
        }
    }
    catch (...)
    {
        keepFirst(passing);
        isUndone = isUndone || manager.getUndoCommand() != run->command;
    }
    if (isUndone)
    {
        return {.result = Result::Aborted, .text = {}};
    }
    if (!run->hasFailed && passing != nullptr)
    {
        describe(passing, run->failure);
    }
    return {.result = Result::Failed, .text = std::move(run->failure)};
}

bool ThreadedRun::Private::isAborted() const
{
    const auto thread = run->thread.lock();
    return run->isAborting || (thread != nullptr && thread->isAborted());
}

void ThreadedRun::Private::release()
{
    // Destroyed last: the command may be, too.
    const auto ended = std::move(run);
    if (isClosed)
    {
        relay->close();
    }
    if (const auto progress = ended->command->getProgress())
    {
        progress->setChangeCallback({});
    }
}

void ThreadedRun::Private::runEdits()
{
    if (isEditing)
    {
        return;
    }
    const auto self = shared_from_this();
    const Flag editing(isEditing);
    try
    {
        while (run == nullptr && !waiting.empty())
        {
            const auto work = std::move(waiting.front());
            waiting.pop_front();
            work();
        }
    }
    catch (...)
    {
        if (!waiting.empty())
        {
            postCheck();
        }
        throw;
    }
}

} // namespace Valdane

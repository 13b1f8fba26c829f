// How the loop takes a run a step further, and how a run is aborted.

#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/Editing/FirstException.h"
#include "Service/Editing/ThreadedRunPrivate.h"

#include <utility>

namespace Valdane
{

namespace
{

// A template, because a thread manager of the application's own need not have this operation.
template <typename Threads>
bool hasRunEnded([[maybe_unused]] const Threads& threads, [[maybe_unused]] bool isEndTold)
{
    if constexpr (requires { threads.isRunEnded(); })
    {
        return threads.isRunEnded();
    }
    else
    {
        return isEndTold;
    }
}

} // namespace

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

void ThreadedRun::Private::proceed()
{
    if (run == nullptr && isClosed)
    {
        // A slot has destroyed the ThreadedRun, and perhaps the manager.
        return;
    }
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
    const bool isEndTold = run->shared->endedThreads > run->finalizedThreads;
    if (isHeldByOthers ||
        (thread != nullptr && !isClosed && !(mayFinalize && hasRunEnded(threads, isEndTold))))
    {
        return false;
    }
    run->finalizedThreads += thread != nullptr ? 1 : 0;
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
    RunRollback rollback(std::move(chains.front()), thread);
    try
    {
        rollback.continueExecution(manager.getThreadManager());
    }
    catch (const std::exception& exception)
    {
        noteFailure(exception.what(), run->description);
    }
    run->isRolledBack = rollback.hasUndoneAll();
}

void ThreadedRun::Private::tryAbort(ThreadManager& threads) noexcept
{
    // If that fails, the thread knows that it is aborted, and its end is waited for.
    FirstException failure;
    failure.attempt([&] { applyAbort(threads); });
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
    if (chains.empty())
    {
        return true;
    }
    if (chains.size() == 1 && chains.front().size() == 1)
    {
        followEnd(dynamic_cast<CommandBase*>(thread.get()), run->shared);
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

} // namespace Valdane

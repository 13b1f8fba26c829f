// What has come of a run, and who is told.

#include "Platform/Multitasking/Thread.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/Editing/FailureText.h"
#include "Service/Editing/ThreadedRunPrivate.h"

#include <utility>

namespace Valdane
{

namespace
{

void keepFirst(std::exception_ptr& first)
{
    if (first == nullptr)
    {
        first = std::current_exception();
    }
}

} // namespace

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

} // namespace Valdane

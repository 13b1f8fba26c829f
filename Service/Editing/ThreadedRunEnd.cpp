// What has come of a run, and who is told.

#include "Platform/Multitasking/Thread.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/Editing/FailureText.h"
#include "Service/Editing/ThreadedRunPrivate.h"

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

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
    const auto shared = run != nullptr ? run->shared : nullptr;
    const auto last = run != nullptr && passing == nullptr ? tellLastProgress() : nullptr;
    // A slot may have ended the run, and started the next one.
    if (run != nullptr && run->shared == shared)
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
        return {.result = isTakenBack() ? Result::Failed : Result::NotTakenBack,
                .text = std::move(run->failure)};
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
    return {.result = Result::NotTakenBack, .text = std::move(run->failure)};
}

/// Whether nothing is left of a run that has failed. If nobody can tell, something may be.
bool ThreadedRun::Private::isTakenBack() const
{
    if (run->rollback != nullptr)
    {
        return run->rollback->hasUndoneAll();
    }
    if (!run->isLaunched || run->isRolledBack)
    {
        return true;
    }
    const auto end = endOf(run->command.get());
    if (dynamic_cast<const ThreadedMacroCommand*>(run->command.get()) == nullptr)
    {
        // A command that has not handed over restores its own data.
        return end != true;
    }
    return end == false && !isPartLeft();
}

/// Whether something is left of a macro that was rolled back.
bool ThreadedRun::Private::isPartLeft() const
{
    const auto thread = run->thread.lock();
    if (thread == nullptr)
    {
        return false;
    }
    if (endOf(dynamic_cast<const CommandBase*>(thread.get())).has_value())
    {
        // The thread that was aborted has ended well, so it is an undo() that has failed.
        return true;
    }
    // The manager rolls back what is around a nested macro that fails, and not that macro.
    const auto hasEnded = [this](const auto& macro)
    {
        return endOf(macro.get()).value_or(false);
    };
    try
    {
        const auto chains = findChains(run->command, *thread);
        return !std::ranges::all_of(chains, [&](const MacroChain& chain)
                                    { return std::all_of(chain.begin() + 1, chain.end(), hasEnded); });
    }
    catch (const std::bad_alloc&)
    {
        return true;
    }
}

std::optional<bool> ThreadedRun::Private::endOf(const CommandBase* command) const
{
    const auto& ends = run->shared->ends;
    const auto found = ends.find(command);
    return found == ends.end() ? std::nullopt : found->second;
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
    setProgressCallback(*ended->command, {});
}

} // namespace Valdane

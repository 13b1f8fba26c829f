// The state of the run is asked, not followed: what has the worker slot, which thread is on the worker, and
// whether it has ended. So it does not matter who finalizes it. check() is posted whenever that may have
// changed, and a check too many does nothing. The slots on the manager's signals note what cannot be asked
// afterwards.
//
// A frame that calls the manager marks it (Stepping). What comes back in meanwhile only leaves a note:
// abort() sets isAborting, close() sets isClosed. The frame acts on it when the manager has returned.

#include "Service/Editing/ThreadedRunPrivate.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/Editing/FailureText.h"
#include "Service/Editing/FirstException.h"

#include <algorithm>
#include <utility>

namespace Valdane
{

namespace
{

// A template, because a thread manager of the application's own need not have this operation.
template <typename Threads>
std::function<void(Threads&, std::function<void()>)> runEndFunction()
{
    if constexpr (requires(Threads & threads, std::function<void()> callback) {
                      threads.setRunEndedCallback(callback);
                  })
    {
        return [](Threads& threads, std::function<void()> callback)
        {
            threads.setRunEndedCallback(std::move(callback));
        };
    }
    else
    {
        throw VdException("A ThreadedRun needs a function that tells the end of a run, because the thread "
                          "manager has no setRunEndedCallback()");
    }
}

} // namespace

ThreadedRun::Private::Private(CommandManager& commandManager, PostFunction post, Edits editsDuringRun,
                              Clock ownClock, RunEndFunction onRunEnd)
    : manager(commandManager),
      edits(editsDuringRun),
      clock(ownClock ? std::move(ownClock) : Clock(&std::chrono::steady_clock::now)),
      installRunEnd(onRunEnd ? std::move(onRunEnd) : runEndFunction<ThreadManager>())
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
    try
    {
        told->started();
        if (run != nullptr && !run->isAborting)
        {
            requireFree(run->description);
            const Stepping stepping(*this);
            run->isLaunched = true;
            launch();
        }
    }
    catch (...)
    {
        failStart(std::current_exception());
    }
    if (run == nullptr && isClosed)
    {
        // A slot has destroyed the ThreadedRun, and perhaps the manager.
        return;
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
void ThreadedRun::Private::failStart(const std::exception_ptr& exception)
{
    const bool isLaunched = run != nullptr && run->isLaunched;
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
    followEnds(*command, begun->shared);
    installRunEnd(*manager.getThreadManager(), runEndCallback(begun->shared));
    setProgressCallback(*command, progressCallback(begun->shared));
    return begun;
}

/// Notes in @p shared how the next run of @p command ends, if it is a command that tells it.
void ThreadedRun::Private::followEnd(CommandBase* command, const std::shared_ptr<Shared>& shared)
{
    const auto note = [weak = std::weak_ptr<Shared>(shared)](bool ok, const CommandBase* ended)
    {
        if (const auto notes = weak.lock())
        {
            notes->ends.find(ended)->second = ok;
        }
    };
    shared->ends.try_emplace(command);
    if (auto* const macro = dynamic_cast<ThreadedMacroCommand*>(command))
    {
        macro->connectToRunFinishedSignal(note);
    }
    else if (auto* const threaded = dynamic_cast<ThreadedCommand*>(command))
    {
        threaded->connectToRunFinishedSignal(note);
    }
}

/// The same for the macros in @p command, too.
void ThreadedRun::Private::followEnds(CommandBase& command, const std::shared_ptr<Shared>& shared)
{
    followEnd(&command, shared);
    if (const auto* const macro = dynamic_cast<const ThreadedMacroCommand*>(&command))
    {
        for (const std::shared_ptr<CommandBase>& part : *macro)
        {
            if (dynamic_cast<const ThreadedMacroCommand*>(part.get()) != nullptr)
            {
                followEnds(*part, shared);
            }
        }
    }
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

std::function<void()> ThreadedRun::Private::runEndCallback(const std::shared_ptr<Shared>& shared)
{
    return [posts = relay, later = checkLater(), shared]
    {
        ++shared->endedThreads;
        posts->post(later);
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
        // Nobody is left who could be told of a failure.
        FirstException failure;
        failure.attempt([this] { proceed(); });
    }
}

bool ThreadedRun::Private::edit(const std::string& name, std::function<bool()> work)
{
    // What an edit does itself is part of it, even if others wait.
    if (run == nullptr && (waiting.empty() || isEditing))
    {
        return work();
    }
    if (edits == Edits::Refused)
    {
        throw VdException(name + " is refused while '" + run->description +
                          "' is running: wait until it has finished, or abort it");
    }
    waiting.push_back(std::move(work));
    return true;
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
    const bool isInserted =
        std::ranges::any_of(change.rows, [](const RowChange& row) { return row.inserted > 0; });
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

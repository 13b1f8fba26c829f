#include "Service/CommandPattern/WorkerSlot.h"

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandProgress.h"
#include "Service/CommandPattern/CommandTrace.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <optional>
#include <utility>

namespace Valdane
{

/// One run of a command, as its kind has it. Also tells runs apart, because a command may run again.
class WorkerSlot::Run
{
public:
    Run() = default;
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    virtual ~Run() = default;

    virtual std::shared_ptr<CommandBase> command() const = 0;
    virtual void start(WorkerSlot& slot) = 0;

    /// Does the next step. @return whether it was the last.
    virtual bool proceed(const std::shared_ptr<ThreadManager>& threadManager) = 0;

    virtual bool isAddable() const = 0;

    /// How the run ends if start() fails.
    virtual Failure failureOfStart(const WorkerSlot& slot) const = 0;
    virtual void cleanUpStart(Owner& owner) = 0;

    /// Has the command clean up after a step that failed.
    virtual void cleanUpStep(Owner& owner) = 0;
};

/// How a run that has failed ends.
struct WorkerSlot::Failure
{
    std::shared_ptr<CommandBase> command; ///< empty if it is not known what failed
    const char* context;
    bool tellsFinished;
};

/// While it exists, a step of the run is on the stack.
class WorkerSlot::StepOfRun
{
public:
    StepOfRun(WorkerSlot& workerSlot, const Run* run)
        : slot(workerSlot), outer(std::exchange(workerSlot.stepped, run))
    {
    }

    StepOfRun(const StepOfRun&) = delete;
    StepOfRun& operator=(const StepOfRun&) = delete;

    ~StepOfRun()
    {
        slot.stepped = outer;
    }

private:
    WorkerSlot& slot;
    const Run* outer;
};

namespace
{

constexpr const char* threadedExecution = "Threaded execution";
constexpr const char* finalization = "Thread finalization";

} // namespace

class WorkerSlot::CommandRun final : public Run
{
public:
    CommandRun(std::shared_ptr<ThreadedCommand> threadedCommand, const std::source_location& location)
        : threaded(std::move(threadedCommand)), place(location)
    {
    }

    std::shared_ptr<CommandBase> command() const override
    {
        return threaded;
    }

    void start(WorkerSlot& slot) override
    {
        if (slot.isOnWorker())
        {
            slot.threadManager->addThread(threaded);
            slot.owner.tellStarted();
            return;
        }
        const StepOfRun step(slot, this);
        const auto name = descriptionOf(*threaded);
        trace(slot.logger, "Execute command '", name, "'...", place);
        slot.threadManager->addThread(threaded);
        trace(slot.logger, "Command '", name, "' executed.", place);
        slot.release(this);
        if (isAddable())
        {
            slot.owner.queue(threaded);
            slot.owner.tellExecuted();
        }
    }

    bool proceed(const std::shared_ptr<ThreadManager>& threadManager) override
    {
        threadManager->finalizeThread();
        return true;
    }

    bool isAddable() const override
    {
        return threaded->isAddableToCommandManager();
    }

    Failure failureOfStart(const WorkerSlot& /*slot*/) const override
    {
        return {threaded, "Execution", false};
    }

    void cleanUpStart(Owner& /*owner*/) override {}

    void cleanUpStep(Owner& owner) override
    {
        owner.attempt(finalization, threaded.get(), [this] { progressOf(*threaded).setComplete(); });
        owner.attempt(finalization, threaded.get(), [this] { threaded->sendFinishSignal(false); });
    }

private:
    std::shared_ptr<ThreadedCommand> threaded;
    std::source_location place;
};

class WorkerSlot::MacroRun final : public Run
{
public:
    explicit MacroRun(std::shared_ptr<ThreadedMacroCommand> threadedMacro) : macro(std::move(threadedMacro))
    {
    }

    std::shared_ptr<CommandBase> command() const override
    {
        return macro;
    }

    void start(WorkerSlot& slot) override
    {
        std::optional<StepOfRun> step(std::in_place, slot, this);
        const bool hasEnded = macro->startExecution(slot.threadManager);
        isStarted = true;
        if (!hasEnded)
        {
            step.reset();
        }
        if (slot.isOnWorker())
        {
            // The run must not suffer from a listener's failure: half of it could not be undone here.
            slot.owner.attempt(threadedExecution, macro.get(), [&] { slot.owner.tellStarted(); });
        }
        if (hasEnded)
        {
            end(slot);
        }
    }

    bool proceed(const std::shared_ptr<ThreadManager>& threadManager) override
    {
        return macro->continueExecution(threadManager);
    }

    bool isAddable() const override
    {
        return true;
    }

    Failure failureOfStart(const WorkerSlot& slot) const override
    {
        return {macro, threadedExecution, slot.isOnWorker()};
    }

    void cleanUpStart(Owner& owner) override
    {
        if (!isStarted)
        {
            owner.attempt(threadedExecution, macro.get(), [this] { macro->abortExecution(); });
        }
    }

    void cleanUpStep(Owner& owner) override
    {
        owner.attempt(finalization, macro.get(), [this] { macro->abortExecution(); });
    }

private:
    void end(WorkerSlot& slot)
    {
        slot.owner.queue(macro);
        slot.release(this);
        slot.owner.tellExecuted();
        if (slot.isOnWorker())
        {
            slot.owner.tellFinished();
        }
    }

    std::shared_ptr<ThreadedMacroCommand> macro;
    bool isStarted = false;
};

WorkerSlot::WorkerSlot(Owner& manager, const Logging& traceLogger)
    : owner(manager), logger(traceLogger), threadManager(std::make_shared<ThreadManager>())
{
}

WorkerSlot::~WorkerSlot() = default;

void WorkerSlot::start(std::shared_ptr<ThreadedCommand> command, const std::source_location& place)
{
    begin(std::make_shared<CommandRun>(std::move(command), place));
}

void WorkerSlot::start(std::shared_ptr<ThreadedMacroCommand> command)
{
    begin(std::make_shared<MacroRun>(std::move(command)));
}

void WorkerSlot::begin(const RunPointer& run)
{
    owner.setProcessing(true);
    // The run that loses its place is destroyed when the new one has it, because a destructor may call back.
    RunPointer(run).swap(current);
    const auto endFailed = [&](const std::exception& exception)
    {
        fail(exception, run.get(), run->failureOfStart(*this), [&] { run->cleanUpStart(owner); });
    };
    endOnFailure(
        run.get(), [&] { run->start(*this); }, endFailed);
}

void WorkerSlot::finalize()
{
    const std::shared_ptr<Thread> thread = threadManager->getCurrentThread();
    if (isInItsOwnStep(thread.get()))
    {
        return;
    }
    if (const RunPointer run = current)
    {
        finalizeRun(*run, thread.get());
    }
    else
    {
        finalizeDisplaced(thread);
    }
}

void WorkerSlot::finalizeRun(Run& run, const Thread* thread)
{
    const auto cleanUp = [&]
    {
        if (isInSlot(run))
        {
            run.cleanUpStep(owner);
        }
    };
    const auto endFailed = [&](const std::exception& exception)
    {
        fail(exception, &run, {run.command(), finalization, true}, cleanUp);
    };
    const StepOfRun step(*this, &run);
    endOnFailure(
        &run, [&] { proceed(run, thread); }, endFailed);
}

void WorkerSlot::proceed(Run& run, const Thread* thread)
{
    // Asked before and after: a command that starts again when it hears of its end clears the state.
    const bool wasAborted = thread != nullptr && thread->isAborted();
    const bool hasEnded = run.proceed(threadManager);
    const bool isAborted = wasAborted || (thread != nullptr && thread->isAborted());
    if (hasEnded)
    {
        release(&run);
    }
    if (hasEnded && !isAborted && run.isAddable())
    {
        owner.queue(run.command());
        owner.tellExecuted();
    }
    const bool isStartedAgain = hasEnded && getCommand() == run.command();
    if (isAborted && !isStartedAgain)
    {
        progressOf(*run.command()).setComplete();
    }
    if (hasEnded)
    {
        owner.tellFinished();
    }
}

void WorkerSlot::finalizeDisplaced(const std::shared_ptr<Thread>& thread)
{
    const auto endFailed = [&](const std::exception& exception)
    {
        // Only its thread tells which command has failed.
        fail(exception, nullptr, {std::dynamic_pointer_cast<CommandBase>(thread), finalization, true}, [] {});
    };
    const auto finalizeThread = [this]
    {
        threadManager->finalizeThread();
        release(nullptr);
    };
    endOnFailure(nullptr, finalizeThread, endFailed);
}

void WorkerSlot::abort()
{
    threadManager->abortThreadExecution();
}

void WorkerSlot::shutDown()
{
    // The thread manager aborts and joins its run in its destructor. Who is called by that still finds it.
    std::shared_ptr<ThreadManager> owned = std::move(threadManager);
    threadManager = std::shared_ptr<ThreadManager>(std::shared_ptr<void>(), owned.get());
    owned.reset();
}

std::shared_ptr<CommandBase> WorkerSlot::getCommand() const
{
    return current == nullptr ? nullptr : current->command();
}

template <typename Work, typename EndFailed>
void WorkerSlot::endOnFailure(const Run* run, const Work& work, const EndFailed& endFailed)
{
    try
    {
        work();
    }
    catch (const std::exception& exception)
    {
        endFailed(exception);
    }
    catch (...)
    {
        release(run);
        throw;
    }
}

template <typename CleanUp>
void WorkerSlot::fail(const std::exception& exception, const Run* run, const Failure& failure,
                      const CleanUp& cleanUp)
{
    try
    {
        const StepOfRun step(*this, run);
        cleanUp();
    }
    catch (...)
    {
        release(run);
        throw;
    }
    release(run);
    const CommandBase* const command = failure.command.get();
    owner.reportRunFailure(exception, failure.context, command);
    if (failure.tellsFinished)
    {
        owner.attempt(failure.context, command, [this] { owner.tellFinished(); });
    }
}

// Another run that was begun meanwhile, of another command or of the same one, stays in the worker slot.
void WorkerSlot::release(const Run* run)
{
    if (current == nullptr || current.get() == run)
    {
        owner.setProcessing(false);
        current.reset();
    }
}

bool WorkerSlot::isInSlot(const Run& run) const
{
    return current.get() == &run;
}

bool WorkerSlot::isOnWorker() const
{
    return threadManager->getThreadingMode() != 0;
}

// Such a step ends the run itself, which would otherwise end twice.
bool WorkerSlot::isInItsOwnStep(const Thread* thread) const
{
    return current != nullptr && current.get() == stepped && (thread == nullptr || !isOnWorker());
}

} // namespace Valdane

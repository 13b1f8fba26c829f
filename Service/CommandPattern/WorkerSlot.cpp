#include "Service/CommandPattern/WorkerSlot.h"

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandProgress.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandPattern/WorkerRun.h"

#include <utility>

namespace Valdane
{

WorkerSlot::WorkerSlot(Owner& manager, const Logging& traceLogger)
    : owner(manager), logger(traceLogger), threadManager(std::make_shared<ThreadManager>())
{
}

WorkerSlot::~WorkerSlot() = default;

void WorkerSlot::start(std::shared_ptr<ThreadedCommand> command, const std::source_location& place)
{
    begin([&] { return std::make_shared<CommandRun>(command, place); },
          [&] {
              return Failure{command, "Execution", false};
          });
}

void WorkerSlot::start(std::shared_ptr<ThreadedMacroCommand> command)
{
    begin([&] { return std::make_shared<MacroRun>(command); },
          [&] {
              return Failure{command, MacroRun::startContext, isOnWorker()};
          });
}

template <typename MakeRun, typename DescribeFailure>
void WorkerSlot::begin(const MakeRun& makeRun, const DescribeFailure& describeFailure)
{
    RunPointer run;
    const auto start = [&]
    {
        run = makeRun();
        displace(run);
        run->start(*this);
    };
    const auto cleanUp = [&]
    {
        if (run != nullptr)
        {
            run->cleanUpStart(owner);
        }
    };
    const auto endFailed = [&](const std::exception& exception)
    {
        fail(exception, run.get(), describeFailure(), cleanUp);
    };
    endOnFailure(run, start, endFailed);
}

void WorkerSlot::displace(const RunPointer& run)
{
    const StepOfRun step(*this, run.get());
    displacedThread = threadManager->getCurrentThread();
    owner.setProcessing(true);
    // The run that loses its place is destroyed when the new one has it, because a destructor may call back.
    RunPointer(run).swap(current);
}

void WorkerSlot::finalize()
{
    const std::shared_ptr<Thread> thread = threadManager->getCurrentThread();
    const bool isInStep = current != nullptr && current.get() == stepped;
    if (isInStep && (thread == nullptr || !isOnWorker()))
    {
        // The step ends the run itself, which would otherwise end twice.
        return;
    }
    const bool isDisplaced = isInStep && thread == displacedThread.lock();
    if (current == nullptr || isDisplaced)
    {
        finalizeDisplaced(thread);
    }
    else
    {
        finalizeRun(RunPointer(current), thread.get());
    }
}

void WorkerSlot::finalizeRun(const RunPointer& run, const Thread* thread)
{
    const auto cleanUp = [&]
    {
        if (current == run)
        {
            run->cleanUpStep(owner);
        }
    };
    const auto endFailed = [&](const std::exception& exception)
    {
        fail(exception, run.get(), {run->command(), finalization, true}, cleanUp);
    };
    const StepOfRun step(*this, run.get());
    endOnFailure(
        run, [&] { proceed(*run, thread); }, endFailed);
}

void WorkerSlot::proceed(Run& run, const Thread* thread)
{
    // Asked before and after: a slot of the run-finished signal may start the command again, which clears the state.
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

bool WorkerSlot::isIdle() const
{
    return isEmpty() && threadManager->getCurrentThread() == nullptr;
}

std::shared_ptr<CommandBase> WorkerSlot::getCommand() const
{
    return current == nullptr ? nullptr : current->command();
}

template <typename Work, typename EndFailed>
void WorkerSlot::endOnFailure(const RunPointer& run, const Work& work, const EndFailed& endFailed)
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
        release(run.get());
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

bool WorkerSlot::isOnWorker() const
{
    return threadManager->getThreadingMode() != 0;
}

} // namespace Valdane

#include "Service/CommandPattern/WorkerRun.h"

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandProgress.h"
#include "Service/CommandPattern/CommandTrace.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

namespace Valdane
{

WorkerSlot::CommandRun::CommandRun(std::shared_ptr<ThreadedCommand> threadedCommand,
                                   const std::source_location& location)
    : threaded(std::move(threadedCommand)), place(location)
{
}

std::shared_ptr<CommandBase> WorkerSlot::CommandRun::command() const
{
    return threaded;
}

void WorkerSlot::CommandRun::start(WorkerSlot& slot)
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

bool WorkerSlot::CommandRun::proceed(const std::shared_ptr<ThreadManager>& threads)
{
    threads->finalizeThread();
    return true;
}

bool WorkerSlot::CommandRun::isAddable() const
{
    return threaded->isAddableToCommandManager();
}

void WorkerSlot::CommandRun::cleanUpStart(Owner& /*manager*/) {}

void WorkerSlot::CommandRun::cleanUpStep(Owner& manager)
{
    manager.attempt(finalization, threaded.get(), [this] { progressOf(*threaded).setComplete(); });
    manager.attempt(finalization, threaded.get(), [this] { threaded->sendFinishSignal(false); });
}

WorkerSlot::MacroRun::MacroRun(std::shared_ptr<ThreadedMacroCommand> threadedMacro)
    : macro(std::move(threadedMacro))
{
}

std::shared_ptr<CommandBase> WorkerSlot::MacroRun::command() const
{
    return macro;
}

void WorkerSlot::MacroRun::start(WorkerSlot& slot)
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
        slot.owner.attempt(startContext, macro.get(), [&] { slot.owner.tellStarted(); });
    }
    if (hasEnded)
    {
        end(slot);
    }
}

bool WorkerSlot::MacroRun::proceed(const std::shared_ptr<ThreadManager>& threads)
{
    return macro->continueExecution(threads);
}

bool WorkerSlot::MacroRun::isAddable() const
{
    return true;
}

void WorkerSlot::MacroRun::cleanUpStart(Owner& manager)
{
    if (!isStarted)
    {
        manager.attempt(startContext, macro.get(), [this] { macro->abortExecution(); });
    }
}

void WorkerSlot::MacroRun::cleanUpStep(Owner& manager)
{
    manager.attempt(finalization, macro.get(), [this] { macro->abortExecution(); });
}

void WorkerSlot::MacroRun::end(WorkerSlot& slot)
{
    slot.owner.queue(macro);
    slot.release(this);
    slot.owner.tellExecuted();
    if (slot.isOnWorker())
    {
        slot.owner.tellFinished();
    }
}

} // namespace Valdane

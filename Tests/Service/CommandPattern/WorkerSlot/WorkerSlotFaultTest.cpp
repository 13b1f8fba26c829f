#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/DelayedInitializedCommand.h"
#include "Tests/Support/Faults/ManagerSteps.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

namespace Valdane::Faults::Workers
{
namespace
{

class WorkerSlotFaults : public testing::TestWithParam<ManagerRow>
{
};

TEST_P(WorkerSlotFaults, LeaveWhatIsPromised)
{
    failEverywhere(GetParam());
}

enum Mode
{
    Synchronous = 0,
    OnWorker = 1,
};

void tellTheEnd(bool /*ok*/, const CommandBase* /*command*/)
{
    callOut(Callee::Work);
}

void makeThread(ManagerWorld& world)
{
    world.thread = world.makeThread('x');
    world.thread->connectToRunFinishedSignal(tellTheEnd);
}

void makeFailingThread(ManagerWorld& world)
{
    makeThread(world);
    world.thread->work.failsToApply = true;
}

/// A command, a thread, and a command.
void makeMacro(ManagerWorld& world)
{
    world.macro = std::make_shared<ThreadedMacroCommand>(descriptionOf('t'));
    world.macro->addCommand(world.make('x'));
    world.macro->addCommand(world.makeThread('y'));
    world.macro->addCommand(world.make('z'));
    world.macro->connectToRunFinishedSignal(tellTheEnd);
}

void makeNestedMacro(ManagerWorld& world)
{
    makeMacro(world);
    const auto outer = std::make_shared<ThreadedMacroCommand>(descriptionOf('o'));
    outer->addCommand(world.make('w'));
    outer->addCommand(world.macro);
    world.macro = outer;
}

/// A command and a thread, whose failures are passed over.
void makeLenientMacro(ManagerWorld& world)
{
    world.macro = std::make_shared<ThreadedMacroCommand>(descriptionOf('t'), true);
    world.macro->addCommand(world.make('x'));
    world.thread = world.makeThread('y');
    world.macro->addCommand(world.thread);
}

void makeDelayed(ManagerWorld& world)
{
    const auto factory = [&world]
    {
        callOut(Callee::Work);
        return world.make('x');
    };
    world.macro = std::make_shared<DelayedInitializedCommand>(factory);
}

/// The history a b with c to redo, and what is to be run now.
ManagerRow::Step ready(Mode mode, const ManagerRow::Step& make)
{
    return [=](ManagerWorld& world)
    {
        world.fill("abC");
        Services::setThreadingMode(*world.manager.getThreadManager(), mode);
        make(world);
    };
}

void startThread(ManagerWorld& world)
{
    world.manager.addThreadedCommand(world.thread);
}

void startMacro(ManagerWorld& world)
{
    world.manager.addThreadedCommand(world.macro);
}

/// What is left of a macro that has passed over its command.
void passOverX(ManagerWorld& world)
{
    auto& command = dynamic_cast<FaultyCommand&>(*world.macro->getFirstCommand());
    command.work.failsToApply = true;
    startMacro(world);
    command.work.failsToApply = false;
}

/// What is left of a macro that has passed over its thread.
void passOverY(ManagerWorld& world)
{
    world.thread->work.failsToApply = true;
    startMacro(world);
    world.thread->work.failsToApply = false;
}

/// The run is under way, but no longer in the slot, as a listener did not want to hear of it.
ManagerRow::Step unheard(const ManagerRow::Step& start)
{
    return [start](ManagerWorld& world)
    {
        const auto connection = world.manager.connectToSigThreadedCommandStarted([] { throw Stranger(); });
        run([&] { start(world); });
    };
}

/// Has the run under way ended, and lets its end be concluded by the operation.
ManagerRow::Step ended(const ManagerRow::Step& start)
{
    return [start](ManagerWorld& world)
    {
        start(world);
        Services::waitForRunEnd(*world.manager.getThreadManager());
        world.failures = 0;
    };
}

void finalize(ManagerWorld& world)
{
    world.manager.finalizeThread();
}

void abort(ManagerWorld& world)
{
    world.manager.abortThreadedCommand();
}

/// Sub-commands that were applied, and those among them that were then reverted, as upper-case letters.
ManagerRow::Step ran(const std::string& letters)
{
    return [letters](ManagerWorld& world)
    {
        for (const char letter : letters)
        {
            if (std::isupper(letter) != 0)
            {
                world.document->revert(static_cast<char>(std::tolower(letter)));
            }
            else
            {
                world.document->apply(letter);
            }
        }
    };
}

/// A run that has ended, and after which nothing is queued; then what else it did.
ManagerRow::Step lost(const std::string& letters)
{
    return [letters](ManagerWorld& world)
    {
        Document& document = *world.document;
        const auto modified = document.modified;
        const int x = document.applied('x');
        const int y = document.applied('y');
        abort(world);
        finalize(world);
        document.modified = modified;
        document.applied('x') = x;
        document.applied('y') = y;
        ran(letters)(world);
    };
}

const std::vector<ManagerRow> synchronousRows = {
    {.name = "A synchronous thread",
     .prepare = ready(Synchronous, makeThread),
     .operation = startThread,
     .mayLeave = {ran("x"), both(forgetRedo, ran("x"))},
     .keepsExceptions = true},
    {.name = "A synchronous thread that fails",
     .prepare = ready(Synchronous, makeFailingThread),
     .operation = startThread,
     .keepsExceptions = true},
    {.name = "A synchronous macro",
     .prepare = ready(Synchronous, makeMacro),
     .operation = startMacro,
     .mayLeave = {ran("x"), ran("xX"), ran("xXy"), ran("xy"), ran("xyXY"), ran("xyzXY"), ran("xyz"),
                  ran("xyzXYZ"), both(forgetRedo, ran("xyz"))},
     .keepsExceptions = true},
    {.name = "A synchronous macro that passes over failures",
     .prepare = ready(Synchronous, makeLenientMacro),
     .operation = startMacro,
     .mayLeave = {passOverX, passOverY, ran("x"), ran("xX"), ran("xXy"), ran("xy"), ran("xyXY"),
                  both(forgetRedo, ran("xy"))},
     .keepsExceptions = true},
    {.name = "A synchronous macro in a macro",
     .prepare = ready(Synchronous, makeNestedMacro),
     .operation = startMacro,
     .mayLeave = {ran("w"), ran("wx"), ran("wW"), ran("wWx"), ran("wxWX"), ran("wxyWX"), ran("wxy"),
                  ran("wxyWXY"), ran("wxyzWXY"), ran("wxyz"), ran("wxyzWXYZ"), both(forgetRedo, ran("wxyz"))},
     .keepsExceptions = true},
    {.name = "A synchronous delayed command",
     .prepare = ready(Synchronous, makeDelayed),
     .operation = startMacro,
     .mayLeave = {ran("x"), ran("xX"), both(forgetRedo, ran("x"))},
     .keepsExceptions = true},
};

const std::vector<ManagerRow> workerRows = {
    {.name = "Starting a thread",
     .prepare = ready(OnWorker, makeThread),
     .operation = startThread,
     .mayLeave = {unheard(startThread)},
     .keepsExceptions = true},
    {.name = "Starting a macro",
     .prepare = ready(OnWorker, makeMacro),
     .operation = startMacro,
     .mayLeave = {ran("x"), ran("xX"), unheard(startMacro)},
     .keepsExceptions = true},
    {.name = "Concluding a thread",
     .prepare = both(ready(OnWorker, makeThread), ended(startThread)),
     .operation = finalize,
     .mayLeave = {lost(""), both(lost(""), forgetRedo)},
     .keepsExceptions = true,
     .alwaysEnds = true},
    {.name = "Concluding a thread that failed",
     .prepare = both(ready(OnWorker, makeFailingThread), ended(startThread)),
     .operation = finalize,
     .mayLeave = {lost("")},
     .keepsExceptions = true,
     .alwaysEnds = true},
    {.name = "Concluding a thread that was aborted",
     .prepare = both(ready(OnWorker, makeThread), both(ended(startThread), abort)),
     .operation = finalize,
     .mayLeave = {lost("")},
     .allocates = false,
     .keepsExceptions = true,
     .alwaysEnds = true},
    {.name = "Concluding the thread of a macro",
     .prepare = both(ready(OnWorker, makeMacro), ended(startMacro)),
     .operation = finalize,
     .mayLeave = {lost(""), lost("X"), lost("XY"), lost("z"), lost("zXY"), lost("zXYZ"),
                  both(lost("z"), forgetRedo)},
     .keepsExceptions = true,
     .alwaysEnds = true},
    {.name = "Concluding nothing", .operation = finalize, .allocates = false, .keepsExceptions = true},
    {.name = "Aborting",
     .prepare = both(ready(OnWorker, makeThread), ended(startThread)),
     .operation = abort,
     .allocates = false},
};

INSTANTIATE_TEST_SUITE_P(Synchronous, WorkerSlotFaults, testing::ValuesIn(synchronousRows),
                         nameOfTest<ManagerWorld>);
INSTANTIATE_TEST_SUITE_P(OnWorker, WorkerSlotFaults, testing::ValuesIn(workerRows), nameOfTest<ManagerWorld>);

} // namespace
} // namespace Valdane::Faults::Workers

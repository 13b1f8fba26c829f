#include "Service/CommandTesting/AbortTrial.h"

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/NestedRollback.h"

#include <memory>

namespace Valdane
{

AbortTrial::AbortTrial(const CommandSubject& subject, const CommandSubject::Maker& make, Mode threadingMode,
                       std::uint64_t place)
    : trial(subject, make),
      mode(threadingMode),
      failed(trial.getManager().connectToSigCommandFailed(
          [this](const char* text, const std::string& /*command*/) { failure = text; })),
      probe(trial.getManager(), place, isMacro()),
      before(trial.takeSnapshot())
{
    trial.getManager().getThreadManager()->setThreadingMode(mode == Mode::OnWorker ? 1 : 0);
}

std::string AbortTrial::nameOf(Mode mode)
{
    return mode == Mode::OnWorker ? "on a worker" : "in synchronous mode";
}

bool AbortTrial::isMacro() const
{
    return dynamic_cast<const ThreadedMacroCommand*>(trial.getCommand().get()) != nullptr;
}

void AbortTrial::run()
{
    try
    {
        start();
        while (trial.getManager().getCurrentThreadedCommand() != nullptr)
        {
            finish();
        }
    }
    catch (const Mistake& mistake)
    {
        thrown = mistake.what();
    }
}

void AbortTrial::start()
{
    Mistake::guard("addThreadedCommand()", [this] { trial.startThreads(); });
    probe.waitForAbort();
}

// One thread of the command.
void AbortTrial::finish()
{
    CommandManager& manager = trial.getManager();
    // There is none if a macro has skipped a thread that could not be started.
    if (manager.getThreadManager()->getCurrentThread() != nullptr && probe.waitForPlaceOrEnd())
    {
        NestedRollback::putInto(manager);
        probe.abort();
    }
    Mistake::guard("finalizeThread()", [&] { manager.finalizeThread(); });
}

void AbortTrial::expectDone(bool changesNothing) const
{
    expectNothingThrown();
    if (!failure.empty())
    {
        throw Mistake("it fails: " + failure);
    }
    if (!hasRun())
    {
        throw Mistake("it runs no thread, so that there is nothing to abort");
    }
    if (!changesNothing && trial.takeSnapshot() == before)
    {
        throw Mistake("nothing changes that the snapshot shows, so that aborts prove nothing");
    }
}

void AbortTrial::expectAborted()
{
    expectNothingThrown();
    const bool isQueued = trial.getManager().canUndo();
    // Without a worker a macro continues behind the aborted run.
    if (!isQueued || !isMacro())
    {
        Mistake::unlessEqual(before, trial.takeSnapshot(),
                             isMacro() ? "the macro has undone the aborted command and those before it, but "
                                         "the data are not as before"
                                       : "the data are not as before");
    }
    if (isQueued)
    {
        expectNothingToUndo();
    }
}

void AbortTrial::expectNothingToUndo()
{
    trial.undo("undo(), which the manager calls after an abort without a worker,");
    Mistake::unlessEqual(before, trial.takeSnapshot(), "after undo() the data are not as before");
}

void AbortTrial::expectNothingThrown() const
{
    for (const std::string& text : {thrown, probe.getFailure()})
    {
        if (!text.empty())
        {
            throw Mistake(text);
        }
    }
}

bool AbortTrial::hasRun() const
{
    return probe.getRuns() > 0;
}

bool AbortTrial::isAsking() const
{
    return probe.getQuestions() > 0;
}

Place AbortTrial::getPlace() const
{
    Place place = probe.getPlace();
    place.step = nameOf(mode) + place.step;
    return place;
}

} // namespace Valdane

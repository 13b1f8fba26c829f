#include "Service/CommandTesting/FailureScenario.h"

#include "Service/CommandTesting/FailureStep.h"
#include "Service/CommandTesting/Fault.h"
#include "Service/CommandTesting/Mistake.h"

#include <utility>

namespace Valdane
{
namespace
{

// Allocates nothing, because an allocation may be about to fail.
bool isDoneInSpiteOf(Fault& fault, std::uint64_t place, const FailureStep& step, Trial& trial)
{
    bool isDone = false;
    fault.begin(place);
    try
    {
        isDone = step.run(trial);
    }
    catch (...)
    {
        isDone = false;
    }
    fault.end();
    return isDone;
}

} // namespace

FailureScenario::FailureScenario(const CommandSubject& subject, const CommandSubject::Maker& make,
                                 const FailureStep& triedStep)
    : trial(subject, make), step(triedStep), isPossible(step.prepare(trial))
{
}

std::optional<FailureScenario::Data> FailureScenario::runWhole()
{
    if (!isPossible)
    {
        return std::nullopt;
    }
    Snapshot before = trial.takeSnapshot();
    bool isDone = false;
    Mistake::guard(step.getName(), [&] { isDone = step.run(trial); });
    if (!isDone)
    {
        throw Mistake(step.getName() + " fails");
    }
    return Data{std::move(before), trial.takeSnapshot()};
}

void FailureScenario::expectBefore(const Data& whole) const
{
    Mistake::unlessEqual(whole.before, trial.takeSnapshot(),
                         "In two worlds the data before " + step.getName() + " are not the same");
}

void FailureScenario::runFailing(Fault& fault, std::uint64_t place, const Data& whole)
{
    const bool isDone = isDoneInSpiteOf(fault, place, step, trial);
    if (!fault.wasReached())
    {
        return;
    }
    if (isDone)
    {
        Mistake::unlessEqual(whole.after, trial.takeSnapshot(),
                             "it hides the failure, but has not done all of its work");
        return;
    }
    Mistake::unlessEqual(whole.before, trial.takeSnapshot(), "the data are not as before");
    runAgain(whole);
}

void FailureScenario::runAgain(const Data& whole)
{
    bool isDone = false;
    Mistake::guard("tried again, it", [&] { isDone = step.run(trial); });
    if (!isDone)
    {
        throw Mistake("tried again, it fails");
    }
    Mistake::unlessEqual(whole.after, trial.takeSnapshot(), "tried again, it has another result");
}

} // namespace Valdane

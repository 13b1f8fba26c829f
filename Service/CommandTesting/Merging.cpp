#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Trial.h"
#include "Service/CommandTesting/Walk.h"

#include <memory>
#include <utility>

namespace Valdane
{
namespace
{

// mergeWith() may throw if it has changed nothing: a refusal.
bool askToMerge(MergeableCommand& first, const CommandBase& next)
{
    try
    {
        return first.mergeWith(next);
    }
    catch (...)
    {
        return false;
    }
}

void expectAnswer(MergeAnswer expected, bool isTaken)
{
    if (expected == MergeAnswer::Taken && !isTaken)
    {
        throw Mistake("mergeWith() refuses the next command");
    }
    if (expected == MergeAnswer::Refused && isTaken)
    {
        throw Mistake("mergeWith() takes in the next command");
    }
}

void tryMerge(const Trial& trial, const CommandSubject::Maker& makeNext, MergeAnswer expected)
{
    auto* const mergeable = dynamic_cast<MergeableCommand*>(trial.getCommand().get());
    if (mergeable == nullptr)
    {
        throw Mistake("The first command is not a MergeableCommand");
    }
    Walk walk(trial);
    walk.execute(trial.getCommand(), "the first command");
    // Made when the first one is done, as applications do.
    std::shared_ptr<CommandBase> next = trial.makeCommand(makeNext);
    walk.execute(next, "the next command");
    const bool isTaken = askToMerge(*mergeable, *next);
    next.reset();
    trial.expect(walk.getEnd(), "After mergeWith()", "as before it");
    expectAnswer(expected, isTaken);
    if (isTaken)
    {
        walk.keepOnlyFirst();
    }
    walk.renameFirst(isTaken ? "the first command, which has taken in the next one,"
                             : "the first command, which has refused the next one,");
    walk.backAndForth();
}

} // namespace

Report Checks::merging(const CommandSubject& subject, const CommandSubject::Maker& makeFirst,
                       const CommandSubject::Maker& makeNext, MergeAnswer expected)
{
    Report report = Trial::begin("Merging", subject, makeFirst);
    Mistake::collect(report, [&] { tryMerge(Trial(subject, makeFirst), makeNext, expected); });
    return report;
}

} // namespace Valdane

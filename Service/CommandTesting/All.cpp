#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Trial.h"

namespace Valdane
{
namespace
{

bool hasThreads(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    const Trial trial(subject, make);
    const CommandBase* const command = trial.getCommand().get();
    return dynamic_cast<const ThreadedCommand*>(command) != nullptr ||
           dynamic_cast<const ThreadedMacroCommand*>(command) != nullptr;
}

} // namespace

Report Checks::all(const CommandSubject& subject, const CommandSubject::Maker& make,
                   const RoundTripOptions& options, FailurePoints& points)
{
    // First: what it finds, all others would stumble over.
    Report report = Trial::begin("All checks", subject, make);
    report.add(misuse(subject, make));
    if (!report)
    {
        return report;
    }
    report.add(roundTrip(subject, make, options));
    report.add(failures(subject, make, points));
    report.add(progress(subject, make, 1));
    if (subject.modules)
    {
        report.add(tracking(subject, make));
    }
    if (hasThreads(subject, make))
    {
        report.add(aborts(subject, make));
    }
    return report;
}

} // namespace Valdane

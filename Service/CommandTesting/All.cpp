#include "Service/CommandTesting/AbortProbe.h"
#include "Service/CommandTesting/AbortTrial.h"
#include "Service/CommandTesting/AllocationFaults.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Trial.h"

namespace Valdane
{
namespace
{

// A macro of other commands cannot be aborted.
bool runsThreads(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    if (!Trial(subject, make).isThreaded())
    {
        return false;
    }
    AbortTrial trial(subject, make, AbortTrial::Mode::Synchronous, AbortProbe::nowhere);
    trial.run();
    return trial.hasRun();
}

} // namespace

Report Checks::all(const CommandSubject& subject, const CommandSubject::Maker& make,
                   const RoundTripOptions& options, FailurePoints& points)
{
    // First: what it finds, all others would stumble over.
    const bool hasAllocations = AllocationFaults::getInstalled() != nullptr;
    Report report(Trial::begin("All checks", subject, make).getSubject() +
                  (hasAllocations ? "" : ", without failing allocations"));
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
    Mistake::collect(report,
                     [&]
                     {
                         if (runsThreads(subject, make))
                         {
                             report.add(aborts(subject, make, options.changesNothing));
                         }
                     });
    return report;
}

} // namespace Valdane

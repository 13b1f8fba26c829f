#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Trial.h"

namespace Valdane
{

Report Checks::all(const CommandSubject& subject, const CommandSubject::Maker& make,
                   const RoundTripOptions& options, FailurePoints& /*points*/)
{
    // First: what it finds, all others would stumble over.
    Report report = Trial::begin("All checks", subject, make);
    report.add(misuse(subject, make));
    if (!report)
    {
        return report;
    }
    report.add(roundTrip(subject, make, options));
    report.add(progress(subject, make, 1));
    if (subject.modules)
    {
        report.add(tracking(subject, make));
    }
    return report;
}

} // namespace Valdane

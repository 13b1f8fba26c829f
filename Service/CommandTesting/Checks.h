#pragma once

#include "Service/CommandTesting/CommandSubject.h"
#include "Service/CommandTesting/CommandTestingExport.h"
#include "Service/CommandTesting/HistoryStep.h"
#include "Service/CommandTesting/MergeAnswer.h"
#include "Service/CommandTesting/Report.h"
#include "Service/CommandTesting/RoundTripOptions.h"

#include <vector>

namespace Valdane
{

class FailurePoints;

/// The checks of CommandKit, which says what each of them proves.
namespace Checks
{

VALDANE_COMMANDTESTING_EXPORT Report roundTrip(const CommandSubject& subject,
                                               const CommandSubject::Maker& make,
                                               const RoundTripOptions& options);
VALDANE_COMMANDTESTING_EXPORT Report failures(const CommandSubject& subject,
                                              const CommandSubject::Maker& make, FailurePoints& points);
VALDANE_COMMANDTESTING_EXPORT Report aborts(const CommandSubject& subject, const CommandSubject::Maker& make);
VALDANE_COMMANDTESTING_EXPORT Report progress(const CommandSubject& subject,
                                              const CommandSubject::Maker& make, double largestMove);
VALDANE_COMMANDTESTING_EXPORT Report merging(const CommandSubject& subject,
                                             const CommandSubject::Maker& makeFirst,
                                             const CommandSubject::Maker& makeNext, MergeAnswer expected);
VALDANE_COMMANDTESTING_EXPORT Report inMacro(const CommandSubject& subject,
                                             const std::vector<CommandSubject::Maker>& makers);
VALDANE_COMMANDTESTING_EXPORT Report tracking(const CommandSubject& subject,
                                              const CommandSubject::Maker& make);
VALDANE_COMMANDTESTING_EXPORT Report misuse(const CommandSubject& subject, const CommandSubject::Maker& make);
VALDANE_COMMANDTESTING_EXPORT Report staleObjects(const CommandSubject& subject,
                                                  const CommandSubject::Maker& make,
                                                  const CommandSubject::Maker& makeRemoval);
VALDANE_COMMANDTESTING_EXPORT Report all(const CommandSubject& subject, const CommandSubject::Maker& make,
                                         const RoundTripOptions& options, FailurePoints& points);

VALDANE_COMMANDTESTING_EXPORT Report replay(const CommandSubject& subject,
                                            const std::vector<CommandSubject::Generator>& generators,
                                            const std::vector<HistoryStep>& steps, FailurePoints& points);

} // namespace Checks
} // namespace Valdane

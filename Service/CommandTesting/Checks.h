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

/// See CommandKit::roundTrip().
VALDANE_COMMANDTESTING_EXPORT Report roundTrip(const CommandSubject& subject,
                                               const CommandSubject::Maker& make,
                                               const RoundTripOptions& options);
/// See CommandKit::failures().
VALDANE_COMMANDTESTING_EXPORT Report failures(const CommandSubject& subject,
                                              const CommandSubject::Maker& make, FailurePoints& points);
/// See CommandKit::aborts().
VALDANE_COMMANDTESTING_EXPORT Report aborts(const CommandSubject& subject, const CommandSubject::Maker& make,
                                            bool changesNothing);
/// See CommandKit::progress().
VALDANE_COMMANDTESTING_EXPORT Report progress(const CommandSubject& subject,
                                              const CommandSubject::Maker& make, double largestMove);
/// See CommandKit::merging().
VALDANE_COMMANDTESTING_EXPORT Report merging(const CommandSubject& subject,
                                             const CommandSubject::Maker& makeFirst,
                                             const CommandSubject::Maker& makeNext, MergeAnswer expected);
/// See CommandKit::inMacro().
VALDANE_COMMANDTESTING_EXPORT Report inMacro(const CommandSubject& subject,
                                             const std::vector<CommandSubject::Maker>& makers);
/// See CommandKit::tracking().
VALDANE_COMMANDTESTING_EXPORT Report tracking(const CommandSubject& subject,
                                              const CommandSubject::Maker& make);
/// See CommandKit::misuse().
VALDANE_COMMANDTESTING_EXPORT Report misuse(const CommandSubject& subject, const CommandSubject::Maker& make);
/// See CommandKit::staleObjects().
VALDANE_COMMANDTESTING_EXPORT Report staleObjects(const CommandSubject& subject,
                                                  const CommandSubject::Maker& make,
                                                  const CommandSubject::Maker& makeRemoval);
/// See CommandKit::codec().
VALDANE_COMMANDTESTING_EXPORT Report codec(const CommandSubject& subject, const CommandSubject::Maker& make,
                                           const CommandSubject::Codec& codec, bool keepsUndo);
/// See CommandKit::all().
VALDANE_COMMANDTESTING_EXPORT Report all(const CommandSubject& subject, const CommandSubject::Maker& make,
                                         const RoundTripOptions& options, FailurePoints& points);

/// See CommandKit::replay().
VALDANE_COMMANDTESTING_EXPORT Report replay(const CommandSubject& subject,
                                            const std::vector<CommandSubject::Generator>& generators,
                                            const std::vector<HistoryStep>& steps, FailurePoints& points);

} // namespace Checks
} // namespace Valdane

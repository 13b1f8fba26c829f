#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Trial.h"
#include "Service/CommandTesting/Walk.h"

namespace Valdane
{

Report Checks::staleObjects(const CommandSubject& subject, const CommandSubject::Maker& make,
                            const CommandSubject::Maker& makeRemoval)
{
    Report report = Trial::begin("Stale objects", subject, make);
    Mistake::collect(report,
                     [&]
                     {
                         const Trial trial(subject, make);
                         Walk walk(trial);
                         walk.execute(trial.getCommand(), "the command");
                         // Made when the command is done, as applications do.
                         walk.execute(trial.makeCommand(makeRemoval), "the removal");
                         if (!walk.hasLastChanged())
                         {
                             throw Mistake(
                                 "execute() of the removal changes nothing that the snapshot shows");
                         }
                         walk.renameFirst("the command, whose object was removed and has come back,");
                         walk.backAndForth();
                     });
    return report;
}

} // namespace Valdane

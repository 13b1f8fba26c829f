#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/PlacedMistakes.h"
#include "Service/CommandTesting/Trial.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

constexpr std::uint64_t Tracker = 0;

/// What differs from the beginning, beside what the manager says.
class Tracked
{
public:
    Tracked(const CommandSubject& trackedSubject, Trial& trackedTrial, PlacedMistakes& trackedMistakes)
        : subject(trackedSubject), trial(trackedTrial), mistakes(trackedMistakes), saved(takeSnapshots())
    {
    }

    /// @param step  that was taken last.
    void compare(const std::string& step) const
    {
        std::set<const Object*> listed;
        Mistake::guard("Asking the manager for modified modules after " + step,
                       [&] { listed = trial.getManager().getModifiedModules(Tracker); });
        for (const ModuleSnapshot& now : takeSnapshots())
        {
            const bool isListed = listed.erase(now.module) != 0;
            compare(now, isListed, step);
        }
        if (!listed.empty())
        {
            mistakes.add({.step = step}, "the manager lists a module of which there is no snapshot");
        }
    }

private:
    void compare(const ModuleSnapshot& now, bool isListed, const std::string& step) const
    {
        const auto before = std::ranges::find(saved, now.module, &ModuleSnapshot::module);
        const bool differs = before == saved.end() || !(before->snapshot == now.snapshot);
        const std::string module = "module \"" + now.name + "\"";
        if (differs && !isListed)
        {
            const std::string text =
                module + " is not as before execute(), but the manager does not list it as modified";
            mistakes.add({.step = step}, before == saved.end()
                                             ? text
                                             : Mistake::tellChange(text, before->snapshot, now.snapshot));
        }
        if (!differs && isListed)
        {
            mistakes.add({.step = step},
                         "the manager lists " + module + " as modified, but it is as before execute()");
        }
    }

    std::vector<ModuleSnapshot> takeSnapshots() const
    {
        std::vector<ModuleSnapshot> snapshots;
        Mistake::guard("Taking the snapshots of the modules",
                       [&] { snapshots = subject.moduleSnapshots(trial.getWorld()); });
        return snapshots;
    }

    const CommandSubject& subject;
    Trial& trial;
    PlacedMistakes& mistakes;
    std::vector<ModuleSnapshot> saved;
};

void track(const CommandSubject& subject, const CommandSubject::Maker& make, PlacedMistakes& mistakes)
{
    if (!subject.modules || !subject.moduleSnapshots)
    {
        throw Mistake("setModules() was not called, so there are no modules to compare");
    }
    Trial trial(subject, make);
    const Tracked tracked(subject, trial, mistakes);
    tracked.compare("making the command");
    trial.addAsItMust("execute()");
    tracked.compare("execute()");
    trial.undo("undo()");
    tracked.compare("undo()");
    if (trial.getManager().canRedo())
    {
        trial.redo("redo()");
        tracked.compare("redo()");
    }
}

} // namespace

Report Checks::tracking(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    Report report = Trial::begin("Tracking", subject, make);
    PlacedMistakes mistakes;
    Mistake::collect(report, [&] { track(subject, make, mistakes); });
    mistakes.addTo(report, "After");
    return report;
}

} // namespace Valdane

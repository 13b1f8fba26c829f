#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Trial.h"

#include <memory>
#include <optional>
#include <string>

namespace Valdane
{
namespace
{

void expectOwnCommands(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    const Trial trial(subject, make);
    const std::shared_ptr<CommandBase> second = trial.makeCommand(make);
    const Trial other(subject, make);
    if (second == trial.getCommand() || other.getCommand() == trial.getCommand())
    {
        throw Mistake(
            "Making the command twice gives the same command twice; a command can be in one place of one "
            "history only");
    }
}

void expectOnlyMade(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    const Trial trial(subject);
    const Snapshot before = trial.takeSnapshot();
    const Snapshot again = trial.takeSnapshot();
    if (!(before == again))
    {
        throw Mistake(Mistake::tellChange(
            "Two snapshots of the same data differ; a snapshot must show the data only, and not change them",
            before, again));
    }
    const std::shared_ptr<CommandBase> command = trial.makeCommand(make);
    const Snapshot after = trial.takeSnapshot();
    if (!(before == after))
    {
        throw Mistake(Mistake::tellChange(
            "Making the command changes the data, and executing it would do so again", before, after));
    }
}

// Others may own the world, too; what the command owns is what is let go with it.
void expectWorldNotOwned(Trial& trial)
{
    const std::weak_ptr<CommandBase> command = trial.getCommand();
    const long ownersWithCommand = trial.getWorld().use_count();
    trial.forgetCommand();
    trial.getManager().clear();
    const long ownersWithout = trial.getWorld().use_count();
    if (command.expired() && ownersWithout < ownersWithCommand)
    {
        throw Mistake(
            "The command owns the world, so a history keeps the world alive; let the command find the world "
            "by a reference, or hold it by a weak pointer");
    }
}

void expectDescription(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    const Trial trial(subject, make);
    Mistake::guard("getDescription()", [&] { trial.getCommand()->getDescription(); });
}

// A command that the limit drops, or a new one behind undone ones.
void expectNoTraceOfDestruction(const CommandSubject& subject, const CommandSubject::Maker& make,
                                bool isUndone)
{
    Trial trial(subject, make);
    trial.addAsItMust("execute()");
    if (isUndone && trial.getManager().canUndo())
    {
        try
        {
            trial.undo("undo()");
        }
        catch (const Mistake&)
        {
            // Which roundTrip() tells.
            return;
        }
    }
    const Snapshot before = trial.takeSnapshot();
    trial.forgetCommand();
    trial.getManager().clear();
    const Snapshot after = trial.takeSnapshot();
    if (!(before == after))
    {
        throw Mistake(
            Mistake::tellChange(std::string("Destroying the ") + (isUndone ? "undone " : "") +
                                    "command changes the data, and a history drops commands at any time",
                                before, after));
    }
}

void expectDestroyed(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    std::weak_ptr<CommandBase> command;
    {
        Trial trial(subject, make);
        command = trial.getCommand();
        trial.addAsItMust("execute()");
        expectWorldNotOwned(trial);
    }
    if (!command.expired())
    {
        throw Mistake(
            "The command lives on after its manager and its world are gone: somebody else owns it, or it "
            "owns itself by way of something that it owns");
    }
}

} // namespace

Report Checks::misuse(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    Report report = Trial::begin("Misuse", subject, make);
    Mistake::collect(report,
                     [&]
                     {
                         expectDescription(subject, make);
                         expectOwnCommands(subject, make);
                         expectOnlyMade(subject, make);
                         expectDestroyed(subject, make);
                         expectNoTraceOfDestruction(subject, make, false);
                         expectNoTraceOfDestruction(subject, make, true);
                     });
    return report;
}

} // namespace Valdane

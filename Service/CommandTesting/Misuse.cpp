#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Trial.h"

#include <memory>
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

void expectUnchanged(const Snapshot& before, const Trial& trial, const std::string& sentence)
{
    const Snapshot after = trial.takeSnapshot();
    if (!(before == after))
    {
        throw Mistake(Mistake::tellChange(sentence, before, after));
    }
}

void expectOnlyMade(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    const Trial trial(subject);
    const Snapshot before = trial.takeSnapshot();
    expectUnchanged(
        before, trial,
        "Two snapshots of the same data differ; a snapshot must show the data only, and not change them");
    std::shared_ptr<CommandBase> command = trial.makeCommand(make);
    expectUnchanged(before, trial, "Making the command changes the data, and executing it would do so again");
    command.reset();
    expectUnchanged(before, trial, "Destroying the command, which was only made, changes the data");
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

// Whether the manager has undone the command; roundTrip() tells why not.
bool isUndone(Trial& trial)
{
    try
    {
        trial.undo("undo()");
        return true;
    }
    catch (const Mistake&)
    {
        return false;
    }
}

// Menus and histories ask at any time.
void expectDescriptions(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    Trial trial(subject, make);
    const auto ask = [&trial](const std::string& when)
    {
        Mistake::guard("getDescription()" + when, [&] { trial.getCommand()->getDescription(); });
    };
    ask("");
    trial.addAsItMust("execute()");
    ask(" after execute()");
    if (isUndone(trial))
    {
        ask(" after undo()");
    }
}

// An override of sendFinishSignal() may forget that of its base class.
void expectEndOfRunTold(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    Trial trial(subject, make);
    const auto command = std::dynamic_pointer_cast<ThreadedCommand>(trial.getCommand());
    if (command == nullptr)
    {
        return;
    }
    bool isTold = false;
    command->connectToRunFinishedSignal([&isTold](bool, const CommandBase*) { isTold = true; });
    trial.addThreaded("execute() by addThreadedCommand()");
    if (!isTold)
    {
        throw Mistake("sendFinishSignal() does not call that of the base class, so who waits for the end of "
                      "the run is not told");
    }
}

// A command that the limit drops, or a new one behind undone ones.
void expectNoTraceOfDestruction(const CommandSubject& subject, const CommandSubject::Maker& make, bool undoes)
{
    Trial trial(subject, make);
    trial.addAsItMust("execute()");
    if (undoes && !isUndone(trial))
    {
        return;
    }
    const Snapshot before = trial.takeSnapshot();
    trial.forgetCommand();
    trial.getManager().clear();
    expectUnchanged(before, trial,
                    std::string("Destroying the ") + (undoes ? "undone " : "") +
                        "command changes the data, and a history drops commands at any time");
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
                         expectOwnCommands(subject, make);
                         expectOnlyMade(subject, make);
                         expectDescriptions(subject, make);
                         expectEndOfRunTold(subject, make);
                         expectDestroyed(subject, make);
                         expectNoTraceOfDestruction(subject, make, false);
                         expectNoTraceOfDestruction(subject, make, true);
                     });
    return report;
}

} // namespace Valdane

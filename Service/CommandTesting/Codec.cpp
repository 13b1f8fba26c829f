#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Trial.h"

#include <memory>
#include <string>

namespace Valdane
{
namespace
{

std::shared_ptr<CommandBase> copyFor(const CommandSubject::World& world,
                                     const std::shared_ptr<CommandBase>& original,
                                     const CommandSubject::Codec& codec)
{
    std::shared_ptr<CommandBase> copy;
    Mistake::guard("The codec", [&] { copy = codec(*original, world); });
    if (copy == nullptr)
    {
        throw Mistake("The codec gives an empty pointer");
    }
    if (copy == original)
    {
        throw Mistake("The codec gives the command itself");
    }
    return copy;
}

void expectSameLook(const CommandBase& original, const CommandBase& copy)
{
    std::string expected;
    std::string found;
    Mistake::guard("getDescription()", [&] { expected = original.getDescription(); });
    Mistake::guard("getDescription() of the decoded command", [&] { found = copy.getDescription(); });
    if (expected != found)
    {
        throw Mistake("The decoded command is described as \"" + found + "\", not as \"" + expected + "\"");
    }
    if (original.getSpeedRate() != copy.getSpeedRate())
    {
        throw Mistake("The decoded command has the speed rate " + std::to_string(copy.getSpeedRate()) +
                      ", not " + std::to_string(original.getSpeedRate()));
    }
}

/// Undoes, redoes and undoes a command that is done.
void travelBack(const Trial& trial, CommandBase& done, const Snapshot& before, const Snapshot& after)
{
    Mistake::guard("undo() of the decoded command", [&] { done.undo(); });
    trial.expect(before, "After undo() of the decoded command", "as before execute()");
    bool isRedoCapable = false;
    Mistake::guard("isRedoCapable() of the decoded command", [&] { isRedoCapable = done.isRedoCapable(); });
    if (isRedoCapable)
    {
        Mistake::guard("redo() of the decoded command", [&] { done.redo(); });
        trial.expect(after, "After redo() of the decoded command", "as after execute()");
        Mistake::guard("The second undo() of the decoded command", [&] { done.undo(); });
        trial.expect(before, "After the second undo() of the decoded command", "as before execute()");
    }
}

void tryCodec(const CommandSubject& subject, const CommandSubject::Maker& make,
              const CommandSubject::Codec& codec, bool keepsUndo)
{
    Trial trial(subject, make);
    const Snapshot before = trial.takeSnapshot();
    trial.addAsItMust("execute()");
    const Snapshot after = trial.takeSnapshot();

    {
        const Trial looking(subject);
        const auto copy = copyFor(looking.getWorld(), trial.getCommand(), codec);
        expectSameLook(*trial.getCommand(), *copy);
        looking.expect(before, "When the command was decoded", "as before");
    }
    // Where the command is still to be done.
    {
        Trial later(subject, [&](const CommandSubject::World& world)
                    { return copyFor(world, trial.getCommand(), codec); });
        later.addAsItMust("execute() of the decoded command");
        later.expect(after, "After execute() of the decoded command", "as after that of the command");
        travelBack(later, *later.getCommand(), before, after);
    }
    // Where it is done already.
    if (keepsUndo)
    {
        Trial later(subject, make);
        later.addAsItMust("execute()");
        const auto copy = copyFor(later.getWorld(), trial.getCommand(), codec);
        later.expect(after, "When the command was decoded", "as before");
        travelBack(later, *copy, before, after);
    }

    trial.expect(after, "When the command was encoded", "as before");
    if (trial.getManager().canUndo())
    {
        trial.undo("undo() of the command that was encoded");
        trial.expect(before, "After undo() of the command that was encoded", "as before execute()");
    }
}

} // namespace

Report Checks::codec(const CommandSubject& subject, const CommandSubject::Maker& make,
                     const CommandSubject::Codec& codec, bool keepsUndo)
{
    Report report = Trial::begin("Codec", subject, make);
    Mistake::collect(report, [&] { tryCodec(subject, make, codec, keepsUndo); });
    return report;
}

} // namespace Valdane

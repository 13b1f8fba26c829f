#include "Service/CommandTesting/HistoryReplay.h"

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Choices.h"
#include "Service/CommandTesting/FailurePoints.h"
#include "Service/CommandTesting/Mistake.h"

#include <cstddef>
#include <iterator>
#include <utility>

namespace Valdane
{

HistoryReplay::HistoryReplay(const CommandSubject& playedSubject,
                             const std::vector<CommandSubject::Generator>& commandGenerators,
                             FailurePoints& failurePoints)
    : subject(playedSubject),
      generators(commandGenerators),
      points(failurePoints),
      trial(playedSubject),
      manager(trial.getManager()),
      states{{.snapshot = trial.takeSnapshot(), .path = {}}}
{
}

void HistoryReplay::play(const std::vector<HistoryStep>& steps)
{
    try
    {
        for (const HistoryStep& step : steps)
        {
            stepText = step.toText();
            played.push_back(describe(step, ""));
            playStep(step);
        }
        finish();
    }
    catch (const Mistake& mistake)
    {
        std::string text = mistake.what();
        text += (text.ends_with('\n') ? "" : "\n") + std::string("The history:");
        for (const std::string& line : played)
        {
            text += "\n" + line;
        }
        throw Mistake(text);
    }
}

void HistoryReplay::playStep(const HistoryStep& step)
{
    using enum HistoryStep::Kind;
    switch (step.kind)
    {
    case Add:
    case AddOrMerge:
    case AddFailing:
        add(step);
        return;
    case Undo:
    case Redo:
        undoOrRedo(step);
        return;
    case BeginGroup:
        manager.beginGroup("group");
        groups.push_back({.begin = getCurrent(), .now = getCurrent()});
        return;
    case EndGroup:
        endGroup();
        return;
    case AbandonGroup:
        abandonGroup();
        return;
    case Save:
        manager.adjustOnSave(0);
        return;
    case Limit:
        limit(static_cast<std::uint32_t>(step.number));
        return;
    }
}

/// So that each command of the history was undone and redone at least once.
void HistoryReplay::finish()
{
    while (!groups.empty())
    {
        stepText = "the end of the group";
        endGroup();
    }
    while (manager.canUndo())
    {
        stepText = "undo at the end";
        undoOrRedo(HistoryStep::undo(1));
    }
    while (manager.canRedo())
    {
        stepText = "redo at the end";
        undoOrRedo(HistoryStep::redo(1));
    }
}

void HistoryReplay::add(const HistoryStep& step)
{
    if (step.generator >= generators.size())
    {
        throw Mistake("There is no generator " + std::to_string(step.generator) + "; there are " +
                      std::to_string(generators.size()));
    }
    const Made made{.generator = step.generator, .seed = step.seed};
    std::shared_ptr<CommandBase> command;
    Mistake::guard("Making the command", [&] { command = makeCommand(trial.getWorld(), made); });
    if (command == nullptr)
    {
        return;
    }
    played.back() = describe(step, command->getLogDescription());
    const State before = getCurrent();
    if (!execute(step, command))
    {
        expect(before, "what they were before it, although the command has failed");
        return;
    }
    State after{.snapshot = trial.takeSnapshot(), .path = before.path};
    after.path.push_back(made);
    expectReplayed(after);
    const bool isTop = manager.getCommand(manager.getPosition() - 1) == command;
    enter(std::move(after), step.kind == HistoryStep::Kind::AddOrMerge && !isTop);
}

/// @return whether it was executed; false if it failed, in whatever way.
bool HistoryReplay::execute(const HistoryStep& step, const std::shared_ptr<CommandBase>& command)
{
    const bool isToFail = step.kind == HistoryStep::Kind::AddFailing;
    if (isToFail)
    {
        // A macro does not roll back for anything else.
        const bool isMacro = dynamic_cast<const MacroCommand*>(command.get()) != nullptr;
        points.arm(step.number, isMacro || step.seed % 2 == 0 ? FailurePoints::Kind::StandardException
                                                              : FailurePoints::Kind::Other);
    }
    bool isDone = false;
    try
    {
        isDone = step.kind == HistoryStep::Kind::AddOrMerge ? manager.addOrMergeCommand(command)
                                                            : manager.addCommand(command);
    }
    catch (...) // not a standard exception: the manager passes it on
    {
        isDone = false;
    }
    points.disarm();
    return isDone;
}

/// Takes note of the entry that a command has made, or was merged into.
void HistoryReplay::enter(State state, bool isMerged)
{
    if (!groups.empty())
    {
        groups.back().now = std::move(state);
        groups.back().hasCommands = true;
        return;
    }
    const std::uint64_t size = manager.getQueueSize();
    if (size == 0) // a limit of 0
    {
        states.clear();
        states.push_back(std::move(state));
    }
    else
    {
        states.erase(std::next(states.begin(), static_cast<std::ptrdiff_t>(position + (isMerged ? 0 : 1))),
                     states.end());
        states.push_back(std::move(state));
        states.erase(states.begin(), std::prev(states.end(), static_cast<std::ptrdiff_t>(size + 1)));
    }
    position = manager.getPosition();
}

void HistoryReplay::expectReplayed(const State& state) const
{
    Trial replay(subject);
    for (const Made& made : state.path)
    {
        std::shared_ptr<CommandBase> command;
        Mistake::guard("Making a command again", [&] { command = makeCommand(replay.getWorld(), made); });
        if (command == nullptr || !replay.getManager().addCommand(command))
        {
            throw Mistake("Executed from the start in a new world, a command of the generator " +
                          std::to_string(made.generator) +
                          " fails: it depends on more than the data, or an undo has left something behind");
        }
    }
    replay.expect(trial.takeSnapshot(), "Executed from the start in a new world, " + stepText + " included,",
                  "those of this history");
}

void HistoryReplay::undoOrRedo(const HistoryStep& step)
{
    // In a group the manager can do neither.
    for (std::uint64_t i = 0; i < step.number; ++i)
    {
        if (step.kind == HistoryStep::Kind::Undo && manager.canUndo())
        {
            undoOne();
        }
        else if (step.kind == HistoryStep::Kind::Redo && manager.canRedo())
        {
            redoOne();
        }
    }
}

void HistoryReplay::undoOne()
{
    trial.undo(stepText);
    position = manager.getPosition();
    // A command that is not redo-capable has emptied the redo queue.
    states.erase(std::next(states.begin(), static_cast<std::ptrdiff_t>(manager.getQueueSize() + 1)),
                 states.end());
    expect(getCurrent(), "what they were before the command");
}

void HistoryReplay::redoOne()
{
    trial.redo(stepText);
    position = manager.getPosition();
    expect(getCurrent(), "what they were after the command");
}

void HistoryReplay::endGroup()
{
    if (groups.empty())
    {
        return;
    }
    manager.endGroup();
    const Group ended = std::move(groups.back());
    groups.pop_back();
    if (ended.hasCommands)
    {
        enter(ended.now, false);
    }
}

void HistoryReplay::abandonGroup()
{
    if (groups.empty())
    {
        return;
    }
    if (!manager.abandonGroup())
    {
        throw Mistake(stepText + " fails, because a command cannot be undone");
    }
    const Group abandoned = std::move(groups.back());
    groups.pop_back();
    expect(abandoned.begin, "what they were when the group was opened");
}

void HistoryReplay::limit(std::uint32_t size)
{
    if (!groups.empty())
    {
        return;
    }
    const State now = getCurrent();
    manager.setUsesMaxQueueSize(true);
    manager.setMaxQueueSize(size);
    const std::uint64_t dropped = states.size() - 1 - manager.getQueueSize();
    if (dropped == position - manager.getPosition())
    {
        states.erase(states.begin(), std::next(states.begin(), static_cast<std::ptrdiff_t>(dropped)));
    }
    else // what could be redone, too
    {
        states.assign(1, now);
    }
    position = manager.getPosition();
}

void HistoryReplay::expect(const State& state, const std::string& asWhen) const
{
    trial.expect(state.snapshot, "After " + stepText, asWhen);
}

const HistoryReplay::State& HistoryReplay::getCurrent() const
{
    return groups.empty() ? states[position] : groups.back().now;
}

std::shared_ptr<CommandBase> HistoryReplay::makeCommand(const CommandSubject::World& world,
                                                        const Made& made) const
{
    Choices choices(made.seed);
    return generators[made.generator](world, choices);
}

std::string HistoryReplay::describe(const HistoryStep& step, const std::string& text) const
{
    return "  " + step.toText() + "," + (text.empty() ? "" : " // " + text);
}

Report Checks::replay(const CommandSubject& subject, const std::vector<CommandSubject::Generator>& generators,
                      const std::vector<HistoryStep>& steps, FailurePoints& points)
{
    Report report("History of " + std::to_string(steps.size()) + (steps.size() == 1 ? " step" : " steps"));
    Mistake::collect(report,
                     [&]
                     {
                         HistoryReplay replay(subject, generators, points);
                         replay.play(steps);
                     });
    return report;
}

} // namespace Valdane

#include "Service/CommandPattern/MergeableCommand.h"
#include "Tests/Support/Faults/ManagerSteps.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace Valdane::Faults::Groups
{
namespace
{

class GroupFaults : public testing::TestWithParam<ManagerRow>
{
};

TEST_P(GroupFaults, LeaveWhatIsPromised)
{
    failEverywhere(GetParam());
}

/// Takes in what comes after it, if that is a drag too.
class FaultyDrag : public FaultyCommand, public MergeableCommand
{
public:
    using FaultyCommand::FaultyCommand;

    void undo() override
    {
        FaultyCommand::undo();
        for (const char letter : further)
        {
            work.document.revert(letter);
        }
    }

    void redo() override
    {
        FaultyCommand::redo();
        for (const char letter : further)
        {
            work.document.apply(letter);
        }
    }

    bool mergeWith(const CommandBase& next) override
    {
        callOut(Callee::Work);
        const auto* const drag = dynamic_cast<const FaultyDrag*>(&next);
        if (drag == nullptr)
        {
            return false;
        }
        further += drag->work.letter;
        return true;
    }

private:
    std::string further;
};

std::shared_ptr<FaultyDrag> makeDrag(ManagerWorld& world, char letter)
{
    return std::make_shared<FaultyDrag>(letter, *world.document);
}

void addDrag(ManagerWorld& world)
{
    EXPECT_TRUE(world.manager.addCommand(makeDrag(world, 'd')));
}

void mergeX(ManagerWorld& world)
{
    world.answer = answerOf(world.manager.addOrMergeCommand(makeDrag(world, 'x')));
}

/// What is left of a merge that has failed: the command by itself.
void addXApart(ManagerWorld& world)
{
    world.manager.addCommand(makeDrag(world, 'x'));
}

void mergeFailing(ManagerWorld& world)
{
    const auto command = makeDrag(world, 'x');
    command->work.failsToApply = true;
    world.answer = answerOf(world.manager.addOrMergeCommand(command));
}

void listen(ManagerWorld& world)
{
    world.listenToHistory();
}

void save(ManagerWorld& world)
{
    world.manager.adjustOnSave(0);
}

void openGroup(ManagerWorld& world)
{
    world.manager.beginGroup("a group with a long description");
}

void endGroup(ManagerWorld& world)
{
    world.manager.endGroup();
}

void abandonGroup(ManagerWorld& world)
{
    world.answer = answerOf(world.manager.abandonGroup());
}

void forgetRedoCommands(ManagerWorld& world)
{
    world.manager.forgetRedoCommands();
}

/// A group of @p letters in the history @p before.
ManagerRow::Step group(const std::string& before, const std::string& letters)
{
    return both(both(filledWith(before), openGroup), filledWith(letters));
}

/// The same inside another group.
ManagerRow::Step innerGroup(const std::string& letters)
{
    return both(group("a", "g"), both(openGroup, filledWith(letters)));
}

ManagerRow::Step watched(const ManagerRow::Step& step)
{
    return both(listen, step);
}

void mergeInGroup(ManagerWorld& world)
{
    EXPECT_TRUE(world.manager.addCommandToMergeWithNextCommand(world.make('m'), false));
}

/// Adds a command that cannot be undone.
void addFixed(ManagerWorld& world)
{
    const auto command = world.make('f');
    command->work.failsToRevert = true;
    EXPECT_TRUE(world.manager.addCommand(command));
}

void startThread(ManagerWorld& world)
{
    world.manager.addThreadedCommand(world.makeThread('t'));
}

const std::vector<ManagerRow> mergingRows = {
    {.name = "Merging a command into the newest",
     .prepare = both(filledWith("a"), addDrag),
     .operation = mergeX,
     .mayLeave = {applied('x'), addXApart}},
    {.name = "Merging a command into the newest with a listener of the history",
     .prepare = watched(both(filledWith("a"), addDrag)),
     .operation = mergeX,
     .mayLeave = {applied('x'), addXApart}},
    {.name = "Merging a command that the newest does not take in",
     .prepare = filledWith("ab"),
     .operation = mergeX,
     .mayLeave = {applied('x'), addXApart}},
    {.name = "Merging a command after a save",
     .prepare = both(addDrag, save),
     .operation = mergeX,
     .mayLeave = {applied('x')}},
    {.name = "Merging a command while another one can be redone",
     .prepare = watched(both(addDrag, filledWith("B"))),
     .operation = mergeX,
     .mayLeave = {applied('x'), both(forgetRedoCommands, applied('x')), addXApart}},
    {.name = "Merging a command in a group",
     .prepare = watched(both(group("a", "b"), addDrag)),
     .operation = mergeX,
     .mayLeave = {applied('x'), addXApart}},
    {.name = "Merging a command that fails", .prepare = addDrag, .operation = mergeFailing},
};

const std::vector<ManagerRow> openingRows = {
    {.name = "Opening a group", .prepare = filledWith("aB"), .operation = openGroup, .callsOut = false},
    {.name = "Opening a group inside another",
     .prepare = group("a", "b"),
     .operation = openGroup,
     .callsOut = false},
    {.name = "Opening a group while a thread is running", .prepare = startThread, .operation = openGroup},
    {.name = "Adding a command to a group",
     .prepare = watched(both(group("aB", "c"), save)),
     .operation = addXApart,
     .mayLeave = {applied('x')}},
    {.name = "Adding a command to a group in which another one waits",
     .prepare = both(group("a", "b"), mergeInGroup),
     .operation = addXApart,
     .mayLeave = {applied('x')}},
    {.name = "Undo in a group", .prepare = group("a", "b"), .operation = undo(1)},
    {.name = "Taking the last command in a group",
     .prepare = group("a", "b"),
     .operation =
         [](ManagerWorld& world)
     {
         world.taken = world.manager.takeLastExecutedCommand();
     }},
};

const std::vector<ManagerRow> endingRows = {
    {.name = "Ending a group",
     .prepare = watched(group("aB", "xy")),
     .operation = endGroup,
     .mayLeave = {forgetRedoCommands, endGroup}},
    {.name = "Ending the first group", .prepare = group("", "xy"), .operation = endGroup},
    {.name = "Ending a group inside another",
     .prepare = innerGroup("xy"),
     .operation = endGroup,
     .callsOut = false},
    {.name = "Ending a group in which a command waits",
     .prepare = both(group("a", "x"), mergeInGroup),
     .operation = endGroup},
    {.name = "Ending a group for which commands wait",
     .prepare = both(both(fillToMerge, openGroup), filledWith("xy")),
     .operation = endGroup},
    {.name = "Ending an empty group",
     .prepare = group("aB", ""),
     .operation = endGroup,
     .callsOut = false,
     .allocates = false},
    {.name = "Ending no group", .prepare = filledWith("aB"), .operation = endGroup},
};

const std::vector<ManagerRow> abandoningRows = {
    {.name = "Abandoning a group",
     .prepare = watched(both(group("aB", "x"), save)),
     .operation = abandonGroup,
     .mayLeave = {reverted('x')}},
    {.name = "Abandoning a group of two",
     .prepare = group("a", "xy"),
     .operation = abandonGroup,
     .mayLeave = {reverted('y'), reverted('x'), both(reverted('y'), reverted('x'))}},
    {.name = "Abandoning a group inside another",
     .prepare = innerGroup("x"),
     .operation = abandonGroup,
     .mayLeave = {reverted('x')}},
    {.name = "Abandoning a group in which a command waits",
     .prepare = both(group("a", ""), mergeInGroup),
     .operation = abandonGroup,
     .mayLeave = {reverted('m')}},
    {.name = "Abandoning a group that cannot be undone",
     .prepare = both(group("a", ""), addFixed),
     .operation = abandonGroup},
    {.name = "Abandoning an empty group",
     .prepare = group("aB", ""),
     .operation = abandonGroup,
     .callsOut = false,
     .allocates = false},
    {.name = "Abandoning no group", .prepare = filledWith("aB"), .operation = abandonGroup},
};

void takeAndLose(ManagerWorld& world)
{
    world.manager.takeLastExecutedCommand();
}

const std::vector<ManagerRow> watchedRows = {
    {.name = "Taking the last command with a listener of the history",
     .prepare = watched(fillAndSave),
     .operation = [](ManagerWorld& world) { world.taken = world.manager.takeLastExecutedCommand(); },
     .mayLeave = {takeAndLose},
     .leftByListeners = takeAndLose},
    {.name = "Forgetting what could be redone",
     .prepare = filledWith("aBC"),
     .operation = forgetRedoCommands,
     .callsOut = false,
     .allocates = false},
    {.name = "Forgetting what could be redone with a listener of the history",
     .prepare = watched(filledWith("aBC")),
     .operation = forgetRedoCommands,
     .mayLeave = {forgetRedoCommands}},
    {.name = "Forgetting nothing with a listener of the history",
     .prepare = watched(filledWith("a")),
     .operation = forgetRedoCommands,
     .callsOut = false,
     .allocates = false},
};

INSTANTIATE_TEST_SUITE_P(Merging, GroupFaults, testing::ValuesIn(mergingRows), nameOfTest<ManagerWorld>);
INSTANTIATE_TEST_SUITE_P(Opening, GroupFaults, testing::ValuesIn(openingRows), nameOfTest<ManagerWorld>);
INSTANTIATE_TEST_SUITE_P(Ending, GroupFaults, testing::ValuesIn(endingRows), nameOfTest<ManagerWorld>);
INSTANTIATE_TEST_SUITE_P(Abandoning, GroupFaults, testing::ValuesIn(abandoningRows),
                         nameOfTest<ManagerWorld>);
INSTANTIATE_TEST_SUITE_P(Watched, GroupFaults, testing::ValuesIn(watchedRows), nameOfTest<ManagerWorld>);

} // namespace
} // namespace Valdane::Faults::Groups

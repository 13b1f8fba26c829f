#include "Tests/Support/Faults/ManagerSteps.h"

#include <gtest/gtest.h>

#include <vector>

namespace Valdane::Faults
{
namespace
{

class HistoryFaults : public testing::TestWithParam<ManagerRow>
{
};

TEST_P(HistoryFaults, LeaveWhatIsPromised)
{
    failEverywhere(GetParam());
}

/// What it leaves that a command cannot tell whether it is redo-capable: it counts as one that is not, but
/// the marks of the modules stay.
void undoneForGood(ManagerWorld& world)
{
    const auto modified = world.document->modified;
    world.document->isRedoCapable = false;
    world.manager.undo(1);
    world.document->isRedoCapable = true;
    world.document->modified = modified;
}

void fillWithFailingUndo(ManagerWorld& world)
{
    world.fill("aC");
    const auto command = world.make('b');
    command->work.failsToRevert = true;
    world.manager.addCommand(command);
}

void fillWithFailingRedo(ManagerWorld& world)
{
    world.fill("a");
    const auto command = world.make('b');
    world.manager.addCommand(command);
    world.manager.undo(1);
    command->work.failsToApply = true;
}

void fillWithoutRedo(ManagerWorld& world)
{
    world.fill("a");
    const auto command = world.make('b');
    command->work.redoCapable = false;
    world.manager.addCommand(command);
    world.fill("C");
}

void stopTracing(ManagerWorld& /*world*/)
{
    Services::stopTracing();
}

/// What cannot be told of a command is no matter of memory.
ManagerRow::Steps undoneForGoodByCallee()
{
    return everyCalleeCanFail ? ManagerRow::Steps{undoneForGood} : ManagerRow::Steps{};
}

void undoAll(ManagerWorld& world)
{
    world.manager.undoAll();
}

void redoAll(ManagerWorld& world)
{
    world.manager.redoAll();
}

const std::vector<ManagerRow> undoRows = {
    {.name = "Undo of one command",
     .prepare = filledWith("abC"),
     .operation = undo(1),
     .mayLeave = {reverted('b'), undoneForGood}},
    {.name = "Undo of the only command",
     .prepare = filledWith("a"),
     .operation = undo(1),
     .mayLeave = {reverted('a'), undoneForGood}},
    {.name = "Undo without traces into an empty queue",
     .prepare = both(filledWith("ab"), stopTracing),
     .operation = undo(1),
     .mayLeave = undoneForGoodByCallee()},
    {.name = "Undo past a save point",
     .prepare = fillAndSave,
     .operation = undo(2),
     .mayLeave = {reverted('b'), undoneForGood, undo(1), both(undo(1), reverted('a')),
                  both(undo(1), undoneForGood)}},
    {.name = "Undo at the limit",
     .prepare = fillToTheLimit,
     .operation = undo(1),
     .mayLeave = {reverted('c'), undoneForGood}},
    {.name = "Undo while commands wait to be merged",
     .prepare = fillToMerge,
     .operation = undo(1),
     .mayLeave = {reverted('b'), undoneForGood}},
    {.name = "Undo of a command that is not redo-capable",
     .prepare = fillWithoutRedo,
     .operation = undo(1),
     .mayLeave = {reverted('b'), undoneForGood}},
    {.name = "Undo of a command that fails", .prepare = fillWithFailingUndo, .operation = undo(1)},
    {.name = "Undo of everything",
     .prepare = filledWith("abC"),
     .operation = undoAll,
     .mayLeave = {[](ManagerWorld&) {}, reverted('b'), undoneForGood, undo(1), both(undo(1), reverted('a')),
                  both(undo(1), undoneForGood)}},
};

const std::vector<ManagerRow> redoRows = {
    {.name = "Redo of one command",
     .prepare = filledWith("aBC"),
     .operation = redo(1),
     .mayLeave = {applied('b')}},
    {.name = "Redo of the only command",
     .prepare = filledWith("A"),
     .operation = redo(1),
     .mayLeave = {applied('a')}},
    {.name = "Redo without traces into an empty queue",
     .prepare = both(filledWith("A"), stopTracing),
     .operation = redo(1)},
    {.name = "Redo up to a save point",
     .prepare = both(fillAndSave, undo(2)),
     .operation = redo(2),
     .mayLeave = {applied('a'), redo(1), both(redo(1), applied('b'))}},
    {.name = "Redo at the limit",
     .prepare = both(fillToTheLimit, undo(2)),
     .operation = redo(1),
     .mayLeave = {applied('b')}},
    {.name = "Redo of a command that fails", .prepare = fillWithFailingRedo, .operation = redo(1)},
    {.name = "Redo of everything",
     .prepare = filledWith("aBC"),
     .operation = redoAll,
     .mayLeave = {[](ManagerWorld&) {}, applied('b'), redo(1), both(redo(1), applied('c'))}},
};

const std::vector<ManagerRow> clearingRows = {
    {.name = "Clearing",
     .prepare = fillAndSave,
     .operation =
         [](ManagerWorld& world)
     {
         world.manager.clear();
     }},
    {.name = "Clearing while commands wait to be merged",
     .prepare = fillToMerge,
     .operation =
         [](ManagerWorld& world)
     {
         world.manager.clear();
     }},
    {.name = "Clearing of nothing",
     .operation = [](ManagerWorld& world) { world.manager.clear(); },
     .allocates = false},
    {.name = "Taking the last command",
     .prepare = fillAndSave,
     .operation = [](ManagerWorld& world) { world.taken = world.manager.takeLastExecutedCommand(); },
     .callsOut = false,
     .allocates = false},
    {.name = "Taking all commands",
     .prepare = fillAndSave,
     .operation = [](ManagerWorld& world) { world.taken = world.manager.takeExecutedCommands(); },
     .mayLeave = {[](ManagerWorld& world)
                  {
                      world.manager.takeExecutedCommands();
                  }}},
    {.name = "A smaller limit",
     .prepare = fillToTheLimit,
     .operation = [](ManagerWorld& world) { world.manager.setMaxQueueSize(1); },
     .callsOut = false,
     .allocates = false},
    {.name = "A limit that is too small for the redo queue",
     .prepare = both(fillToTheLimit, undo(2)),
     .operation = [](ManagerWorld& world) { world.manager.setMaxQueueSize(1); },
     .callsOut = false,
     .allocates = false},
    {.name = "Using the limit",
     .prepare =
         [](ManagerWorld& world)
     {
         world.fill("abcD");
         world.manager.setMaxQueueSize(2);
     },
     .operation = [](ManagerWorld& world) { world.manager.setUsesMaxQueueSize(true); },
     .callsOut = false,
     .allocates = false},
};

INSTANTIATE_TEST_SUITE_P(Undo, HistoryFaults, testing::ValuesIn(undoRows), nameOfTest<ManagerWorld>);
INSTANTIATE_TEST_SUITE_P(Redo, HistoryFaults, testing::ValuesIn(redoRows), nameOfTest<ManagerWorld>);
INSTANTIATE_TEST_SUITE_P(Clearing, HistoryFaults, testing::ValuesIn(clearingRows), nameOfTest<ManagerWorld>);

} // namespace
} // namespace Valdane::Faults

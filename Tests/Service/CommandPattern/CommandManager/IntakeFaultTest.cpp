#include "Tests/Support/Faults/ManagerSteps.h"

#include <gtest/gtest.h>

#include <vector>

namespace Valdane::Faults::Intake
{
namespace
{

class IntakeFaults : public testing::TestWithParam<ManagerRow>
{
};

TEST_P(IntakeFaults, LeaveWhatIsPromised)
{
    failEverywhere(GetParam());
}

void addX(ManagerWorld& world)
{
    world.answer = answerOf(world.manager.addCommand(world.make('x')));
}

void addFailing(ManagerWorld& world)
{
    const auto command = world.make('x');
    command->work.failsToApply = true;
    world.answer = answerOf(world.manager.addCommand(command));
}

void addExecutedX(ManagerWorld& world)
{
    world.manager.addExecutedCommand(world.make('x'));
}

void mergeX(ManagerWorld& world)
{
    world.answer = answerOf(world.manager.addCommandToMergeWithNextCommand(world.make('x'), true));
}

void mergeFailing(ManagerWorld& world)
{
    const auto command = world.make('x');
    command->work.failsToApply = true;
    world.answer = answerOf(world.manager.addCommandToMergeWithNextCommand(command, true));
}

/// Adds a command whose modules cannot be marked, so that the limit is not applied.
void addPastTheLimit(ManagerWorld& world)
{
    class Unmarkable : public ModuleAccessInterface
    {
    public:
        explicit Unmarkable(Document& modules) : document(modules) {}

        std::set<const Object*> getModifiedModulesFromBusiness() override
        {
            return document.modified;
        }

        void markAllModulesInBusinessAsUnmodified() override
        {
            document.modified.clear();
            throw Stranger();
        }

    private:
        Document& document;
    };

    world.manager.setModuleAccessInterface(std::make_shared<Unmarkable>(*world.document));
    EXPECT_THROW(addX(world), Stranger);
    EXPECT_EQ(world.manager.getQueueSize(), world.manager.getMaxQueueSize() + 1);
    world.manager.setModuleAccessInterface(world.document);
}

const std::vector<ManagerRow> addingRows = {
    {.name = "Adding the first command", .operation = addX, .mayLeave = {applied('x')}},
    {.name = "Adding a command to a history",
     .prepare = filledWith("abC"),
     .operation = addX,
     .mayLeave = {applied('x'), both(forgetRedo, applied('x'))}},
    {.name = "Adding a command where all is undone",
     .prepare = filledWith("AB"),
     .operation = addX,
     .mayLeave = {applied('x'), both(forgetRedo, applied('x'))}},
    {.name = "Adding a command after a save point",
     .prepare = fillAndSave,
     .operation = addX,
     .mayLeave = {applied('x'), both(forgetRedo, applied('x'))}},
    {.name = "Adding a command at the limit",
     .prepare = fillToTheLimit,
     .operation = addX,
     .mayLeave = {applied('x'), addPastTheLimit}},
    {.name = "Adding a command with which others are merged",
     .prepare = fillToMerge,
     .operation = addX,
     .mayLeave = {applied('x')}},
    {.name = "Adding a command that fails", .prepare = filledWith("abC"), .operation = addFailing},
};

const std::vector<ManagerRow> executedRows = {
    {.name = "Adding an executed command",
     .prepare = both(filledWith("abC"), applied('x')),
     .operation = addExecutedX,
     .mayLeave = {forgetRedo}},
    {.name = "Adding an executed command at the limit",
     .prepare = both(fillToTheLimit, applied('x')),
     .operation = addExecutedX,
     .mayLeave = {[](ManagerWorld& world)
                  {
                      world.document->revert('x');
                      addPastTheLimit(world);
                  }}},
    {.name = "Adding an executed command with which others are merged",
     .prepare = both(fillToMerge, applied('x')),
     .operation = addExecutedX},
};

const std::vector<ManagerRow> mergingRows = {
    {.name = "A first command to be merged",
     .prepare = filledWith("abC"),
     .operation = mergeX,
     .mayLeave = {applied('x')}},
    {.name = "A further command to be merged",
     .prepare = fillToMerge,
     .operation = mergeX,
     .mayLeave = {applied('x')}},
    {.name = "A command to be merged that fails", .prepare = fillToMerge, .operation = mergeFailing},
};

INSTANTIATE_TEST_SUITE_P(Adding, IntakeFaults, testing::ValuesIn(addingRows), nameOfTest<ManagerWorld>);
INSTANTIATE_TEST_SUITE_P(Executed, IntakeFaults, testing::ValuesIn(executedRows), nameOfTest<ManagerWorld>);
INSTANTIATE_TEST_SUITE_P(Merging, IntakeFaults, testing::ValuesIn(mergingRows), nameOfTest<ManagerWorld>);

} // namespace
} // namespace Valdane::Faults::Intake

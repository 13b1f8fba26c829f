#include "Service/CommandPattern/ClearDynamicAttributesCmd.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/SetAttributecommandFactory.h"
#include "Service/CommandPattern/SetNameCmd.h"
#include "Tests/Support/Faults/FailEverywhere.h"
#include "Tree.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace Valdane::Faults::ObjectCommands
{
namespace
{

const std::string newText = "a text of some length";

/// A tree, and a command that edits it.
class TreeWorld
{
public:
    static int livingCommands()
    {
        return 0;
    }

    static bool succeeded()
    {
        return true;
    }

    /// The thing now, and after the command has been gone on with.
    std::string takeState()
    {
        std::string state = "now: " + present();
        if (command != nullptr)
        {
            command->execute();
            state += "\nexecuted: " + present();
            command->undo();
            state += "\nundone: " + present();
        }
        return state;
    }

    Services services;
    Tree tree;
    std::unique_ptr<CommandBase> command;
    Answer answer = Answer::None;

private:
    std::string present() const
    {
        NamedThing& thing = *tree.thing;
        const auto collection = thing.getDynamicAttributeCollection();
        // One reference is this one.
        return thing.name + ", " + thing.text + (thing.isApplyStandardRunning() ? ", standard" : "") +
               (collection == nullptr ? ", no attributes"
                                      : ", attributes held by " + std::to_string(collection.use_count() - 1));
    }
};

using Row = FaultRow<TreeWorld>;

class ObjectFaults : public testing::TestWithParam<Row>
{
};

TEST_P(ObjectFaults, LeaveWhatIsPromised)
{
    failEverywhere(GetParam());
}

Row::Step both(const Row::Step& first, const Row::Step& second)
{
    return [=](TreeWorld& world)
    {
        first(world);
        second(world);
    };
}

void makeSetName(TreeWorld& world)
{
    world.command = std::make_unique<SetNameCmd>(world.tree.thing, newText, newText);
}

void makeClear(TreeWorld& world)
{
    world.command = std::make_unique<ClearDynamicAttributesCmd>(world.tree.thing, newText);
}

void makeSetText(TreeWorld& world)
{
    world.command = std::make_unique<SetAttributeCmd<std::string>>(world.tree.root,
                                                                   world.tree.attributePath(), newText, "");
}

/// Makes the command and lets it go.
Row::Step tryOut(const Row::Step& make)
{
    return [make](TreeWorld& world)
    {
        make(world);
        world.command = nullptr;
    };
}

void create(TreeWorld& world)
{
    SetAttributecommandFactory factory(world.tree.thing);
    factory.createCommand(world.tree.attribute.get(), newText, newText);
}

void execute(TreeWorld& world)
{
    world.command->execute();
}

void undo(TreeWorld& world)
{
    world.command->undo();
}

void nothing(TreeWorld& /*world*/) {}

void startStandard(TreeWorld& world)
{
    world.tree.thing->setApplyStandardRunning(true);
}

void endStandard(TreeWorld& world)
{
    world.tree.thing->setApplyStandardRunning(false);
}

const std::vector<Row> rows = {
    {.name = "Making a rename", .operation = tryOut(makeSetName)},
    {.name = "Renaming", .prepare = makeSetName, .operation = execute},
    {.name = "Undoing a rename", .prepare = both(makeSetName, execute), .operation = undo},
    {.name = "Making a clearing", .operation = tryOut(makeClear)},
    {.name = "Clearing", .prepare = makeClear, .operation = execute, .leftByListeners = nothing},
    {.name = "Undoing a clearing",
     .prepare = both(makeClear, execute),
     .operation = undo,
     .mayLeave = {undo}},
    {.name = "Making a setting", .operation = tryOut(makeSetText)},
    {.name = "Setting",
     .prepare = makeSetText,
     .operation = execute,
     .mayLeave = {execute},
     .leftByListeners = nothing},
    {.name = "Undoing a setting",
     .prepare = both(makeSetText, execute),
     .operation = undo,
     .mayLeave = {undo}},
    {.name = "Undoing a setting of a standard value",
     .prepare = both(both(makeSetText, startStandard), both(execute, endStandard)),
     .operation = undo,
     .mayLeave = {undo, both(undo, startStandard)}},
    {.name = "Creating a command", .operation = create},
};

INSTANTIATE_TEST_SUITE_P(All, ObjectFaults, testing::ValuesIn(rows), nameOfTest<TreeWorld>);

} // namespace
} // namespace Valdane::Faults::ObjectCommands

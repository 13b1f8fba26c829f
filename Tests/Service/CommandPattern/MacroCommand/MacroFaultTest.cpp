#include "Service/CommandPattern/MacroCommand.h"
#include "Tests/Support/Faults/FailEverywhere.h"
#include "Tests/Support/Faults/FaultyCommands.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace Valdane::Faults::Macros
{
namespace
{

/// A macro of three commands, outside of any manager.
class MacroWorld
{
public:
    MacroWorld()
    {
        for (const char letter : {'a', 'b', 'c'})
        {
            commands.push_back(std::make_shared<FaultyCommand>(letter, *document));
            macro.addCommand(commands.back());
        }
    }

    static int livingCommands()
    {
        return Counted::living;
    }

    static bool succeeded()
    {
        return true;
    }

    /// What is in the macro and what is applied, now and after the macro has been gone on with.
    std::string takeState()
    {
        for (const auto& command : commands)
        {
            command->work.failsToApply = false;
            command->work.failsToRevert = false;
        }
        std::string state = "now: " + present();
        macro.undo();
        state += "\nundone: " + present();
        macro.redo();
        return state + "\nredone: " + present();
    }

    Services services;
    std::shared_ptr<Document> document = std::make_shared<Document>();
    MacroCommand macro{descriptionOf('t')};
    std::vector<std::shared_ptr<FaultyCommand>> commands;
    std::shared_ptr<FaultyCommand> added = std::make_shared<FaultyCommand>('x', *document);
    MacroCommand::CommandList list{added, added};
    Answer answer = Answer::None;

private:
    std::string present() const
    {
        std::string text = macro.getUseForwardUndoOrder() ? "forward " : "backward ";
        for (const auto& command : macro)
        {
            text += command->getDescription().back();
        }
        return text + " applied " + document->text();
    }
};

using Row = FaultRow<MacroWorld>;

class MacroFaults : public testing::TestWithParam<Row>
{
};

TEST_P(MacroFaults, LeaveWhatIsPromised)
{
    failEverywhere(GetParam());
}

/// What is left when exactly these are applied.
Row::Step applied(const std::string& letters)
{
    return [letters](MacroWorld& world)
    {
        for (char letter = 'a'; letter <= 'x'; ++letter)
        {
            world.document->applied(letter) = letters.find(letter) != std::string::npos ? 1 : 0;
        }
    };
}

Row::Step both(const Row::Step& first, const Row::Step& second)
{
    return [=](MacroWorld& world)
    {
        first(world);
        second(world);
    };
}

void useForwardOrder(MacroWorld& world)
{
    world.macro.setUseForwardUndoOrder(true);
}

void makeLastFail(MacroWorld& world)
{
    world.commands.back()->work.failsToApply = true;
    world.added->work.failsToApply = true;
}

void makeFirstFailToUndo(MacroWorld& world)
{
    world.commands.front()->work.failsToRevert = true;
}

void execute(MacroWorld& world)
{
    world.macro.execute();
}

void undo(MacroWorld& world)
{
    world.macro.undo();
}

void redo(MacroWorld& world)
{
    world.macro.redo();
}

void executeAndAdd(MacroWorld& world)
{
    world.macro.executeAndAdd(world.added);
}

const std::vector<Row> runRows = {
    {.name = "Executing",
     .operation = execute,
     .mayLeave = {applied("a"), applied("b"), applied("c"), applied("ab"), applied("abc")}},
    {.name = "Executing where the last one fails",
     .prepare = makeLastFail,
     .operation = execute,
     .mayLeave = {applied("a"), applied("b"), applied("ab")}},
    {.name = "Executing where the last one fails in forward order",
     .prepare = both(makeLastFail, useForwardOrder),
     .operation = execute,
     .mayLeave = {applied("a"), applied("b"), applied("ab")}},
    {.name = "Undoing",
     .prepare = applied("abc"),
     .operation = undo,
     .mayLeave = {applied("ab"), applied("ac"), applied("bc"), applied("a"), applied("")}},
    {.name = "Undoing in forward order",
     .prepare = both(applied("abc"), useForwardOrder),
     .operation = undo,
     .mayLeave = {applied("ab"), applied("ac"), applied("bc"), applied("c"), applied("")}},
    {.name = "Undoing where the first one fails",
     .prepare = both(applied("abc"), makeFirstFailToUndo),
     .operation = undo,
     .mayLeave = {applied("ab"), applied("ac"), applied("a")}},
    {.name = "Redoing",
     .operation = redo,
     .mayLeave = {applied("a"), applied("b"), applied("c"), applied("ab"), applied("abc")}},
    {.name = "Executing and adding",
     .prepare = applied("abc"),
     .operation = executeAndAdd,
     .mayLeave = {applied("x"), applied(""), applied("abcx")}},
};

const std::vector<Row> listRows = {
    {.name = "Adding",
     .operation = [](MacroWorld& world) { world.macro.addCommand(world.added); },
     .callsOut = false},
    {.name = "Adding to the front",
     .operation = [](MacroWorld& world) { world.macro.addCommandToFront(world.added); },
     .callsOut = false},
    {.name = "Adding a list",
     .operation = [](MacroWorld& world) { world.macro.addCommands(world.list); },
     .callsOut = false},
    {.name = "Removing and looking",
     .operation =
         [](MacroWorld& world)
     {
         world.macro.removeLastCommand();
         EXPECT_EQ(world.macro.getFirstCommand(), world.commands.front());
         EXPECT_EQ(world.macro.getLastCommand(), world.commands.at(1));
         EXPECT_EQ(world.macro.size(), 2U);
         world.macro.clear();
         EXPECT_TRUE(world.macro.empty());
     },
     .callsOut = false,
     .allocates = false},
    {.name = "One command of a list",
     .operation = [](MacroWorld& world) { MacroCommand::getOrCreateSingleCommand(world.list); },
     .callsOut = false},
    {.name = "Asking for description and redo",
     .operation =
         [](MacroWorld& world)
     {
         world.macro.setDescription("");
         EXPECT_EQ(&world.macro.getDescription(), &world.commands.front()->getDescription());
         EXPECT_TRUE(world.macro.isRedoCapable());
         world.macro.getSpeedRate();
     },
     .allocates = false},
    {.name = "Moving",
     .operation =
         [](MacroWorld& world)
     {
         MacroCommand other(std::move(world.macro));
         world.macro = std::move(other);
     },
     .callsOut = false,
     .allocates = false},
};

INSTANTIATE_TEST_SUITE_P(Run, MacroFaults, testing::ValuesIn(runRows), nameOfTest<MacroWorld>);
INSTANTIATE_TEST_SUITE_P(List, MacroFaults, testing::ValuesIn(listRows), nameOfTest<MacroWorld>);

} // namespace
} // namespace Valdane::Faults::Macros

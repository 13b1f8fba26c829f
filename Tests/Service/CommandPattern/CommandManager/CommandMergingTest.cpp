#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace Valdane
{
namespace
{

using testing::Pair;
using ValdaneTests::ElementsAre;

using Values = std::map<std::string, int>;

/// Sets a value, and sets it back to what it found.
class SetValueCmd : public CommandBase
{
public:
    SetValueCmd(Values& valuesToEdit, const std::string& valueName, int newValue)
        : CommandBase("Set " + valueName), values(valuesToEdit), name(valueName), value(newValue)
    {
    }

    void execute() override
    {
        if (value < 0)
        {
            throw std::invalid_argument("negative");
        }
        std::swap(values[name], value);
    }

    void undo() override
    {
        std::swap(values[name], value);
    }

private:
    Values& values;
    std::string name;
    int value;
};

class CommandMerging : public testing::Test
{
protected:
    std::shared_ptr<CommandBase> set(const std::string& name, int value)
    {
        return std::make_shared<SetValueCmd>(values, name, value);
    }

    Values values = {{"a", 0}, {"b", 0}};
    CommandManager manager;
};

TEST_F(CommandMerging, MergedCommandsTakeEffectAtOnceAndAreUndoneTogether)
{
    EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(set("a", 1), false));
    EXPECT_THAT(values, ElementsAre(Pair("a", 1), Pair("b", 0)));
    EXPECT_FALSE(manager.canUndo());
    EXPECT_TRUE(manager.addCommand(set("b", 2)));
    EXPECT_EQ(manager.getQueueSize(), 1U);
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("Set b"));

    EXPECT_TRUE(manager.undo(1));
    EXPECT_THAT(values, ElementsAre(Pair("a", 0), Pair("b", 0)));
    EXPECT_TRUE(manager.redo(1));
    EXPECT_THAT(values, ElementsAre(Pair("a", 1), Pair("b", 2)));
}

/// The newest command stands first in the macro, so that it is undone first only in the forward order.
TEST_F(CommandMerging, ACommandThatBuildsOnTheOneMergedIntoItNeedsTheForwardOrder)
{
    manager.addCommandToMergeWithNextCommand(set("a", 1), true);
    manager.addCommand(set("a", 2));
    EXPECT_TRUE(manager.undo(1));
    EXPECT_EQ(values["a"], 0);

    manager.addCommandToMergeWithNextCommand(set("a", 1), false);
    manager.addCommand(set("a", 2));
    EXPECT_TRUE(manager.undo(1));
    EXPECT_EQ(values["a"], 1);
}

TEST_F(CommandMerging, AFailingCommandIsReportedAndLeavesWhatWaitsToTheNextOne)
{
    std::string failure;
    const Signals::Connection connection = manager.connectToSigCommandFailed(
        [&](const char* what, const std::string& description) { failure = description + ": " + what; });
    manager.addCommandToMergeWithNextCommand(set("a", 1), false);

    EXPECT_FALSE(manager.addCommandToMergeWithNextCommand(set("a", -1), false));
    EXPECT_EQ(failure, "Set a: negative");
    EXPECT_FALSE(manager.addCommand(set("b", -1)));
    EXPECT_FALSE(manager.canUndo());

    EXPECT_TRUE(manager.addCommand(set("b", 1)));
    EXPECT_TRUE(manager.undo(1));
    EXPECT_THAT(values, ElementsAre(Pair("a", 0), Pair("b", 0)));
}

TEST_F(CommandMerging, TakenCommandsCanBeUndoneAndQueuedAsOne)
{
    manager.addCommand(set("a", 1));
    manager.addCommand(set("a", 2));
    manager.addCommand(set("b", 3));
    const std::shared_ptr<MacroCommand> taken = manager.takeExecutedCommands();
    ASSERT_EQ(taken->size(), 3U);
    EXPECT_EQ(manager.getQueueSize(), 0U);

    manager.addExecutedCommand(taken);
    EXPECT_EQ(manager.getQueueSize(), 1U);
    EXPECT_TRUE(manager.undo(1));
    EXPECT_THAT(values, ElementsAre(Pair("a", 0), Pair("b", 0)));
    EXPECT_TRUE(manager.redo(1));
    EXPECT_THAT(values, ElementsAre(Pair("a", 2), Pair("b", 3)));
}

TEST_F(CommandMerging, TheLastCommandCanBeTakenAndUndoneByItsCaller)
{
    manager.addCommand(set("a", 1));
    manager.addCommand(set("a", 2));
    manager.takeLastExecutedCommand()->undo();
    EXPECT_EQ(values["a"], 1);
    EXPECT_TRUE(manager.undo(1));
    EXPECT_EQ(values["a"], 0);
}

TEST_F(CommandMerging, ManyCommandsAreMergedIntoOne)
{
    for (int i = 1; i <= 10'000; ++i)
    {
        manager.addCommandToMergeWithNextCommand(set("a" + std::to_string(i), i), false);
    }
    manager.addCommand(set("b", 1));
    EXPECT_EQ(values["a10000"], 10'000);
    EXPECT_TRUE(manager.undo(1));
    EXPECT_EQ(values["a10000"], 0);
    EXPECT_EQ(values["a1"], 0);
    EXPECT_EQ(values["b"], 0);
}

} // namespace
} // namespace Valdane

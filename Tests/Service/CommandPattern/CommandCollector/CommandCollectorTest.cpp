#include "Service/CommandPattern/CommandCollector.h"

#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

class AppendLetterCmd : public CommandBase
{
public:
    AppendLetterCmd(std::string& textToEdit, char letterToAppend) : text(textToEdit), letter(letterToAppend)
    {
    }

    void execute() override
    {
        if (letter == '!')
        {
            throw std::invalid_argument("not a letter");
        }
        text += letter;
    }

    void undo() override
    {
        text.pop_back();
    }

private:
    std::string& text;
    char letter;
};

class Recording : public testing::Test
{
protected:
    void append(CommandManager& manager, const std::string& letters)
    {
        for (const char letter : letters)
        {
            manager.addCommand(std::make_shared<AppendLetterCmd>(text, letter));
        }
    }

    std::string text;
    CommandManager target;
    std::unique_ptr<CommandCollector> collector = std::make_unique<CommandCollector>(target);
};

TEST_F(Recording, IsOneMacroThatUndoesAndRedoesEverything)
{
    collector->connect(true);
    append(*collector->getCommandManager(), "abc");
    EXPECT_EQ(target.getQueueSize(), 3U);

    const std::shared_ptr<MacroCommand> recorded = collector->getExecutedCommands();
    EXPECT_EQ(target.getQueueSize(), 0U);
    EXPECT_EQ(recorded->size(), 3U);
    target.addExecutedCommand(recorded);
    EXPECT_TRUE(target.undo(1));
    EXPECT_EQ(text, "");
    EXPECT_TRUE(target.redo(1));
    EXPECT_EQ(text, "abc");
}

TEST_F(Recording, IsUndoneInTheTargetAndNotInTheCollectorsManager)
{
    collector->connect(true);
    append(*collector->getCommandManager(), "abc");

    EXPECT_TRUE(collector->getCommandManager()->undo(3));
    EXPECT_EQ(text, "abc");
    EXPECT_TRUE(target.undo(2));
    EXPECT_EQ(text, "a");
    EXPECT_EQ(collector->getExecutedCommands()->size(), 1U);
}

TEST_F(Recording, HasNoCommandThatFailed)
{
    collector->connect(true);
    append(*collector->getCommandManager(), "a!b");
    EXPECT_EQ(text, "ab");
    EXPECT_EQ(collector->getExecutedCommands()->size(), 2U);
}

TEST_F(Recording, StartsAndStopsWithTheConnection)
{
    CommandManager& source = *collector->getCommandManager();
    append(source, "a");
    collector->connect(true);
    append(source, "b");
    collector->connect(false);
    append(source, "c");
    EXPECT_EQ(target.getQueueSize(), 1U);
    EXPECT_EQ(source.getQueueSize(), 2U);
    EXPECT_EQ(collector->getExecutedCommands()->size(), 1U);
}

TEST_F(Recording, CanBeStartedTwiceAndStoppedTwice)
{
    CommandManager& source = *collector->getCommandManager();
    append(source, "abc");
    collector->connect(true);
    collector->connect(true);
    append(source, "d");
    EXPECT_EQ(target.getQueueSize(), 1U);
    collector->connect(false);
    collector->connect(false);
    append(source, "e");
    EXPECT_EQ(target.getQueueSize(), 1U);
}

TEST_F(Recording, LeavesItsCommandsInTheTargetWhenTheCollectorGoes)
{
    collector->connect(true);
    append(*collector->getCommandManager(), "ab");
    collector.reset();
    EXPECT_TRUE(target.undo(2));
    EXPECT_EQ(text, "");
}

TEST_F(Recording, OutlivesItsCollector)
{
    collector->connect(true);
    append(*collector->getCommandManager(), "ab");
    const std::shared_ptr<MacroCommand> recorded = collector->getExecutedCommands();
    collector.reset();
    recorded->undo();
    EXPECT_EQ(text, "");
}

TEST_F(Recording, OfManyCommandsKeepsTheirOrderAndLeavesTheForeignOnesOut)
{
    collector->connect(true);
    std::vector<std::shared_ptr<CommandBase>> expected;
    for (int i = 0; i < 10'000; ++i)
    {
        append(*collector->getCommandManager(), "a");
        expected.push_back(std::const_pointer_cast<CommandBase>(target.getUndoCommand()));
        append(target, "b");
    }

    const std::shared_ptr<MacroCommand> recorded = collector->getExecutedCommands();

    EXPECT_TRUE(std::equal(recorded->begin(), recorded->end(), expected.begin(), expected.end()));
    EXPECT_EQ(target.getQueueSize(), 0U);
}

} // namespace
} // namespace Valdane

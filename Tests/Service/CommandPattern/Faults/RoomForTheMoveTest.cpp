#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Tests/Allocations/Allocations.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <string>

// The queues keep their entries in blocks, and undo and redo pass a block that one queue does not need to the other.
// Where they must allocate one all the same, they do so before the command runs.

namespace Valdane
{
namespace
{

constexpr int entriesOfABlock = 32;
// The list of the blocks is longer first, then there is a block.
constexpr std::size_t allocationsForABlock = 2;

/// Counts how often it runs, and may have something done when it is redone.
class CountedCommand : public CommandBase
{
public:
    CountedCommand(const std::string& name, int& runs) : CommandBase(name), count(runs) {}

    void execute() override
    {
        ++count;
    }

    void undo() override
    {
        ++count;
    }

    void redo() override
    {
        ++count;
        whenRedone();
    }

    std::function<void()> whenRedone = [] {
    };

private:
    int& count;
};

/// A manager of numbered commands.
class RoomForTheMove : public testing::Test
{
protected:
    std::shared_ptr<CountedCommand> add(int number)
    {
        auto command = std::make_shared<CountedCommand>(std::to_string(number), runs);
        EXPECT_TRUE(manager.addCommand(command));
        return command;
    }

    /// What is queued, and how often a command has run.
    std::string state() const
    {
        std::string text = "undoable:";
        for (const std::string& description : manager.collectUndoCommandDescriptions())
        {
            text += " " + description;
        }
        text += ", redoable:";
        for (const std::string& description : manager.collectRedoCommandDescriptions())
        {
            text += " " + description;
        }
        return text + ", runs: " + std::to_string(runs);
    }

    /// Has each allocation for a block fail in turn.
    void expectNothingWithoutABlock(const std::function<void()>& operation) const
    {
        const std::string before = state();
        for (std::size_t successes = 0; successes < allocationsForABlock; ++successes)
        {
            EXPECT_TRUE(failsAfter(successes, operation)) << successes;
            EXPECT_EQ(state(), before) << successes;
        }
    }

    int runs = 0;
    CommandManager manager;

private:
    static bool failsAfter(std::size_t successes, const std::function<void()>& operation)
    {
        const ValdaneTests::FailingAllocation failure(successes);
        try
        {
            operation();
            return false;
        }
        catch (const std::bad_alloc&)
        {
            return true;
        }
    }
};

TEST_F(RoomForTheMove, IsMadeBeforeACommandIsUndone)
{
    add(1);
    expectNothingWithoutABlock([this] { manager.undo(1); });
    EXPECT_TRUE(manager.undo(1));
    EXPECT_EQ(state(), "undoable:, redoable: 1, runs: 2");
}

// Redo goes where undo came from, and finds the block that undo left, unless a command undoes another one while it is
// redone: there is then one entry more than there has been.
TEST_F(RoomForTheMove, IsMadeBeforeACommandIsRedone)
{
    for (int number = 1; number < entriesOfABlock; ++number)
    {
        add(number);
    }
    const auto last = add(entriesOfABlock);
    last->whenRedone = [this]
    {
        manager.undo(1);
    };
    ASSERT_TRUE(manager.undo(1));
    ASSERT_TRUE(manager.redo(1));
    last->whenRedone = [] {
    };
    ASSERT_TRUE(manager.redo(1));
    ASSERT_EQ(manager.collectUndoCommandDescriptions().size(), static_cast<std::size_t>(entriesOfABlock));
    ASSERT_TRUE(manager.canRedo());
    expectNothingWithoutABlock([this] { manager.redo(1); });
    const int runsBefore = runs;
    EXPECT_TRUE(manager.redo(1));
    EXPECT_EQ(runs, runsBefore + 1);
    EXPECT_FALSE(manager.canRedo());
}

} // namespace
} // namespace Valdane

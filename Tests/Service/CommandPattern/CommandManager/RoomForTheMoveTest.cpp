#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandTesting/Allocations.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <utility>

// The queues keep their entries in blocks, and undo and redo pass a block that one queue does not need to the other.
// Where they must allocate one all the same, they do so before the command runs.

namespace Valdane
{
namespace
{

constexpr int entriesOfABlock = 32;
// The list of the blocks is longer first, then there is a block.
constexpr std::size_t allocationsForABlock = 2;

/// Counts how often it runs, and may have something done when it is undone or redone.
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
        whenUndone();
    }

    void redo() override
    {
        ++count;
        whenRedone();
    }

    std::function<void()> whenUndone = [] {
    };
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
        const FailingAllocation failure(successes);
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

TEST_F(RoomForTheMove, IsMadeBeforeACommandIsExecuted)
{
    const auto command = std::make_shared<CountedCommand>("1", runs);
    expectNothingWithoutABlock([&] { manager.addCommand(command); });
    EXPECT_TRUE(manager.addCommand(command));
    EXPECT_EQ(state(), "undoable: 1, redoable:, runs: 1");
}

TEST_F(RoomForTheMove, IsMadeInTheInnermostGroupBeforeACommandIsExecuted)
{
    add(1);
    manager.beginGroup("outer");
    add(2);
    manager.beginGroup("inner");
    add(3);
    const auto command = std::make_shared<CountedCommand>("4", runs);
    {
        const Valdane::FailingAllocation failing(0);
        EXPECT_THROW(manager.addCommand(command), std::bad_alloc);
    }
    EXPECT_EQ(runs, 3);
    EXPECT_TRUE(manager.addCommand(command));
    EXPECT_EQ(runs, 4);
}

TEST_F(RoomForTheMove, IsMadeBeforeACommandIsUndone)
{
    add(1);
    expectNothingWithoutABlock([this] { manager.undo(1); });
    EXPECT_TRUE(manager.undo(1));
    EXPECT_EQ(state(), "undoable:, redoable: 1, runs: 2");
}

TEST_F(RoomForTheMove, IsNotMadeForNoCommand)
{
    const FailingAllocation noMemory(0, AllocationsThatFail::AllFromThereOn);
    manager.addExecutedCommand(nullptr);
    manager.addCommand(nullptr);
    EXPECT_FALSE(noMemory.hasFailed());
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

TEST_F(RoomForTheMove, ForANewCommandIsTakenOverFromTheRedoQueue)
{
    const std::function<bool(std::shared_ptr<CommandBase>)> additions[] = {
        [this](std::shared_ptr<CommandBase> command) { return manager.addCommand(std::move(command)); },
        [this](std::shared_ptr<CommandBase> command)
        {
            manager.addExecutedCommand(std::move(command));
            return true;
        }};
    for (const auto& addNew : additions)
    {
        manager.clear();
        for (int number = 1; number <= 2 * entriesOfABlock; ++number)
        {
            add(number);
        }
        ASSERT_TRUE(manager.undo(entriesOfABlock + 1));
        ASSERT_TRUE(manager.redo(1));
        auto added = std::make_shared<CountedCommand>("new", runs);
        bool answer = false;
        {
            const FailingAllocation noMemory(0, AllocationsThatFail::AllFromThereOn);
            answer = addNew(std::move(added));
        }
        EXPECT_TRUE(answer);
        EXPECT_EQ(manager.collectUndoCommandDescriptions().size(), std::size_t{entriesOfABlock + 1});
        EXPECT_FALSE(manager.canRedo());
    }
}

TEST_F(RoomForTheMove, ToRedoIsTakenOverFromTheRedoQueue)
{
    for (int number = 1; number <= 2 * entriesOfABlock; ++number)
    {
        add(number);
    }
    ASSERT_TRUE(manager.undo(entriesOfABlock + 1));
    ASSERT_TRUE(manager.redo(1));
    bool answer = false;
    {
        const FailingAllocation noMemory(0, AllocationsThatFail::AllFromThereOn);
        answer = manager.redo(1);
    }
    EXPECT_TRUE(answer);
    EXPECT_EQ(manager.collectUndoCommandDescriptions().size(), std::size_t{entriesOfABlock + 1});
}

// A command that is redone once more while it is redone is there twice.
TEST_F(RoomForTheMove, ThatTheCommandHasUsedUpIsTakenOverFromTheOtherQueue)
{
    std::shared_ptr<CountedCommand> twice;
    for (int number = 1; number <= 2 * entriesOfABlock; ++number)
    {
        const auto added = add(number);
        twice = number == entriesOfABlock ? added : twice;
    }
    ASSERT_TRUE(manager.undo(entriesOfABlock + 1));
    bool isRedone = false;
    twice->whenRedone = [&]
    {
        if (!std::exchange(isRedone, true))
        {
            manager.redo(1);
        }
    };
    bool answer = false;
    {
        const FailingAllocation noMemory(0, AllocationsThatFail::AllFromThereOn);
        answer = manager.redo(1);
    }
    EXPECT_TRUE(answer);
    EXPECT_EQ(manager.collectUndoCommandDescriptions().size(), std::size_t{entriesOfABlock + 1});
    EXPECT_EQ(manager.collectRedoCommandDescriptions().size(), std::size_t{entriesOfABlock});
}

/// Has one module, which is only modified if all are to be.
class OneModule : public ModuleAccessInterface
{
public:
    std::set<const Object*> getAllModulesAsModified() override
    {
        return {module};
    }

    // Only the address matters.
    const Object* const module = reinterpret_cast<const Object*>(this);
};

// The queues are then dropped by the limit, so that what is known about the position before them can be asked for.
TEST_F(RoomForTheMove, IsMadeBeforeThePositionIsTakenOverFromARedoQueueThatIsDropped)
{
    const auto modules = std::make_shared<OneModule>();
    manager.setModuleAccessInterface(modules);
    add(1)->whenUndone = [this]
    {
        manager.clear();
    };
    ASSERT_TRUE(manager.undo(1));
    manager.markAllModulesBeforeFirstCommandAsModified();
    const auto added = std::make_shared<CountedCommand>("2", runs);
    expectNothingWithoutABlock([&] { manager.addExecutedCommand(added); });

    manager.setMaxQueueSize(0);
    manager.setUsesMaxQueueSize(true);
    EXPECT_EQ(state(), "undoable:, redoable:, runs: 2");
    EXPECT_EQ(manager.getModifiedModules(0), std::set<const Object*>{modules->module});
}

TEST_F(RoomForTheMove, IsThereForALongHistory)
{
    for (int number = 0; number < 10 * entriesOfABlock; ++number)
    {
        add(number);
    }
    manager.undoAll();
    manager.redoAll();
    const std::size_t before = allocationCount();
    manager.undoAll();
    EXPECT_EQ(allocationCount() - before, 0U);
    manager.redoAll();
    EXPECT_EQ(allocationCount() - before, 0U);
}

} // namespace
} // namespace Valdane

#include "Service/Editing/MemoryBudget.h"

#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/MessageOf.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;

class SizedCommand : public ScriptedCommand, public MergeableCommand
{
public:
    SizedCommand(const std::string& name, std::size_t size) : ScriptedCommand(name), bytes(size) {}

    bool mergeWith(const CommandBase& next) override
    {
        bytes += dynamic_cast<const SizedCommand&>(next).bytes;
        return true;
    }

    std::size_t bytes;
};

class MemoryBudgetTest : public testing::Test
{
protected:
    void useBudget(std::uint64_t bytes)
    {
        budget.emplace(manager, bytes,
                       [this](const CommandBase& command)
                       {
                           asked.push_back(command.getDescription());
                           if (onAsk)
                           {
                               onAsk(command);
                           }
                           const auto* const sized = dynamic_cast<const SizedCommand*>(&command);
                           return sized == nullptr ? std::size_t(1) : sized->bytes;
                       });
    }

    std::shared_ptr<SizedCommand> add(const std::string& name, std::size_t bytes)
    {
        auto command = std::make_shared<SizedCommand>(name, bytes);
        manager.addCommand(command);
        return command;
    }

    /// The history, the oldest first; those that are undone are in parentheses.
    std::vector<std::string> history() const
    {
        std::vector<std::string> names;
        for (std::uint64_t index = 0; index < manager.getQueueSize(); ++index)
        {
            const std::string name = manager.getCommand(index)->getDescription();
            names.push_back(index < manager.getPosition() ? name : "(" + name + ")");
        }
        return names;
    }

    std::uint64_t bytesOfHistory() const
    {
        std::uint64_t bytes = 0;
        for (std::uint64_t index = 0; index < manager.getQueueSize(); ++index)
        {
            bytes += dynamic_cast<const SizedCommand&>(*manager.getCommand(index)).bytes;
        }
        return bytes;
    }

    CommandManager manager;
    std::vector<std::string> asked;
    std::function<void(const CommandBase&)> onAsk;
    std::optional<MemoryBudget> budget;
};

TEST_F(MemoryBudgetTest, DropsTheOldestCommandsThatAreTooMany)
{
    useBudget(10);
    add("a", 4);
    add("b", 3);
    add("c", 3);
    EXPECT_THAT(history(), ElementsAre("a", "b", "c"));
    EXPECT_EQ(budget->getUsedBytes(), 10U);
    add("d", 1);
    EXPECT_THAT(history(), ElementsAre("b", "c", "d"));
    EXPECT_EQ(budget->getUsedBytes(), 7U);
    add("e", 7);
    EXPECT_THAT(history(), ElementsAre("d", "e"));
    EXPECT_THAT(asked, ElementsAre("a", "b", "c", "d", "e")) << "each is asked once";
}

TEST_F(MemoryBudgetTest, TheNewestStaysEvenIfItIsTooLarge)
{
    useBudget(10);
    add("a", 4);
    add("huge", 11);
    EXPECT_THAT(history(), ElementsAre("huge"));
    EXPECT_EQ(budget->getUsedBytes(), 11U);
    add("b", 1);
    EXPECT_THAT(history(), ElementsAre("b"));
}

TEST_F(MemoryBudgetTest, ALimitOfTheApplicationIsAsItWas)
{
    useBudget(3);
    for (const char* const name : {"a", "b", "c", "d"})
    {
        add(name, 1);
    }
    EXPECT_FALSE(manager.usesMaxQueueSize());
    EXPECT_EQ(manager.getMaxQueueSize(), 25U);
    manager.setMaxQueueSize(2);
    manager.setUsesMaxQueueSize(true);
    EXPECT_THAT(history(), ElementsAre("c", "d"));
    EXPECT_EQ(budget->getUsedBytes(), 2U);
    add("e", 3);
    EXPECT_THAT(history(), ElementsAre("e"));
    EXPECT_TRUE(manager.usesMaxQueueSize());
    EXPECT_EQ(manager.getMaxQueueSize(), 2U);
}

TEST_F(MemoryBudgetTest, ALimitThatIsNotInUseMayBeSmallerThanTheHistory)
{
    manager.setMaxQueueSize(1);
    useBudget(3);
    for (const char* const name : {"a", "b", "c", "d"})
    {
        add(name, 1);
    }
    EXPECT_THAT(history(), ElementsAre("b", "c", "d"));
    EXPECT_EQ(manager.getMaxQueueSize(), 1U);
}

TEST_F(MemoryBudgetTest, SavePointsStayTrue)
{
    useBudget(3);
    add("a", 1);
    manager.adjustOnSave(0);
    add("b", 1);
    manager.adjustOnSave(1);
    add("c", 2);
    EXPECT_THAT(history(), ElementsAre("b", "c"));
    EXPECT_EQ(manager.getSavedPosition(0), 0U);
    EXPECT_EQ(manager.getSavedPosition(1), 1U);
    add("d", 1);
    EXPECT_EQ(manager.getSavedPosition(0), std::nullopt);
    EXPECT_EQ(manager.getSavedPosition(1), 0U);
}

TEST_F(MemoryBudgetTest, WhatCanBeRedoneCountsAndIsNotDropped)
{
    add("a", 1);
    add("b", 1);
    add("c", 1);
    add("d", 1);
    manager.undo(2);
    useBudget(3);
    EXPECT_THAT(history(), ElementsAre("b", "(c)", "(d)"));
    budget->setBudget(0);
    EXPECT_THAT(history(), ElementsAre("b", "(c)", "(d)"));
    EXPECT_EQ(budget->getUsedBytes(), 3U);
    manager.redo(2);
    EXPECT_THAT(history(), ElementsAre("d")) << "they are done now";
}

TEST_F(MemoryBudgetTest, SettingTheBudgetDropsAtOnce)
{
    useBudget(10);
    add("a", 1);
    add("b", 1);
    add("c", 1);
    EXPECT_EQ(budget->getBudget(), 10U);
    budget->setBudget(2);
    EXPECT_EQ(budget->getBudget(), 2U);
    EXPECT_THAT(history(), ElementsAre("b", "c"));
    EXPECT_EQ(budget->getUsedBytes(), 2U);
    EXPECT_FALSE(manager.usesMaxQueueSize());
}

TEST_F(MemoryBudgetTest, ACommandThatTookInAnotherIsAskedAgain)
{
    useBudget(10);
    add("a", 4);
    add("b", 3);
    manager.addOrMergeCommand(std::make_shared<SizedCommand>("c", 4));
    EXPECT_THAT(asked, ElementsAre("a", "b", "b"));
    EXPECT_THAT(history(), ElementsAre("b"));
    EXPECT_EQ(budget->getUsedBytes(), 7U);
}

TEST_F(MemoryBudgetTest, AGroupIsAskedWhenItEnds)
{
    useBudget(10);
    add("a", 10);
    asked.clear();
    manager.beginGroup("G");
    add("b", 10);
    budget->setBudget(5);
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_THAT(history(), ElementsAre("a"));
    manager.endGroup();
    EXPECT_THAT(asked, ElementsAre("G"));
    EXPECT_THAT(history(), ElementsAre("G"));
}

TEST_F(MemoryBudgetTest, OthersAreToldOfTheNewCommandFirstAndThenOfTheDropped)
{
    useBudget(2);
    add("a", 1);
    add("b", 1);
    std::vector<std::string> told;
    const auto slot = manager.connectToSigHistoryChanged(
        [&](const HistoryChange& change)
        {
            for (const RowChange& row : change.rows)
            {
                told.push_back(std::to_string(row.first) + " -" + std::to_string(row.removed) + " +" +
                               std::to_string(row.inserted));
            }
        });
    const auto queueChanged = manager.connectToSigCommandQueueChanged(
        [&](CommandManager::QueueChangeReason) { told.emplace_back("queue changed"); });
    add("c", 2);
    EXPECT_THAT(told, ElementsAre("2 -0 +1", "0 -2 +0", "queue changed"));
}

TEST_F(MemoryBudgetTest, ADroppedCommandSeesTheLimitOfTheApplicationWhenItDies)
{
    useBudget(2);
    std::string seen;
    add("a", 1)->onDestroy = [&]
    {
        seen = std::to_string(manager.getMaxQueueSize()) + (manager.usesMaxQueueSize() ? " used" : " unused");
        manager.addCommand(std::make_shared<SizedCommand>("from a", 1));
    };
    add("b", 1);
    add("c", 1);
    EXPECT_EQ(seen, "25 unused");
    EXPECT_THAT(history(), ElementsAre("c", "from a"));
    EXPECT_EQ(budget->getUsedBytes(), 2U);
}

TEST_F(MemoryBudgetTest, SlotsSeeTheLimitOfTheApplicationWhenANewCommandIsTooMany)
{
    useBudget(1);
    std::vector<std::string> seen;
    const auto look = [&]
    {
        seen.push_back(std::to_string(manager.getMaxQueueSize()) +
                       (manager.usesMaxQueueSize() ? " used" : " unused"));
    };
    add("a", 1);
    const auto slot = manager.connectToSigHistoryChanged([&](const HistoryChange&) { look(); });
    const auto queueChanged =
        manager.connectToSigCommandQueueChanged([&](CommandManager::QueueChangeReason) { look(); });
    add("b", 1);
    EXPECT_THAT(history(), ElementsAre("b"));
    EXPECT_THAT(seen, ElementsAre("25 unused", "25 unused", "25 unused"));
}

TEST_F(MemoryBudgetTest, ADroppedCommandMayDestroyIt)
{
    useBudget(1);
    add("a", 1)->onDestroy = [&]
    {
        budget.reset();
    };
    add("b", 1);
    EXPECT_FALSE(budget.has_value());
    add("c", 1);
    EXPECT_THAT(history(), ElementsAre("b", "c"));
}

TEST_F(MemoryBudgetTest, ASlotThatChangesTheHistoryBeforeItHearsDoesNoHarm)
{
    bool isFirst = true;
    const auto earlier = manager.connectToSigHistoryChanged(
        [&](const HistoryChange&)
        {
            if (std::exchange(isFirst, false))
            {
                manager.undo(1);
                add("x", 2);
                add("y", 3);
            }
        });
    useBudget(5);
    add("a", 1);
    EXPECT_THAT(history(), ElementsAre("x", "y"));
    EXPECT_EQ(budget->getUsedBytes(), 5U);
    add("z", 1);
    EXPECT_THAT(history(), ElementsAre("y", "z"));
    EXPECT_EQ(budget->getUsedBytes(), 4U);
}

TEST_F(MemoryBudgetTest, AHistoryOfTheSameLengthIsNotTakenForTheOneThatWasTold)
{
    manager.setMaxQueueSize(2);
    manager.setUsesMaxQueueSize(true);
    bool adds = false;
    const auto earlier = manager.connectToSigHistoryChanged(
        [&](const HistoryChange&)
        {
            if (std::exchange(adds, false))
            {
                add("d", 5);
            }
        });
    useBudget(100);
    add("a", 1);
    add("b", 1);
    adds = true;
    add("c", 2);
    EXPECT_THAT(history(), ElementsAre("c", "d"));
    EXPECT_EQ(budget->getUsedBytes(), 7U);
}

TEST_F(MemoryBudgetTest, AChangeThatAnEarlierSlotHasHiddenIsMadeUpForByTheNext)
{
    bool throws = false;
    const auto earlier = manager.connectToSigHistoryChanged(
        [&](const HistoryChange&)
        {
            if (throws)
            {
                fail();
            }
        });
    useBudget(5);
    add("a", 2);
    throws = true;
    EXPECT_THROW(add("b", 2), std::runtime_error);
    throws = false;
    EXPECT_EQ(budget->getUsedBytes(), 2U);
    add("c", 2);
    EXPECT_THAT(history(), ElementsAre("b", "c"));
    EXPECT_EQ(budget->getUsedBytes(), 4U);
}

TEST_F(MemoryBudgetTest, AHiddenChangeIsMadeUpForAlsoIfTheLengthIsTheSame)
{
    bool throws = false;
    const auto earlier = manager.connectToSigHistoryChanged(
        [&](const HistoryChange&)
        {
            if (throws)
            {
                fail();
            }
        });
    useBudget(100);
    for (const bool isFollowed : {false, true})
    {
        manager.clear();
        add("a", 1);
        add("b", 2);
        manager.undo(1);
        throws = true;
        EXPECT_THROW(add("c", 10), std::runtime_error);
        throws = false;
        if (isFollowed)
        {
            add("d", 20);
        }
        budget->setBudget(50);
        EXPECT_EQ(budget->getUsedBytes(), bytesOfHistory()) << isFollowed;
    }
}

TEST_F(MemoryBudgetTest, WhatTheFunctionThrowsPassesAndItIsAskedAgain)
{
    useBudget(5);
    add("a", 3);
    onAsk = [](const CommandBase&)
    {
        failStrangely();
    };
    EXPECT_THROW(add("b", 3), Stranger);
    EXPECT_THAT(history(), ElementsAre("a", "b"));
    EXPECT_EQ(budget->getUsedBytes(), 3U);
    onAsk = [](const CommandBase&)
    {
        fail();
    };
    EXPECT_THROW(budget->setBudget(6), std::runtime_error);
    onAsk = nullptr;
    budget->setBudget(5);
    EXPECT_THAT(history(), ElementsAre("b"));
}

TEST_F(MemoryBudgetTest, WhatASlotThrowsWhileItDropsLeavesTheLimitAsItWas)
{
    useBudget(5);
    add("a", 1);
    add("b", 1);
    const auto throwing = manager.connectToSigHistoryChanged([](const HistoryChange&) { failStrangely(); });
    EXPECT_THROW(budget->setBudget(1), Stranger);
    EXPECT_THAT(history(), ElementsAre("b"));
    EXPECT_FALSE(manager.usesMaxQueueSize());
    EXPECT_EQ(manager.getMaxQueueSize(), 25U);
    EXPECT_EQ(budget->getUsedBytes(), 1U);
}

TEST_F(MemoryBudgetTest, ALimitThatASlotSetsWhileItDropsStays)
{
    useBudget(5);
    add("a", 1);
    add("b", 1);
    const auto setting =
        manager.connectToSigHistoryChanged([&](const HistoryChange&) { manager.setMaxQueueSize(7); });
    budget->setBudget(1);
    EXPECT_EQ(manager.getMaxQueueSize(), 7U);
}

TEST_F(MemoryBudgetTest, TheFunctionMayCallTheManager)
{
    useBudget(4);
    bool isFirst = true;
    onAsk = [&](const CommandBase&)
    {
        if (std::exchange(isFirst, false))
        {
            add("from the function", 3);
        }
    };
    add("a", 2);
    EXPECT_THAT(history(), ElementsAre("from the function"));
    EXPECT_EQ(budget->getUsedBytes(), 3U);
    isFirst = true;
    budget.reset();
    add("b", 1);
    useBudget(4);
    EXPECT_THAT(history(), ElementsAre("b", "from the function"));
    EXPECT_EQ(budget->getUsedBytes(), 4U);
}

TEST_F(MemoryBudgetTest, TheFunctionMayReplaceTheHistory)
{
    useBudget(4);
    add("a", 2);
    add("b", 2);
    bool isFirst = true;
    onAsk = [&](const CommandBase&)
    {
        if (std::exchange(isFirst, false))
        {
            manager.clear();
            add("x", 1);
            add("y", 1);
        }
    };
    add("c", 2);
    EXPECT_THAT(history(), ElementsAre("x", "y"));
    EXPECT_EQ(budget->getUsedBytes(), 2U);
}

TEST_F(MemoryBudgetTest, TheFunctionMayDestroyIt)
{
    useBudget(1);
    onAsk = [&](const CommandBase&)
    {
        budget.reset();
    };
    add("a", 1);
    add("b", 1);
    EXPECT_FALSE(budget.has_value());
    EXPECT_THAT(asked, ElementsAre("a"));
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(MemoryBudgetTest, HugeAnswersDoNotOverflow)
{
    useBudget(10);
    add("a", 1);
    add("b", std::numeric_limits<std::size_t>::max());
    add("c", std::numeric_limits<std::size_t>::max());
    EXPECT_THAT(history(), ElementsAre("c"));
    EXPECT_GT(budget->getUsedBytes(), 10U);
    add("d", 1);
    EXPECT_EQ(budget->getUsedBytes(), 1U);
}

TEST_F(MemoryBudgetTest, WithoutMemoryTheNextChangeMakesUpForIt)
{
    std::size_t successes = 0;
    for (bool hasFailed = true; hasFailed; ++successes)
    {
        manager.clear();
        useBudget(4);
        asked.reserve(asked.size() + 100);
        add("a", 2);
        add("b", 2);
        const auto command = std::make_shared<SizedCommand>("c", 2);
        {
            const FailingAllocation failing(successes);
            try
            {
                manager.addExecutedCommand(command);
            }
            catch (const std::bad_alloc&)
            {
                EXPECT_TRUE(failing.hasFailed());
            }
            hasFailed = failing.hasFailed();
        }
        EXPECT_FALSE(manager.usesMaxQueueSize()) << successes;
        EXPECT_EQ(manager.getMaxQueueSize(), 25U) << successes;
        add("d", 1);
        EXPECT_EQ(budget->getUsedBytes(), bytesOfHistory()) << successes;
        EXPECT_LE(bytesOfHistory(), 4U) << successes;
    }
    EXPECT_GE(successes, 2U) << "one at least has failed";
    EXPECT_THAT(history(), ElementsAre("c", "d"));
}

TEST_F(MemoryBudgetTest, AfterRandomOperationsTheSumIsThatOfTheHistory)
{
    useBudget(40);
    std::mt19937 random(3);
    for (int count = 0; count < 3000; ++count)
    {
        const auto choice = static_cast<unsigned>(random());
        const std::size_t bytes = choice / 16 % 12;
        switch (choice % 16)
        {
        case 0:
            manager.undo(1 + bytes % 3);
            break;
        case 1:
            manager.redo(1 + bytes % 3);
            break;
        case 2:
            manager.takeLastExecutedCommand();
            break;
        case 3:
            manager.adjustOnSave(bytes % 2);
            break;
        case 4:
            manager.setMaxQueueSize(static_cast<std::uint32_t>(5 + bytes));
            manager.setUsesMaxQueueSize(bytes % 2 == 0);
            break;
        case 5:
            bytes == 0 ? manager.clear() : manager.forgetRedoCommands();
            break;
        case 6:
        case 7:
            manager.addOrMergeCommand(std::make_shared<SizedCommand>("merged", bytes));
            break;
        case 8:
            add("not redo-capable", bytes)->redoCapable = false;
            break;
        default:
            add("added", bytes);
        }
        ASSERT_EQ(budget->getUsedBytes(), bytesOfHistory()) << count;
        ASSERT_TRUE(bytesOfHistory() <= 40 || manager.getPosition() <= 1) << count;
        ASSERT_TRUE(manager.getMaxQueueSize() >= 5) << count;
    }
}

TEST_F(MemoryBudgetTest, AnEmptyFunctionIsRefused)
{
    EXPECT_EQ(messageOf([&] { MemoryBudget(manager, 1, MemoryBudget::SizeOf()); }),
              "A MemoryBudget needs a function that tells how many bytes a command takes");
}

} // namespace
} // namespace Valdane

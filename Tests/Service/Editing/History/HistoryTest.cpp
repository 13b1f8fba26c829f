#include "Service/CommandTesting/Allocations.h"
#include "Tests/Service/Editing/History/HistoryFixture.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/MessageOf.h"

#include <gmock/gmock.h>

#include <limits>
#include <random>
#include <tuple>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;

/// Does anything that changes a history, in an order that the seed decides.
class Walk
{
public:
    Walk(unsigned seed, CommandManager& commandManager, History& rows)
        : random(seed), manager(commandManager), history(rows)
    {
    }

    /// @return the number of the operation
    std::size_t step()
    {
        const std::vector<std::function<void()>> operations = {
            [&] { manager.addCommand(make()); },
            [&] { manager.addOrMergeCommand(make()); },
            [&] { manager.addCommandToMergeWithNextCommand(make(), any(2) == 0); },
            [&] { manager.undo(any(4)); },
            [&] { manager.redo(any(4)); },
            [&] { manager.adjustOnSave(any(2)); },
            [&] { manager.setMaxQueueSize(any(8)); },
            [&] { manager.setUsesMaxQueueSize(any(2) == 0); },
            [&] { manager.forgetRedoCommands(); },
            [&] { manager.takeLastExecutedCommand(); },
            [&] { history.moveTo(any(static_cast<unsigned>(manager.getQueueSize()) + 1)); },
            [&] { clearSometimes(); },
            [&] { group(); },
        };
        const std::size_t operation = any(static_cast<unsigned>(operations.size()));
        operations[operation]();
        return operation;
    }

private:
    std::uint32_t any(unsigned count)
    {
        return static_cast<std::uint32_t>(random() % count);
    }

    std::shared_ptr<CommandBase> make()
    {
        const std::string name = std::to_string(++number) + ".";
        if (any(3) == 0)
        {
            return std::make_shared<Drag>(name);
        }
        auto command = std::make_shared<ScriptedCommand>(name);
        command->redoCapable = any(8) != 0;
        if (any(10) == 0)
        {
            command->onUndo = [this, name]
            {
                manager.addExecutedCommand(std::make_shared<ScriptedCommand>("by the undo of " + name));
            };
        }
        return command;
    }

    void clearSometimes()
    {
        if (any(6) == 0)
        {
            manager.clear();
        }
    }

    void group()
    {
        manager.beginGroup("G");
        manager.addCommand(make());
        if (any(2) == 0)
        {
            manager.endGroup();
        }
        else
        {
            manager.abandonGroup();
        }
    }

    std::mt19937 random;
    CommandManager& manager;
    History& history;
    int number = 0;
};

TEST_F(HistoryTest, ShowsWhatTheManagerHasWhenItIsMade)
{
    addAll("abcd");
    manager.undo(1);
    manager.adjustOnSave(0);
    manager.undo(1);
    manager.adjustOnSave(1);
    history.emplace(manager);
    EXPECT_THAT(looks(), ElementsAre("a+", "b*!1", "c!0", "d"));
    EXPECT_EQ(history->getPosition(), 2U);
}

TEST_F(HistoryTest, ARowThatDoesNotExistHasNothing)
{
    addAll("a");
    manager.adjustOnSave(0);
    for (const std::uint64_t row : {std::uint64_t{1}, std::numeric_limits<std::uint64_t>::max()})
    {
        EXPECT_EQ(lookOf(*history, row), "");
    }
}

TEST_F(HistoryTest, NoRowIsCurrentOrSavedBeforeTheFirst)
{
    addAll("ab");
    manager.undo(2);
    manager.adjustOnSave(0);
    EXPECT_THAT(looks(), ElementsAre("a", "b"));
    EXPECT_EQ(lookOf(*history, std::numeric_limits<std::uint64_t>::max()), "");
}

TEST_F(HistoryTest, ATrackerThatDoesNotExistIsAnError)
{
    EXPECT_EQ(messageOf([&] { std::ignore = history->isSaved(0, 2); }),
              "There is no change tracker 2; the last one is 1");
}

TEST_F(HistoryTest, TextsAreThoseOfNow)
{
    const auto command = add("a");
    command->setDescription("renamed");
    EXPECT_EQ(history->getText(0), "renamed");
}

TEST_F(HistoryTest, TellsOfAddedRows)
{
    EXPECT_THAT(toldBy([&] { add("a"); }), ElementsAre("inserted 0 1", "whole"));
    EXPECT_THAT(toldBy([&] { add("b"); }), ElementsAre("inserted 1 1", "changed 0 1", "whole"));
}

TEST_F(HistoryTest, TellsOfUndoneAndRedoneRows)
{
    addAll("abc");
    EXPECT_THAT(toldBy([&] { manager.undo(2); }),
                ElementsAre("changed 1 2", "whole", "changed 0 2", "whole"));
    EXPECT_THAT(toldBy([&] { manager.undo(1); }), ElementsAre("changed 0 1", "whole"));
    EXPECT_THAT(toldBy([&] { manager.redo(1); }), ElementsAre("changed 0 1", "whole"));
    EXPECT_THAT(toldBy([&] { manager.redo(1); }), ElementsAre("changed 0 2", "whole"));
}

TEST_F(HistoryTest, TellsOfWhatANewCommandReplaces)
{
    addAll("abc");
    manager.undo(2);
    EXPECT_THAT(toldBy([&] { add("d"); }),
                ElementsAre("removed 1 2", "inserted 1 1", "changed 0 1", "whole"));
    EXPECT_THAT(looks(), ElementsAre("a+", "d*"));
}

TEST_F(HistoryTest, TellsOfWhatTheLimitDrops)
{
    addAll("abcd");
    EXPECT_THAT(toldBy([&] { limitTo(2); }), ElementsAre("removed 0 2", "whole"));
    EXPECT_THAT(toldBy([&] { add("e"); }),
                ElementsAre("inserted 2 1", "removed 0 1", "changed 0 1", "whole"));
    EXPECT_THAT(looks(), ElementsAre("d+", "e*"));
    manager.undo(2);
    EXPECT_THAT(toldBy([&] { manager.setMaxQueueSize(1); }), ElementsAre("removed 0 2", "whole"));
}

TEST_F(HistoryTest, TellsOfClearTakesAndForgottenRows)
{
    addAll("abcd");
    EXPECT_THAT(toldBy([&] { manager.takeLastExecutedCommand(); }),
                ElementsAre("removed 3 1", "changed 2 1", "whole"));
    manager.undo(1);
    EXPECT_THAT(toldBy([&] { manager.takeLastExecutedCommand(); }),
                ElementsAre("removed 1 1", "changed 0 1", "whole"));
    EXPECT_THAT(toldBy([&] { manager.forgetRedoCommands(); }), ElementsAre("removed 1 1", "whole"));
    addAll("e");
    EXPECT_THAT(toldBy([&] { manager.takeExecutedCommands(); }), ElementsAre("removed 0 2", "whole"));
    addAll("f");
    EXPECT_THAT(toldBy([&] { manager.clear(); }), ElementsAre("removed 0 1", "whole"));
    EXPECT_THAT(toldBy([&] { manager.clear(); }), IsEmpty());
}

TEST_F(HistoryTest, ACommandThatTakesInAnotherOneKeepsItsRow)
{
    addAll("a");
    manager.addCommand(std::make_shared<Drag>("b"));
    EXPECT_THAT(toldBy([&] { manager.addOrMergeCommand(std::make_shared<Drag>("c")); }),
                ElementsAre("changed 1 1", "whole"));
    EXPECT_THAT(looks(), ElementsAre("a+", "bc*"));
}

TEST_F(HistoryTest, ACommandInThePlaceOfAnUndoneOneIsAnotherRow)
{
    addAll("a");
    manager.undo(1);
    EXPECT_THAT(toldBy([&] { add("b"); }), ElementsAre("removed 0 1", "inserted 0 1", "whole"));
}

TEST_F(HistoryTest, AGroupIsOneRowWhenItEnds)
{
    addAll("a");
    EXPECT_THAT(toldBy(
                    [&]
                    {
                        manager.beginGroup("G");
                        addAll("bc");
                        manager.endGroup();
                    }),
                ElementsAre("inserted 1 1", "changed 0 1", "whole"));
    EXPECT_THAT(looks(), ElementsAre("a+", "G*"));
}

TEST_F(HistoryTest, TellsOfSavedRows)
{
    addAll("abc");
    EXPECT_THAT(toldBy([&] { manager.adjustOnSave(0); }), ElementsAre("changed 2 1", "whole"));
    manager.undo(2);
    EXPECT_THAT(toldBy([&] { manager.adjustOnSave(0); }), ElementsAre("changed 0 1", "changed 2 1", "whole"));
    EXPECT_THAT(toldBy([&] { manager.adjustOnSave(0); }), IsEmpty());
    EXPECT_THAT(toldBy([&] { manager.adjustOnSave(1); }), ElementsAre("changed 0 1", "whole"));
    EXPECT_THAT(looks(), ElementsAre("a*!0!1", "b", "c"));
}

TEST_F(HistoryTest, ASavedStateBeforeTheFirstRowChangesTheWholeOnly)
{
    addAll("a");
    manager.undo(1);
    EXPECT_THAT(toldBy([&] { manager.adjustOnSave(0); }), ElementsAre("whole"));
}

TEST_F(HistoryTest, ASaveThatNoStepLeadsToMarksNoRowUntilOneDoes)
{
    addAll("ab");
    manager.adjustOnSave(0);
    EXPECT_THAT(toldBy(
                    [&]
                    {
                        manager.beginGroup("G");
                        add("c");
                    }),
                ElementsAre("changed 1 1", "whole"));
    EXPECT_THAT(looks(), ElementsAre("a+", "b*"));
    EXPECT_THAT(toldBy([&] { manager.abandonGroup(); }), ElementsAre("changed 1 1", "whole"));
    EXPECT_THAT(looks(), ElementsAre("a+", "b*!0"));
}

TEST_F(HistoryTest, ACommandThatCannotBeRedoneLeaves)
{
    addAll("a");
    add("b")->redoCapable = false;
    EXPECT_THAT(toldBy([&] { manager.undo(1); }), ElementsAre("removed 1 1", "changed 0 1", "whole"));
}

TEST_F(HistoryTest, TellsBeforeTheManagersOtherSignals)
{
    Journal journal;
    const Recorder recorder(*history, journal);
    const auto queueChanged = manager.connectToSigCommandQueueChanged([&](CommandManager::QueueChangeReason)
                                                                      { journal.emplace_back("queue"); });
    const auto executed = manager.connectToSigCommandExecuted([&] { journal.emplace_back("executed"); });
    add("a");
    EXPECT_THAT(journal, ElementsAre("inserted 0 1", "whole", "queue", "executed"));
}

TEST_F(HistoryTest, AModelThatAsksOnceForEachRowIsExact)
{
    for (unsigned seed = 1; seed <= 20; ++seed)
    {
        SCOPED_TRACE(seed);
        CommandManager own;
        History rows(own);
        Model model(rows);
        model.connect(rows);
        Walk walk(seed, own, rows);
        for (int count = 0; count < 400; ++count)
        {
            const std::size_t operation = walk.step();
            ASSERT_EQ(model.rows, looksOf(own))
                << "after operation " << operation << ", the " << count << "th";
        }
    }
}

TEST_F(HistoryTest, RowsHaveWhatTheyHaveAtTheEndWhileAChangeIsTold)
{
    addAll("ab");
    limitTo(2);
    Journal seen;
    const auto look = [&](std::uint64_t /*first*/, std::uint64_t /*count*/)
    {
        std::string all;
        for (const std::string& row : looks())
        {
            all += row + " ";
        }
        seen.push_back(all);
    };
    const auto removed = history->connectToSigRowsRemoved(look);
    const auto inserted = history->connectToSigRowsInserted(look);
    add("c");
    EXPECT_THAT(seen, ElementsAre(" b+ c* ", "b+ c* ")) << "the first row is about to leave";
    manager.undo(1);
    seen.clear();
    add("d");
    EXPECT_THAT(seen, ElementsAre("b+ ", "b+ d* "));
}

TEST_F(HistoryTest, FindsTextsForwards)
{
    for (const char* name : {"Move pump", "Rename Pump", "move valve", ""})
    {
        add(name);
    }
    manager.undo(2);
    EXPECT_EQ(history->findFrom(0, "pump"), 0U);
    EXPECT_EQ(history->findFrom(1, "pump"), std::nullopt) << "upper and lower case differ";
    EXPECT_EQ(history->findFrom(0, "ove"), 0U);
    EXPECT_EQ(history->findFrom(1, "ove"), 2U) << "also what is undone";
    EXPECT_EQ(history->findFrom(3, ""), 3U);
    EXPECT_EQ(history->findFrom(4, ""), std::nullopt);
}

TEST_F(HistoryTest, FindsTextsBackwards)
{
    for (const char* name : {"Move pump", "Rename Pump", "move valve"})
    {
        add(name);
    }
    EXPECT_EQ(history->findBefore(3, "ove"), 2U);
    EXPECT_EQ(history->findBefore(2, "ove"), 0U);
    EXPECT_EQ(history->findBefore(0, "ove"), std::nullopt);
    EXPECT_EQ(history->findBefore(std::numeric_limits<std::uint64_t>::max(), "Pump"), 1U) << "past the end";
}

TEST_F(HistoryTest, AStepAllocatesTheSameInALongHistory)
{
    const auto allocations = [&]
    {
        manager.undo(1);
        manager.redo(1);
        const std::size_t before = allocationCount();
        manager.undo(1);
        manager.redo(1);
        return allocationCount() - before;
    };
    addAll("ab");
    const std::size_t few = allocations();
    for (int count = 0; count < 2000; ++count)
    {
        add("c");
    }
    EXPECT_EQ(allocations(), few);
}

} // namespace
} // namespace Valdane

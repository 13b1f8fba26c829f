#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ManagerJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;

[[noreturn]] void throwNotNow()
{
    throw std::runtime_error("not now");
}

const Object* const a = module(0);
const Object* const b = module(1);
const Object* const c = module(2);
const Object* const d = module(3);

class CommandManagerTrackingOrder : public ManagerJournal
{
protected:
    /// The modified modules at every position from the one where all is undone to the one where all is
    /// redone, for one tracker; the manager is afterwards where it was.
    std::string history(std::uint64_t tracker)
    {
        std::uint64_t steps = 0;
        for (; manager.canUndo(); ++steps)
        {
            manager.undo(1);
        }
        std::string text = modifiedOf(tracker);
        std::uint64_t position = 0;
        for (; manager.canRedo(); ++position)
        {
            manager.redo(1);
            text += "," + modifiedOf(tracker);
        }
        manager.undo(position - steps);
        takeJournal();
        return text;
    }
};

TEST_F(CommandManagerTrackingOrder, EachQuestionAsksTheModuleInterfaceOnce)
{
    add("A");

    manager.getModifiedModules(0);
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified"));
    manager.getModifiedOrSaveOnNextSaveModules(1);
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  modules.saveOnNextSave"));
    manager.markAllModulesBeforeFirstCommandAsModified();
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.all"));
    manager.adjustOnSave(0);
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(CommandManagerTrackingOrder, ClearAsksForBothTrackersBeforeItEmptiesTheQueues)
{
    add("A", {a});
    manager.adjustOnSave(1);
    add("B", {b});
    modules->onAsk = [this]
    {
        note("at asking " + queues());
    };

    manager.clear();

    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  at asking [B A|]", "  modules.modified",
                                           "  at asking [B A|]", "  queueChanged 2 [|]"));
    EXPECT_EQ(modifiedOf(0), "ab");
    EXPECT_EQ(modifiedOf(1), "b");
}

TEST_F(CommandManagerTrackingOrder, WhatDiesInClearFindsItsModulesStillModified)
{
    std::string seen;
    modules->modified = {a};
    manager.addExecutedCommand(std::shared_ptr<RecordingCommand>(new RecordingCommand("A"),
                                                                 [&](RecordingCommand* command)
                                                                 {
                                                                     seen = modifiedOf(0);
                                                                     delete command;
                                                                 }));

    manager.clear();

    EXPECT_EQ(seen, "a");
}

TEST_F(CommandManagerTrackingOrder, ClearTakesOverWhatTheApplicationReportsAtThatMoment)
{
    modules->modified = {c};
    manager.clear();
    modules->modified.clear();
    EXPECT_EQ(modifiedOf(0), "c");
    EXPECT_EQ(modifiedOf(1), "c");
}

TEST_F(CommandManagerTrackingOrder, AnExceptionFromTheInterfaceLeavesClearUndone)
{
    add("A", {a});
    add("B", {b});
    manager.undo(1);
    takeJournal();
    for (const int failing : {1, 2})
    {
        int asked = 0;
        modules->onAsk = [&]
        {
            modules->modified = {d};
            if (++asked == failing)
            {
                throwNotNow();
            }
        };

        EXPECT_THROW(manager.clear(), std::runtime_error);
        EXPECT_THROW((asked = 0, manager.takeExecutedCommands()), std::runtime_error);

        modules->onAsk = nullptr;
        modules->modified.clear();
        EXPECT_EQ(queues(), "[A|B]");
        EXPECT_EQ(history(0), ",a,ab");
        EXPECT_EQ(history(1), ",a,ab");
    }
}

TEST_F(CommandManagerTrackingOrder, AnExceptionWhileRecordingLeavesTheCommandUnqueued)
{
    add("A", {a});
    add("B", {b});
    manager.undo(1);
    takeJournal();
    modules->onAsk = throwNotNow;

    EXPECT_THROW(manager.addCommand(std::make_shared<RecordingCommand>("C")), std::runtime_error);

    EXPECT_THAT(takeJournal(), ElementsAre("* C.progress.reset", "* C.execute", "* C.progress.setComplete",
                                           "  modules.modified"));
    EXPECT_EQ(queues(), "[A|]");
    EXPECT_FALSE(manager.isProcessingCommand());
    modules->onAsk = nullptr;
    EXPECT_EQ(history(0), ",a");
}

TEST_F(CommandManagerTrackingOrder, TheStateReachedByUndoingEverythingSurvivesTheLossOfTheRedoQueue)
{
    add("A", {a});
    add("B", {b});
    manager.adjustOnSave(0);
    manager.undo(2);

    add("C", {c});

    EXPECT_EQ(history(0), "ab,abc");
    EXPECT_EQ(history(1), ",c");
}

TEST_F(CommandManagerTrackingOrder, ThatStateIsKeptAlsoWhenTheModulesCannotBeAsked)
{
    add("A", {a});
    manager.adjustOnSave(0);
    manager.undo(1);
    modules->onAsk = throwNotNow;
    EXPECT_THROW(manager.addExecutedCommand(std::make_shared<RecordingCommand>("B")), std::runtime_error);
    modules->onAsk = nullptr;

    EXPECT_EQ(queues(), "[|]");
    EXPECT_EQ(modifiedOf(0), "a");
    EXPECT_EQ(modifiedOf(1), "");
}

TEST_F(CommandManagerTrackingOrder, OnlyTheNextCommandToRedoTellsWhatIsKept)
{
    manager.markAllModulesBeforeFirstCommandAsModified();
    modules->all = {d};
    add("A", {a});
    manager.undo(1);
    // The base set is replaced, but the entry still knows the old one.
    manager.markAllModulesBeforeFirstCommandAsModified();
    EXPECT_EQ(modifiedOf(0), "");

    add("B", {b});

    EXPECT_EQ(history(0), ",b");
}

TEST_F(CommandManagerTrackingOrder, WithSomethingToUndoTheBaseSetStaysWhenTheRedoQueueIsLost)
{
    modules->all = {d};
    manager.markAllModulesBeforeFirstCommandAsModified();
    add("A", {a});
    manager.adjustOnSave(0);
    add("B", {b});
    manager.undo(1);
    add("C", {c});
    manager.takeLastExecutedCommand();
    manager.takeLastExecutedCommand();

    EXPECT_EQ(modifiedOf(0), "d");
    EXPECT_EQ(modifiedOf(1), "d");
}

TEST_F(CommandManagerTrackingOrder, MarkingAllModulesLeavesTheEntriesAlone)
{
    add("A", {a});
    modules->all = {c, d};
    manager.markAllModulesBeforeFirstCommandAsModified();

    EXPECT_EQ(modifiedOf(0), "a");
    EXPECT_EQ(history(1), ",a");
    manager.takeLastExecutedCommand();
    EXPECT_EQ(modifiedOf(0), "cd");
    EXPECT_EQ(modifiedOf(1), "cd");
    modules->all = {b};
    manager.markAllModulesBeforeFirstCommandAsModified();
    EXPECT_EQ(modifiedOf(1), "b");
}

TEST_F(CommandManagerTrackingOrder, ASaveIsForOneTrackerOnly)
{
    modules->all = {a, b, c};
    manager.markAllModulesBeforeFirstCommandAsModified();
    EXPECT_EQ(modifiedOf(0), "abc");
    manager.adjustOnSave(0);
    EXPECT_EQ(modifiedOf(0), "");
    EXPECT_EQ(modifiedOf(1), "abc");
}

TEST_F(CommandManagerTrackingOrder, ASaveBetweenTwoCommandsCountsFromThereInBothDirections)
{
    add("A", {a});
    manager.adjustOnSave(0);
    add("B", {b});
    EXPECT_EQ(history(0), "a,,b");
    EXPECT_EQ(history(1), ",a,ab");
}

TEST_F(CommandManagerTrackingOrder, ASaveInMidHistoryWalksBothSides)
{
    add("A", {a});
    add("B", {b});
    add("C", {c});
    add("D", {d, a});
    manager.undo(2);

    manager.adjustOnSave(1);

    EXPECT_EQ(queues(), "[B A|C D]");
    EXPECT_EQ(history(0), ",a,ab,abc,abcd");
    EXPECT_EQ(history(1), "ab,b,,c,acd");
}

TEST_F(CommandManagerTrackingOrder, ASaveWithEverythingUndoneClearsTheBaseSetToo)
{
    modules->all = {d};
    manager.markAllModulesBeforeFirstCommandAsModified();
    add("A", {a});
    add("B", {b});
    manager.undoAll();

    manager.adjustOnSave(0);

    EXPECT_EQ(history(0), ",a,ab");
    manager.redoAll();
    manager.takeLastExecutedCommand();
    manager.takeLastExecutedCommand();
    EXPECT_EQ(modifiedOf(0), "");
    EXPECT_EQ(modifiedOf(1), "d");
}

TEST_F(CommandManagerTrackingOrder, ASaveWithSomethingToUndoLeavesTheBaseSetAlone)
{
    modules->all = {d};
    manager.markAllModulesBeforeFirstCommandAsModified();
    add("A", {a});

    manager.adjustOnSave(0);

    EXPECT_EQ(history(0), "a,");
    manager.takeLastExecutedCommand();
    EXPECT_EQ(modifiedOf(0), "d");
}

TEST_F(CommandManagerTrackingOrder, AnEntryMovesWithTheSetsThatItHadWhenItsUndoOrRedoBegan)
{
    modules->all = {d};
    manager.markAllModulesBeforeFirstCommandAsModified();
    const auto command = add("A", {a});
    command->onUndo = [this]
    {
        manager.adjustOnSave(0);
    };
    command->onRedo = [this]
    {
        manager.adjustOnSave(1);
    };

    manager.undo(1);
    EXPECT_EQ(modifiedOf(0), "d");
    manager.redo(1);
    EXPECT_EQ(modifiedOf(1), "ad");
}

TEST_F(CommandManagerTrackingOrder, TrimmingKeepsTheStateBeforeTheLastCommandDropped)
{
    add("A", {a});
    add("B", {b});
    add("C", {c});
    manager.setMaxQueueSize(1);

    manager.setUsesMaxQueueSize(true);

    EXPECT_EQ(queues(), "[C|]");
    EXPECT_EQ(history(0), "ab,abc");
    manager.takeLastExecutedCommand();
    EXPECT_EQ(modifiedOf(0), "a");
}

TEST_F(CommandManagerTrackingOrder, TrimmingAfterASaveInMidHistoryKeepsBothTrackers)
{
    add("A", {a});
    add("B", {b});
    add("C", {c});
    manager.undo(1);
    manager.adjustOnSave(0);
    manager.setMaxQueueSize(1);
    manager.setUsesMaxQueueSize(true);

    EXPECT_EQ(queues(), "[|C]");
    EXPECT_EQ(history(0), ",c");
    EXPECT_EQ(history(1), "ab,abc");
    add("D", {d});
    EXPECT_EQ(history(0), ",d");
    manager.takeLastExecutedCommand();
    EXPECT_EQ(modifiedOf(0), "");
    EXPECT_EQ(modifiedOf(1), "ab");
}

TEST_F(CommandManagerTrackingOrder, DroppingBothQueuesLeavesTheBaseSetsAlone)
{
    modules->all = {d};
    manager.markAllModulesBeforeFirstCommandAsModified();
    add("A", {a});
    add("B", {b});
    add("C", {c});
    manager.undo(2);
    manager.setMaxQueueSize(1);

    manager.setUsesMaxQueueSize(true);

    EXPECT_EQ(queues(), "[|]");
    EXPECT_EQ(modifiedOf(0), "d");
    EXPECT_EQ(modifiedOf(1), "d");
    EXPECT_THAT(takeJournal(), testing::Not(testing::Contains("  queueChanged 2 [|]")));
}

TEST_F(CommandManagerTrackingOrder, ClearAfterASaveInMidHistoryKeepsWhatIsModifiedThere)
{
    add("A", {a});
    manager.adjustOnSave(0);
    add("B", {b});
    add("C", {c});
    manager.undo(1);

    manager.clear();

    EXPECT_EQ(modifiedOf(0), "b");
    EXPECT_EQ(modifiedOf(1), "ab");
    add("D", {d});
    EXPECT_EQ(history(0), "b,bd");
    EXPECT_EQ(history(1), "ab,abd");
}

TEST_F(CommandManagerTrackingOrder, TakingAllCommandsKeepsWhatIsModified)
{
    add("A", {a});
    manager.adjustOnSave(1);
    add("B", {b});

    manager.takeExecutedCommands();

    EXPECT_EQ(modifiedOf(0), "ab");
    EXPECT_EQ(modifiedOf(1), "b");
}

TEST_F(CommandManagerTrackingOrder, TakingTheLastCommandGoesBackToTheStateOfTheOneBefore)
{
    add("A", {a});
    manager.adjustOnSave(0);
    add("B", {b});
    add("C", {c});
    manager.undo(1);

    manager.takeLastExecutedCommand();

    EXPECT_EQ(modifiedOf(0), "");
    manager.takeLastExecutedCommand();
    // Nothing to undo: the next one to redo tells.
    EXPECT_EQ(modifiedOf(0), "b");
    EXPECT_EQ(modifiedOf(1), "ab");
}

TEST_F(CommandManagerTrackingOrder, AMergedEntryHasTheModulesReportedWhenItIsQueued)
{
    modules->modified = {a};
    manager.addCommandToMergeWithNextCommand(std::make_shared<RecordingCommand>("A"), false);
    EXPECT_EQ(modifiedOf(0), "a");
    modules->modified.insert(b);
    manager.addCommand(std::make_shared<RecordingCommand>("B"));
    manager.adjustOnSave(0);

    EXPECT_EQ(history(0), "ab,");
    EXPECT_EQ(history(1), ",ab");
}

TEST_F(CommandManagerTrackingOrder, WhatTheApplicationReportsNowIsAddedAndNotKept)
{
    add("A", {a});
    modules->modified = {b};
    modules->saveOnNextSave = {c};
    EXPECT_EQ(modifiedOf(0), "ab");
    EXPECT_EQ(lettersOf(manager.getModifiedOrSaveOnNextSaveModules(0)), "abc");
    manager.adjustOnSave(0);
    EXPECT_EQ(modifiedOf(0), "b");
    EXPECT_EQ(lettersOf(manager.getModifiedOrSaveOnNextSaveModules(0)), "bc");
    modules->modified.clear();
    EXPECT_EQ(modifiedOf(0), "");
}

TEST_F(CommandManagerTrackingOrder, ANewInterfaceIsAskedFromThenOnAndRecordedSetsAreKept)
{
    add("A", {a});
    const std::weak_ptr<ModuleAccessInterface> previous = modules;
    modules = std::make_shared<AskedModules>();
    modules->modified = {b};

    manager.setModuleAccessInterface(modules);

    EXPECT_TRUE(previous.expired());
    EXPECT_EQ(modifiedOf(0), "ab");
}

TEST_F(CommandManagerTrackingOrder, AnInterfaceMayReplaceItselfWhileItIsAsked)
{
    struct Case
    {
        std::function<void()> operation;
        /// Which of its questions, counted from 1.
        int question = 1;
    };

    const std::vector<Case> cases = {
        {.operation =
             [this]
         {
             manager.addExecutedCommand(std::make_shared<RecordingCommand>("A"));
         }},
        {.operation =
             [this]
         {
             manager.clear();
         }},
        {.operation =
             [this]
         {
             manager.getModifiedModules(0);
         }},
        {.operation = [this] { manager.getModifiedOrSaveOnNextSaveModules(0); }, .question = 2},
        {.operation =
             [this]
         {
             manager.markAllModulesBeforeFirstCommandAsModified();
         }},
    };
    for (const Case& one : cases)
    {
        auto asked = std::make_shared<AskedModules>();
        const std::weak_ptr<AskedModules> watched = asked;
        manager.setModuleAccessInterface(asked);
        int questions = 0;
        asked->onAsk = [&]
        {
            if (++questions == one.question)
            {
                manager.setModuleAccessInterface(modules);
                note(watched.expired() ? "died while it was asked" : "still alive");
            }
        };
        asked.reset();

        one.operation();

        EXPECT_THAT(takeJournal(), testing::Contains("  still alive"));
        EXPECT_TRUE(watched.expired());
    }
}

TEST(CommandManagerWithoutModules, ReportsNoneWhateverTheQueuesHold)
{
    CommandManager manager;
    manager.addCommand(std::make_shared<RecordingCommand>("A"));
    manager.addCommand(std::make_shared<RecordingCommand>("B"));
    manager.undo(1);
    manager.markAllModulesBeforeFirstCommandAsModified();
    for (const std::uint64_t tracker : {0U, 1U})
    {
        EXPECT_THAT(manager.getModifiedModules(tracker), IsEmpty());
        EXPECT_THAT(manager.getModifiedOrSaveOnNextSaveModules(tracker), IsEmpty());
    }
    takeJournal();
}

TEST_F(CommandManagerTrackingOrder, AnInterfaceThatFailsToForgetLeavesTheModulesRecorded)
{
    modules->onMark = throwNotNow;
    modules->modified = {a};
    EXPECT_THROW(manager.addExecutedCommand(std::make_shared<RecordingCommand>("A")), std::runtime_error);
    modules->onMark = nullptr;
    modules->modified.clear();
    takeJournal();
    EXPECT_EQ(history(0), ",a");
}

TEST_F(CommandManagerTrackingOrder, AFailedQuestionAboutAllModulesLeavesTheBaseSetsAlone)
{
    modules->all = {a};
    manager.markAllModulesBeforeFirstCommandAsModified();
    modules->all = {b};
    modules->onAsk = throwNotNow;
    EXPECT_THROW(manager.markAllModulesBeforeFirstCommandAsModified(), std::runtime_error);
    EXPECT_THROW(manager.getModifiedModules(0), std::runtime_error);
    EXPECT_THROW(manager.getModifiedOrSaveOnNextSaveModules(0), std::runtime_error);
    modules->onAsk = nullptr;
    EXPECT_EQ(modifiedOf(0), "a");
}

} // namespace
} // namespace Valdane

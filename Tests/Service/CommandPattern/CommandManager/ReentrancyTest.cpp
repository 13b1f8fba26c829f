#include "Service/CommandPattern/CommandCollector.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ManagerJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using ValdaneTests::ElementsAre;

/// Calls back when it dies.
class LastWordsCommand : public RecordingCommand
{
public:
    LastWordsCommand(const std::string& commandText, std::function<void()> words)
        : RecordingCommand(commandText), lastWords(std::move(words))
    {
    }

    LastWordsCommand(const LastWordsCommand&) = delete;
    LastWordsCommand& operator=(const LastWordsCommand&) = delete;
    LastWordsCommand(LastWordsCommand&&) = delete;
    LastWordsCommand& operator=(LastWordsCommand&&) = delete;

    ~LastWordsCommand() override
    {
        lastWords();
    }

private:
    std::function<void()> lastWords;
};

class Reentrancy : public ManagerJournal
{
protected:
    /// Has @p action run once, in the slot of the first emission of @p signal.
    void once(const std::string& signal, const std::function<void()>& action)
    {
        onSignal = [this, signal, action](const std::string& emitted)
        {
            if (emitted == signal)
            {
                onSignal = nullptr;
                action();
            }
        };
    }

    void execute(const std::string& name)
    {
        EXPECT_TRUE(manager.addCommand(std::make_shared<RecordingCommand>(name)));
    }

    /// Queues a command that does @p lastWords when it dies.
    void addDying(const std::string& name, const std::function<void()>& lastWords)
    {
        EXPECT_TRUE(manager.addCommand(std::make_shared<LastWordsCommand>(name, lastWords)));
        takeJournal();
    }

    /// What the journal has without progresses and modules: commands and signals.
    static std::vector<std::string> takeEvents()
    {
        std::vector<std::string> events = takeJournal();
        std::erase_if(events,
                      [](const std::string& event) {
                          return event.find("progress") != std::string::npos ||
                                 event.find("modules.") != std::string::npos;
                      });
        return events;
    }
};

TEST_F(Reentrancy, ASlotThatExecutesACommandPutsItOnTop)
{
    once("queueChanged 3", [this] { execute("B"); });

    execute("A");

    EXPECT_THAT(takeEvents(),
                ElementsAre("* A.execute", "  queueChanged 3 [A|]", "* B.execute", "  queueChanged 3 [B A|]",
                            "  executed [B A|]", "  executed [B A|]"));
}

TEST_F(Reentrancy, ASlotThatUndoesWhatWasExecutedMovesIt)
{
    once("executed", [this] { manager.undo(1); });

    execute("A");

    EXPECT_THAT(takeEvents(),
                ElementsAre("* A.execute", "  queueChanged 3 [A|]", "  executed [A|]", "* A.undo",
                            "  A.isRedoCapable", "  undone [|A]", "  queueChanged 0 [|A]"));
}

TEST_F(Reentrancy, ASlotThatUndoesDuringUndoTakesStepsFromTheQueueNotFromTheCount)
{
    add("A");
    add("B");
    add("C");
    once("undone", [this] { manager.undo(1); });

    EXPECT_TRUE(manager.undo(2));

    EXPECT_THAT(takeEvents(), ElementsAre("* C.undo", "  C.isRedoCapable", "  undone [B A|C]", "* B.undo",
                                          "  B.isRedoCapable", "  undone [A|B C]", "  queueChanged 0 [A|B C]",
                                          "  queueChanged 0 [A|B C]", "* A.undo", "  A.isRedoCapable",
                                          "  undone [|A B C]", "  queueChanged 0 [|A B C]"));
}

TEST_F(Reentrancy, ASlotThatRedoesDuringUndoAndTheReverse)
{
    add("A");
    once("undone", [this] { manager.redo(1); });
    EXPECT_TRUE(manager.undo(1));
    EXPECT_THAT(takeEvents(),
                ElementsAre("* A.undo", "  A.isRedoCapable", "  undone [|A]", "* A.redo", "  executed [A|]",
                            "  queueChanged 1 [A|]", "  queueChanged 0 [A|]"));

    manager.undo(1);
    takeJournal();
    once("executed", [this] { manager.undo(1); });
    EXPECT_TRUE(manager.redo(1));
    EXPECT_THAT(takeEvents(), ElementsAre("* A.redo", "  executed [A|]", "* A.undo", "  A.isRedoCapable",
                                          "  undone [|A]", "  queueChanged 0 [|A]", "  queueChanged 1 [|A]"));
}

TEST_F(Reentrancy, ASlotThatClearsEndsAnUndoOfSeveralCommands)
{
    add("A");
    add("B");
    once("undone", [this] { manager.clear(); });

    EXPECT_TRUE(manager.undo(2));

    EXPECT_THAT(takeEvents(), ElementsAre("* B.undo", "  B.isRedoCapable", "  undone [A|B]",
                                          "  queueChanged 2 [|]", "  queueChanged 0 [|]"));
}

TEST_F(Reentrancy, ASlotThatClearsOnClearFindsEmptyQueues)
{
    add("A");
    once("queueChanged 2", [this] { manager.clear(); });
    manager.clear();
    EXPECT_THAT(takeEvents(), ElementsAre("  queueChanged 2 [|]", "  queueChanged 2 [|]"));
}

TEST_F(Reentrancy, ASlotThatLowersTheLimitDropsTheCommandThatWasJustAdded)
{
    once("queueChanged 3",
         [this]
         {
             manager.setMaxQueueSize(0);
             manager.setUsesMaxQueueSize(true);
         });

    execute("A");

    EXPECT_THAT(takeEvents(), ElementsAre("* A.execute", "  queueChanged 3 [A|]", "  executed [|]"));
}

TEST_F(Reentrancy, ASlotThatLowersTheLimitDuringRedoDropsTheOldest)
{
    add("A");
    add("B");
    manager.undo(2);
    takeJournal();
    once("executed",
         [this]
         {
             manager.setMaxQueueSize(1);
             manager.setUsesMaxQueueSize(true);
         });

    EXPECT_TRUE(manager.redo(2));

    EXPECT_THAT(takeEvents(), ElementsAre("* A.redo", "  executed [A|B]", "  queueChanged 1 [|B]", "* B.redo",
                                          "  executed [B|]", "  queueChanged 1 [B|]"));
}

TEST_F(Reentrancy, ASlotThatSavesSetsTheSavePointAfterTheCommand)
{
    modules->modified = {module(0)};
    once("queueChanged 3", [this] { manager.adjustOnSave(0); });
    execute("A");
    EXPECT_EQ(modifiedOf(0), "");
    EXPECT_EQ(modifiedOf(1), "a");

    once("undone", [this] { manager.adjustOnSave(1); });
    manager.undo(1);
    EXPECT_EQ(modifiedOf(0), "a");
    EXPECT_EQ(modifiedOf(1), "");
}

TEST_F(Reentrancy, ASlotThatTakesTheCommandLeavesTheRestOfTheOperationIntact)
{
    std::shared_ptr<CommandBase> taken;
    once("queueChanged 3", [&] { taken = manager.takeLastExecutedCommand(); });
    execute("A");
    EXPECT_THAT(takeEvents(), ElementsAre("* A.execute", "  queueChanged 3 [A|]", "  executed [|]"));
    EXPECT_EQ(taken->getDescription(), "A");
}

TEST_F(Reentrancy, ASlotThatReactsToAFailureMayUseTheManager)
{
    add("A")->onUndo = []
    {
        throw std::runtime_error("no power");
    };
    once("failed(no power, A)",
         [this]
         {
             manager.clear();
             execute("B");
         });

    EXPECT_FALSE(manager.undo(5));

    EXPECT_THAT(takeEvents(),
                ElementsAre("* A.undo", "  error: Undo of command 'A' failed with exception: no power",
                            "  failed(no power, A) [A|]", "  queueChanged 2 [|]", "* B.execute",
                            "  queueChanged 3 [B|]", "  executed [B|]"));
    EXPECT_FALSE(manager.isProcessingCommand());
}

TEST_F(Reentrancy, ACommandThatUndoesAndSavesWhileItExecutes)
{
    add("A", {module(0)});
    const auto command = std::make_shared<RecordingCommand>("B");
    command->onExecute = [this]
    {
        manager.undo(1);
        manager.adjustOnSave(0);
        note("still executing");
    };

    EXPECT_TRUE(manager.addCommand(command));

    EXPECT_THAT(takeEvents(), ElementsAre("* B.execute", "* A.undo", "  A.isRedoCapable", "  undone [|A]",
                                          "  queueChanged 0 [|A]", "  still executing",
                                          "  queueChanged 3 [B|]", "  executed [B|]"));
    EXPECT_EQ(modifiedOf(0), "");
}

TEST_F(Reentrancy, ACommandThatClearsOrLimitsWhileItExecutesIsStillQueued)
{
    add("A");
    const auto command = std::make_shared<RecordingCommand>("B");
    command->onExecute = [this]
    {
        manager.clear();
        manager.setMaxQueueSize(1);
        manager.setUsesMaxQueueSize(true);
    };

    EXPECT_TRUE(manager.addCommand(command));
    EXPECT_EQ(queues(), "[B|]");
}

TEST_F(Reentrancy, ACommandThatIsDroppedByItsOwnUndoMovesAllTheSame)
{
    const auto command = add("A");
    command->onUndo = [this]
    {
        manager.setMaxQueueSize(0);
        manager.setUsesMaxQueueSize(true);
        EXPECT_EQ(queues(), "[|]");
    };

    EXPECT_TRUE(manager.undo(1));

    EXPECT_EQ(queues(), "[|A]");
}

TEST_F(Reentrancy, ACommandThatExecutesAnotherDuringItsUndoLeavesThatOneOnTop)
{
    const auto command = add("A");
    command->onUndo = [this]
    {
        execute("X");
    };

    EXPECT_TRUE(manager.undo(1));

    EXPECT_THAT(takeEvents(),
                ElementsAre("* A.undo", "* X.execute", "  queueChanged 3 [X A|]", "  executed [X A|]",
                            "  A.isRedoCapable", "  undone [X A|A]", "  queueChanged 0 [X A|A]"));
    EXPECT_FALSE(manager.isProcessingCommand());
}

TEST_F(Reentrancy, ACommandThatExecutesAnotherDuringItsRedoStandsAboveIt)
{
    const auto command = add("A");
    add("B");
    manager.undo(2);
    takeJournal();
    command->onRedo = [this]
    {
        execute("X");
    };

    EXPECT_TRUE(manager.redo(2));

    EXPECT_THAT(takeEvents(), ElementsAre("* A.redo", "* X.execute", "  queueChanged 3 [X|]",
                                          "  executed [X|]", "  executed [A X|]", "  queueChanged 1 [A X|]"));
}

TEST_F(Reentrancy, ACommandThatUndoesDuringItsUndoIsRemovedOnce)
{
    add("A");
    const auto command = add("B");
    command->onUndo = [this, &command]
    {
        command->onUndo = nullptr;
        manager.undo(1);
    };

    EXPECT_TRUE(manager.undo(1));

    // The inner call has removed its entry: the outer one finds A on top, and leaves it there.
    EXPECT_EQ(queues(), "[A|B B]");
}

TEST_F(Reentrancy, ACommandThatUndoesAnotherDuringItsRedoLeavesItInTheRedoQueue)
{
    add("A");
    const auto command = add("B");
    manager.undo(1);
    takeJournal();
    command->onRedo = [this]
    {
        manager.undo(1);
    };

    EXPECT_TRUE(manager.redo(1));

    EXPECT_THAT(takeEvents(),
                ElementsAre("* B.redo", "* A.undo", "  A.isRedoCapable", "  undone [|A B]",
                            "  queueChanged 0 [|A B]", "  executed [B|A B]", "  queueChanged 1 [B|A B]"));
}

TEST_F(Reentrancy, ACommandThatTakesItselfDuringItsUndoAndRedo)
{
    const auto command = add("A");
    add("B");
    manager.undo(1);
    takeJournal();
    command->onUndo = [this, &command]
    {
        EXPECT_EQ(manager.takeLastExecutedCommand(), command);
    };
    command->onRedo = [this]
    {
        EXPECT_EQ(manager.takeExecutedCommands(), nullptr);
    };

    EXPECT_TRUE(manager.undo(1));
    EXPECT_EQ(queues(), "[|A B]");
    EXPECT_TRUE(manager.redo(1));
    EXPECT_EQ(queues(), "[A|B]");
}

TEST_F(Reentrancy, ACommandOfAMacroMayUseTheManager)
{
    const auto macro = std::make_shared<MacroCommand>("M");
    const auto part = std::make_shared<RecordingCommand>("part");
    part->onExecute = [this]
    {
        execute("X");
    };
    part->onUndo = [this]
    {
        manager.clear();
    };
    macro->addCommand(part);

    EXPECT_TRUE(manager.addCommand(macro));
    EXPECT_EQ(queues(), "[M X|]");
    EXPECT_TRUE(manager.undo(1));
    EXPECT_EQ(queues(), "[|M]");
}

TEST_F(Reentrancy, AModuleInterfaceMayUseTheManager)
{
    add("A", {module(0)});
    modules->modified = {module(1)};
    modules->onMark = [this]
    {
        modules->onMark = nullptr;
        manager.adjustOnSave(0);
    };

    execute("B");

    EXPECT_EQ(modifiedOf(0), "");
    EXPECT_EQ(modifiedOf(1), "ab");
}

TEST_F(Reentrancy, DyingCommandsFindTheQueueThatHeldThemEmptyWhenItIsCleared)
{
    std::vector<std::string> seen;
    const auto look = [&]
    {
        seen.push_back(queues());
        manager.clear();
    };
    addDying("A", look);
    addDying("B", look);
    addDying("C", look);
    manager.undo(1);

    manager.clear();

    EXPECT_THAT(seen, ElementsAre("[|C]", "[|]", "[|]"));
}

TEST_F(Reentrancy, DyingCommandsMayExecuteOthersWhenTheQueueIsCleared)
{
    addDying("A", [this] { execute("X"); });
    addDying("B", [this] { execute("Y"); });
    takeJournal();

    manager.takeExecutedCommands().reset();

    EXPECT_EQ(queues(), "[Y X|]");
}

TEST_F(Reentrancy, DyingCommandsMayUseTheManagerWhenTheLimitDropsThem)
{
    std::vector<std::string> seen;
    addDying("A",
             [&]
             {
                 seen.push_back(queues());
                 execute("X");
             });
    addDying("B", [&] { seen.push_back(queues()); });
    add("C");
    manager.setMaxQueueSize(2);

    manager.setUsesMaxQueueSize(true);

    EXPECT_EQ(queues(), "[X C|]");
    EXPECT_THAT(seen, ElementsAre("[C B|]", "[X C|]"));
}

TEST_F(Reentrancy, DyingCommandsMayUseTheManagerWhenBothQueuesAreDropped)
{
    addDying("A", [this] { manager.setUsesMaxQueueSize(false); });
    addDying("B", [this] { manager.clear(); });
    addDying("C", [this] { manager.undo(3); });
    manager.undo(2);
    manager.setMaxQueueSize(1);

    manager.setUsesMaxQueueSize(true);

    EXPECT_EQ(queues(), "[|]");
}

TEST_F(Reentrancy, DyingCommandsMayUseTheManagerWhenTheRedoQueueIsLost)
{
    add("A");
    addDying("B", [this] { manager.undo(1); });
    manager.undo(1);
    takeJournal();

    execute("C");

    // B's last words undo A, which could be redone until C is recorded.
    EXPECT_EQ(queues(), "[C|]");
}

TEST_F(Reentrancy, WhatADyingCommandUndoesWhileTheRedoQueueIsLostStaysModified)
{
    add("B", {module(1)});
    manager.adjustOnSave(0);
    addDying("C", [this] { manager.undo(1); });
    manager.undo(1);

    add("D");

    EXPECT_EQ(queues(), "[D|]");
    EXPECT_EQ(modifiedOf(0), "b");
}

TEST_F(Reentrancy, DyingCommandsMayUseTheManagerWhenTheyCannotBeRedone)
{
    add("A")->redoCapable = false;
    addDying("B", [this] { execute("X"); });
    manager.undo(1);
    takeJournal();

    EXPECT_TRUE(manager.undo(1));

    EXPECT_EQ(queues(), "[X|]");
}

TEST_F(Reentrancy, AnUndoneCommandThatCannotBeRedoneDiesWhenAllHaveHeardOfIt)
{
    auto dying = std::make_shared<LastWordsCommand>("A", [] { note("A dies"); });
    dying->redoCapable = false;
    manager.addCommand(std::move(dying));
    takeJournal();

    EXPECT_TRUE(manager.undo(1));

    EXPECT_EQ(takeJournal().back(), "  A dies");
}

TEST_F(Reentrancy, ARedoneCommandThatAListenerThrowsOutDiesWhenAllHaveHeardOfIt)
{
    addDying("A", [] { note("A dies"); });
    manager.undo(1);
    takeJournal();
    once("executed", [this] { manager.clear(); });

    EXPECT_TRUE(manager.redo(1));

    EXPECT_EQ(takeJournal().back(), "  A dies");
}

TEST_F(Reentrancy, ACommandThatCannotBeQueuedDiesWhenWhatWaitsToBeMergedWaitsAgain)
{
    manager.addCommandToMergeWithNextCommand(std::make_shared<RecordingCommand>("waiting"), false);
    modules->onAsk = [this]
    {
        modules->onAsk = nullptr;
        throw std::runtime_error("no modules");
    };

    EXPECT_THROW(manager.addExecutedCommand(
                     std::make_shared<LastWordsCommand>("lost", [this] { execute("last words"); })),
                 std::runtime_error);

    const auto macro = std::dynamic_pointer_cast<MacroCommand>(manager.takeLastExecutedCommand());
    ASSERT_NE(macro, nullptr);
    EXPECT_EQ(macro->getFirstCommand()->getDescription(), "last words");
    EXPECT_EQ(macro->getLastCommand()->getDescription(), "waiting");
}

TEST_F(Reentrancy, DyingCommandsThatWaitedToBeMergedMayAddOthersToMerge)
{
    for (const std::string name : {"A", "B"})
    {
        manager.addCommandToMergeWithNextCommand(
            std::make_shared<LastWordsCommand>(
                name,
                [this, name]
                {
                    manager.addCommandToMergeWithNextCommand(
                        std::make_shared<RecordingCommand>("after " + name), false);
                    manager.addCommandToMergeWithNextCommand(
                        std::make_shared<RecordingCommand>("and " + name), false);
                }),
            false);
    }

    manager.clear();

    add("C");
    const auto macro = std::dynamic_pointer_cast<MacroCommand>(manager.takeLastExecutedCommand());
    ASSERT_NE(macro, nullptr);
    EXPECT_EQ(macro->size(), 5U);
}

TEST_F(Reentrancy, DyingCommandsThatWaitedToBeMergedMayClear)
{
    int deaths = 0;
    for (int i = 0; i < 3; ++i)
    {
        manager.addCommandToMergeWithNextCommand(std::make_shared<LastWordsCommand>("A",
                                                                                    [&]
                                                                                    {
                                                                                        ++deaths;
                                                                                        manager.clear();
                                                                                    }),
                                                 false);
    }
    manager.clear();
    EXPECT_EQ(deaths, 3);
}

TEST_F(Reentrancy, ADyingCommandThatWaitedToBeMergedFindsTheSavedPositionOfTheClearedHistory)
{
    add("A");
    std::optional<std::uint64_t> found;
    manager.addCommandToMergeWithNextCommand(
        std::make_shared<LastWordsCommand>("M", [&] { found = manager.getSavedPosition(0); }), false);
    manager.adjustOnSave(0);

    manager.clear();

    EXPECT_EQ(found, std::uint64_t{0}) << "it waits no more";
}

TEST_F(Reentrancy, ADyingCommandFindsTheSavedPositionWhileACommandStillWaitsToBeMerged)
{
    std::optional<std::uint64_t> found;
    manager.addCommand(std::make_shared<LastWordsCommand>("A", [&] { found = manager.getSavedPosition(0); }));
    manager.addCommandToMergeWithNextCommand(std::make_shared<RecordingCommand>("M"), false);
    manager.adjustOnSave(0);

    manager.clear();

    EXPECT_EQ(found, std::uint64_t{0}) << "the data are as they were saved";
}

TEST_F(Reentrancy, NoUndoLeadsToTheSaveOnceADyingCommandHasAddedOneThatTakesUpTheCommandsThatWait)
{
    for (const bool isUndone : {false, true})
    {
        SCOPED_TRACE(isUndone);
        manager.addCommand(std::make_shared<LastWordsCommand>("A", [&] { add("B"); }));
        manager.undo(isUndone ? 1 : 0);
        manager.addCommandToMergeWithNextCommand(std::make_shared<RecordingCommand>("M"), false);
        manager.adjustOnSave(0);

        manager.clear();

        EXPECT_EQ(manager.getPosition(), 1U) << "M and B as one";
        EXPECT_EQ(manager.getSavedPosition(0), std::nullopt) << "undo goes back to before M";
        manager.clear();
    }
}

TEST_F(Reentrancy, AGroupThatIsOpenedInAClearLeavesTheSaveFromBeforeIt)
{
    add("A");
    modules->onAsk = [this]
    {
        modules->onAsk = nullptr;
        manager.adjustOnSave(0);
        manager.beginGroup("G");
        add("B");
    };
    manager.clear();
    manager.endGroup();
    EXPECT_EQ(manager.getSavedPosition(0), std::uint64_t{0}) << "undo leads back to what was saved";
}

TEST_F(Reentrancy, WhatIsSavedInAGroupThatIsOpenedInAClearIsNotTheStateWithoutIt)
{
    modules->onAsk = [this]
    {
        modules->onAsk = nullptr;
        manager.beginGroup("G");
        add("B");
        manager.adjustOnSave(0);
    };
    manager.clear();
    manager.endGroup();
    EXPECT_EQ(manager.getPosition(), 1U);
    EXPECT_NE(manager.getSavedPosition(0), std::uint64_t{0});
}

TEST_F(Reentrancy, DyingCommandsOfAMacroMayUseTheMacro)
{
    MacroCommand macro;
    int deaths = 0;
    const auto lastWords = [&]
    {
        ++deaths;
        if (deaths == 1)
        {
            macro.addCommand(std::make_shared<RecordingCommand>("X"));
        }
        macro.removeLastCommand();
    };
    macro.addCommand(std::make_shared<LastWordsCommand>("A", lastWords));
    macro.addCommand(std::make_shared<LastWordsCommand>("B", lastWords));

    macro.clear();

    EXPECT_EQ(deaths, 2);
    EXPECT_TRUE(macro.empty());
}

TEST_F(Reentrancy, ACommandThatDiesWithARecordingMayContinueIt)
{
    CommandCollector collector(manager);
    collector.connect(true);
    EXPECT_TRUE(collector.getCommandManager()->addCommand(std::make_shared<RecordingCommand>("B")));
    EXPECT_TRUE(collector.getCommandManager()->addCommand(std::make_shared<LastWordsCommand>(
        "A", [&] { collector.getCommandManager()->addCommand(std::make_shared<RecordingCommand>("X")); })));
    manager.undo(1);

    EXPECT_EQ(collector.getExecutedCommands()->size(), 1U);

    EXPECT_EQ(queues(), "[X|]");
    EXPECT_EQ(collector.getExecutedCommands()->size(), 1U);
}

} // namespace
} // namespace Valdane

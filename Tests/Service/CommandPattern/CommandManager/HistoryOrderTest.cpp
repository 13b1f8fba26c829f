#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/ManagerJournal.h"
#include "Tests/Support/MessageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
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

/// What is told of the history, among the other signals, as "history [rows] position: saved positions, modules".
class HistoryOrder : public ManagerJournal
{
protected:
    static std::shared_ptr<RecordingCommand> make(const std::string& name)
    {
        return std::make_shared<RecordingCommand>(name);
    }

    std::string savedPositions() const
    {
        std::string text;
        for (const std::uint64_t tracker : {0U, 1U})
        {
            const auto position = manager.getSavedPosition(tracker);
            text += position.has_value() ? std::to_string(*position) : "-";
        }
        return text;
    }

    static std::string textOf(const HistoryChange& change)
    {
        std::string rows;
        for (const RowChange& row : change.rows)
        {
            rows += (rows.empty() ? "" : " ") + std::to_string(row.first) + "-" +
                    std::to_string(row.removed) + "+" + std::to_string(row.inserted);
        }
        const std::string modules = lettersOf(change.modulesOfRemoved);
        return "history [" + rows + "] " + std::to_string(change.positionBefore) + ">" +
               std::to_string(change.positionAfter) + (change.undoneCommandLeft ? " left" : "") +
               (change.savedPositionsChanged ? " saved" : "") + (modules.empty() ? "" : " " + modules);
    }

    /// Adds commands of one letter, each of which modifies the module of that letter.
    void fill(const std::string& letters)
    {
        for (const char letter : letters)
        {
            add(std::string(1, letter), {module(static_cast<std::size_t>(letter - 'a'))});
        }
    }

    Signals::Connection history = manager.connectToSigHistoryChanged([this](const HistoryChange& change)
                                                                     { noteSignal(textOf(change)); });
};

TEST_F(HistoryOrder, IsToldBeforeTheOtherSignalsOfTheSameChange)
{
    manager.addCommand(make("A"));
    EXPECT_THAT(takeJournal(),
                ElementsAre("* A.progress.reset", "* A.execute", "* A.progress.setComplete",
                            "  modules.modified", "  modules.mark", "  history [0-0+1] 0>1 [A|]",
                            "  queueChanged 3 [A|]", "  executed [A|]"));

    manager.undo(1);
    EXPECT_THAT(takeJournal(), ElementsAre("* progress.setSubProgress(A.progress, 100, 1)", "* A.undo",
                                           "  A.isRedoCapable", "  modules.mark", "  history [] 1>0 [|A]",
                                           "  undone [|A]", "  queueChanged 0 [|A]"));

    manager.redo(1);
    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(A.progress, 100, 1)", "* A.redo", "  modules.mark",
                            "  history [] 0>1 [A|]", "  executed [A|]", "  queueChanged 1 [A|]"));
}

TEST_F(HistoryOrder, EachStepIsToldByItself)
{
    fill("abc");
    std::vector<std::string> told;
    onSignal = [&](const std::string& signal)
    {
        told.push_back(signal);
    };
    manager.undo(2);
    manager.redoAll();
    EXPECT_THAT(told, ElementsAre("history [] 3>2", "undone", "queueChanged 0", "history [] 2>1", "undone",
                                  "queueChanged 0", "history [] 1>2", "executed", "queueChanged 1",
                                  "history [] 2>3", "executed", "queueChanged 1"));
}

TEST_F(HistoryOrder, ACommandThatIsAddedReplacesWhatCouldBeRedone)
{
    fill("abc");
    manager.undo(2);
    takeJournal();
    manager.addExecutedCommand(make("X"));
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  modules.mark",
                                           "  history [1-2+1] 1>2 bc [X a|]", "  queueChanged 3 [X a|]"));
}

TEST_F(HistoryOrder, AnAddAfterAnUndoAtTheLimitHasTwoChanges)
{
    manager.setMaxQueueSize(3);
    manager.setUsesMaxQueueSize(true);
    fill("abc");
    manager.undo(1);
    manager.setMaxQueueSize(2);
    takeJournal();
    manager.addExecutedCommand(make("X"));
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  modules.mark",
                                           "  history [1-1+1] 1>2 c [X b|]", "  queueChanged 3 [X b|]"));
    manager.addExecutedCommand(make("Y"));
    EXPECT_THAT(takeJournal(),
                ElementsAre("  modules.modified", "  modules.mark", "  history [2-0+1 0-1+0] 2>2 b [Y X|]",
                            "  queueChanged 3 [Y X|]"));
}

TEST_F(HistoryOrder, WhatOtherSignalsAreSilentAboutIsTold)
{
    fill("abcde");
    manager.undo(1);
    takeJournal();

    manager.adjustOnSave(1);
    EXPECT_THAT(takeJournal(), ElementsAre("  history [] 4>4 saved [d c b a|e]"));
    manager.adjustOnSave(1);
    EXPECT_THAT(takeJournal(), IsEmpty()) << "nothing has changed";
    manager.takeLastExecutedCommand();
    EXPECT_THAT(takeJournal(), ElementsAre("  history [3-1+0] 4>3 saved d [c b a|e]"));
    manager.forgetRedoCommands();
    EXPECT_THAT(takeJournal(), ElementsAre("  history [3-1+0] 3>3 e [c b a|]"));
    manager.forgetRedoCommands();
    EXPECT_THAT(takeJournal(), IsEmpty());
    manager.setMaxQueueSize(1);
    EXPECT_THAT(takeJournal(), IsEmpty());
    manager.setUsesMaxQueueSize(true);
    EXPECT_THAT(takeJournal(), ElementsAre("  history [0-2+0] 3>1 saved ab [c|]"));
    manager.addCommandToMergeWithNextCommand(make("M"), false);
    EXPECT_THAT(takeJournal(), ElementsAre("* M.progress.reset", "* M.execute", "* M.progress.setComplete",
                                           "  history [] 1>1 saved [c|]"));
    manager.clear();
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  modules.modified",
                                           "  history [0-1+0] 1>0 c [|]", "  queueChanged 2 [|]"));
    manager.clear();
    EXPECT_THAT(takeJournal(),
                ElementsAre("  modules.modified", "  modules.modified", "  queueChanged 2 [|]"))
        << "nothing has changed";
    manager.adjustOnSave(0);
    takeJournal();
    manager.markAllModulesBeforeFirstCommandAsModified();
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.all", "  history [] 0>0 saved [|]"));
}

TEST_F(HistoryOrder, ACommandThatCannotBeRedoneLeavesWithAllThatCouldBe)
{
    fill("ab");
    add("X");
    auto stubborn = make("S");
    stubborn->redoCapable = false;
    modules->modified = {module(18)};
    manager.addCommand(stubborn);
    fill("z");
    manager.undo(1);
    manager.adjustOnSave(0);
    takeJournal();

    manager.undo(1);

    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(S.progress, 100, 1)", "* S.undo", "  S.isRedoCapable",
                            "  modules.mark", "  history [3-2+0] 4>3 left saved sz [X b a|]",
                            "  undone [X b a|]", "  queueChanged 0 [X b a|]"));
    EXPECT_EQ(savedPositions(), "--");

    manager.takeLastExecutedCommand();
    EXPECT_THAT(takeJournal(), ElementsAre("  history [2-1+0] 3>2 [b a|]")) << "this one stays done";
}

TEST_F(HistoryOrder, WhatIsClearedIsToldWithTheModulesOfAllThatLeaves)
{
    fill("abc");
    manager.undo(2);
    takeJournal();
    manager.clear();
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  modules.modified",
                                           "  history [0-3+0] 1>0 abc [|]", "  queueChanged 2 [|]"));
}

TEST_F(HistoryOrder, ASlotThatChangesTheHistoryIsToldOfThatAfterwards)
{
    fill("abc");
    std::vector<std::string> second;
    const auto other = manager.connectToSigHistoryChanged([&](const HistoryChange& change)
                                                          { second.push_back(textOf(change)); });
    onSignal = [&](const std::string& signal)
    {
        if (signal == "history [] 3>2")
        {
            manager.undo(1);
        }
    };
    manager.undo(1);
    EXPECT_THAT(second, ElementsAre("history [] 3>2", "history [] 2>1"));
}

TEST_F(HistoryOrder, ASlotThatAddsUndoesAndClearsIsToldOfEveryRow)
{
    fill("a");
    std::vector<std::string> second;
    const auto other = manager.connectToSigHistoryChanged([&](const HistoryChange& change)
                                                          { second.push_back(textOf(change)); });
    onSignal = [&](const std::string& /*signal*/)
    {
        onSignal = nullptr;
        manager.addExecutedCommand(make("X"));
        manager.undo(1);
        manager.clear();
    };
    manager.adjustOnSave(0);
    EXPECT_THAT(second, ElementsAre("history [] 1>1 saved", "history [1-0+1 0-2+0] 1>0 saved a"));
}

TEST_F(HistoryOrder, WhatASlotOfAnotherSignalChangesIsToldInOrder)
{
    fill("abc");
    std::vector<std::string> told;
    onSignal = [&](const std::string& signal)
    {
        told.push_back(signal);
        if (signal == "undone" && manager.getPosition() == 2)
        {
            manager.addExecutedCommand(make("X"));
        }
    };
    manager.undo(1);
    EXPECT_THAT(told, ElementsAre("history [] 3>2", "undone", "history [2-1+1] 2>3 c", "queueChanged 3",
                                  "queueChanged 0"));
}

TEST_F(HistoryOrder, WhatTheApplicationChangesWhenItIsAskedIsToldWithWhatCameBefore)
{
    fill("ab");
    modules->onMark = [&]
    {
        modules->onMark = nullptr;
        manager.takeLastExecutedCommand();
    };
    takeJournal();
    manager.addExecutedCommand(make("X"));
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  modules.mark", "  history [] 2>2 [b a|]",
                                           "  queueChanged 3 [b a|]"))
        << "X has come and left again";
}

TEST_F(HistoryOrder, IsToldAlsoIfTheOperationFailsAfterIt)
{
    fill("a");
    modules->onMark = []
    {
        throw std::runtime_error("cannot mark");
    };
    takeJournal();
    EXPECT_THROW(manager.undo(1), std::runtime_error);
    EXPECT_THAT(takeJournal(), ElementsAre("* progress.setSubProgress(a.progress, 100, 1)", "* a.undo",
                                           "  a.isRedoCapable", "  modules.mark", "  history [] 1>0 [|a]"));
    modules->onMark = nullptr;
    manager.redo(1);
    manager.undo(1);
    modules->onAsk = []
    {
        throw Stranger();
    };
    takeJournal();
    EXPECT_THROW(manager.addExecutedCommand(make("X")), Stranger);
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  history [0-1+0] 0>0 a [|]"));
}

TEST_F(HistoryOrder, AfterASlotThatThrowsTheNextChangeIsTold)
{
    fill("ab");
    onSignal = [this](const std::string& /*signal*/)
    {
        onSignal = nullptr;
        throw std::runtime_error("slot");
    };
    EXPECT_THROW(manager.undo(1), std::runtime_error);
    takeJournal();
    manager.adjustOnSave(0);
    EXPECT_THAT(takeJournal(), ElementsAre("  history [] 1>1 saved [a|b]"));
}

TEST_F(HistoryOrder, ACommandThatChangesTheHistoryInItsOwnUndoHasAllRowsReplaced)
{
    fill("ab");
    manager.adjustOnSave(0);
    auto command = make("X");
    command->onUndo = [this]
    {
        manager.forgetRedoCommands();
        manager.takeLastExecutedCommand();
    };
    manager.addCommand(command);
    takeJournal();
    manager.undo(1);
    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(X.progress, 100, 1)", "* X.undo",
                            "* history [2-1+0] 3>2 saved [b a|]", "  X.isRedoCapable", "  modules.mark",
                            "  history [0-2+3] 2>2 [b a|X]", "  undone [b a|X]", "  queueChanged 0 [b a|X]"));
    EXPECT_EQ(savedPositions(), "--");
}

TEST_F(HistoryOrder, WhatACommandHasChangedInItsOwnUndoIsNotToldToOneWhoListensLater)
{
    CommandManager other;
    auto command = make("X");
    command->onUndo = [&]
    {
        other.takeLastExecutedCommand();
    };
    other.addCommand(command);
    other.undo(1);
    std::vector<std::string> told;
    const auto late = other.connectToSigHistoryChanged([&](const HistoryChange& change)
                                                       { told.push_back(textOf(change)); });
    other.adjustOnSave(0);
    EXPECT_THAT(told, ElementsAre("history [] 0>0 saved"));
}

TEST_F(HistoryOrder, ACommandThatIsRedoneInItsOwnUndoLeavesTheSavedPositionWhereItIs)
{
    auto command = make("X");
    manager.addCommand(command);
    manager.addCommand(command);
    manager.undo(1);
    manager.adjustOnSave(0);
    command->onUndo = [this]
    {
        manager.redo(1);
    };
    takeJournal();
    manager.undo(1);
    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(X.progress, 100, 1)", "* X.undo",
                            "* progress.setSubProgress(X.progress, 100, 1)", "* X.redo", "  modules.mark",
                            "  history [] 1>2 [X X|]", "  executed [X X|]", "  queueChanged 1 [X X|]",
                            "  X.isRedoCapable", "  modules.mark", "  history [] 2>1 [X|X]", "  undone [X|X]",
                            "  queueChanged 0 [X|X]"));
    EXPECT_EQ(savedPositions(), "1-") << "X was undone once and redone once";
}

TEST_F(HistoryOrder, SoHasOneThatThenThrowsWhenItIsAskedWhetherItCanBeRedone)
{
    fill("ab");
    manager.adjustOnSave(0);
    auto command = make("X");
    command->onUndo = [this]
    {
        manager.addExecutedCommand(make("Y"));
    };
    command->onIsRedoCapable = []
    {
        throw std::runtime_error("cannot tell");
    };
    manager.addCommand(command);
    takeJournal();
    EXPECT_THROW(manager.undo(1), std::runtime_error);
    EXPECT_EQ(takeJournal().back(), "  history [0-4+4] 4>4 saved [Y X b a|]");
    EXPECT_EQ(savedPositions(), "--");
}

TEST_F(HistoryOrder, NothingIsToldWhileACommandIsAskedWhetherItCanBeRedone)
{
    fill("a");
    auto command = make("X");
    command->onIsRedoCapable = [this]
    {
        manager.adjustOnSave(1);
    };
    manager.addCommand(command);
    takeJournal();
    manager.undo(1);
    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(X.progress, 100, 1)", "* X.undo", "  X.isRedoCapable",
                            "  modules.mark", "  history [] 2>1 saved [a|X]", "  undone [a|X]",
                            "  queueChanged 0 [a|X]"));
}

TEST_F(HistoryOrder, CommandsAndModulesAreFoundByTheirPlace)
{
    fill("abc");
    manager.undo(2);
    EXPECT_EQ(manager.getPosition(), 1U);
    std::string found;
    for (std::uint64_t index = 0; index < 3; ++index)
    {
        found += manager.getCommand(index)->getDescription() + lettersOf(manager.getModulesOfCommand(index));
    }
    EXPECT_EQ(found, "aabbcc");
    EXPECT_EQ(manager.getCommand(3), nullptr);
    EXPECT_EQ(manager.getCommand(static_cast<std::uint64_t>(-1)), nullptr);
    EXPECT_THAT(manager.getModulesOfCommand(3), IsEmpty());
}

TEST_F(HistoryOrder, TheSavedPositionFollowsWhatLeadsToIt)
{
    EXPECT_EQ(savedPositions(), "--") << "nothing was saved";
    manager.adjustOnSave(0);
    fill("ab");
    manager.adjustOnSave(1);
    fill("cd");
    EXPECT_EQ(savedPositions(), "02");
    manager.undo(3);
    EXPECT_EQ(savedPositions(), "02") << "redo leads to the second";
    manager.addExecutedCommand(make("X"));
    EXPECT_EQ(savedPositions(), "0-") << "it does not any more";
    manager.adjustOnSave(1);
    manager.setMaxQueueSize(1);
    manager.setUsesMaxQueueSize(true);
    EXPECT_EQ(savedPositions(), "-1") << "an older command was dropped";
    manager.setMaxQueueSize(0);
    EXPECT_EQ(savedPositions(), "-0") << "the data are still as saved";
    manager.clear();
    EXPECT_EQ(savedPositions(), "-0");
}

TEST_F(HistoryOrder, WhatIsUndoneWhileACommandIsQueuedIsNotTheSavedStateWithIt)
{
    fill("ab");
    manager.adjustOnSave(0);
    modules->onAsk = [this]
    {
        modules->onAsk = nullptr;
        manager.undo(1);
    };
    manager.addExecutedCommand(make("X"));
    EXPECT_EQ(manager.getPosition(), 2U);
    EXPECT_EQ(savedPositions(), "--");
}

TEST_F(HistoryOrder, ATakenCommandStaysInTheData)
{
    fill("abc");
    manager.adjustOnSave(0);
    manager.undo(1);
    manager.adjustOnSave(1);
    EXPECT_EQ(savedPositions(), "32");
    manager.takeLastExecutedCommand();
    EXPECT_EQ(savedPositions(), "21") << "as they were saved, and redo leads to the other";
    manager.takeLastExecutedCommand();
    EXPECT_EQ(savedPositions(), "10");
    fill("x");
    manager.takeLastExecutedCommand();
    EXPECT_EQ(savedPositions(), "--") << "undo does not lead there any more";
}

TEST_F(HistoryOrder, CommandsThatWaitToBeMergedHideTheSavedPosition)
{
    fill("a");
    manager.adjustOnSave(0);
    manager.addCommandToMergeWithNextCommand(make("M"), false);
    manager.adjustOnSave(1);
    EXPECT_EQ(savedPositions(), "-1");
    manager.undo(1);
    EXPECT_EQ(savedPositions(), "-1") << "redo leads there, as long as M waits";
    manager.redo(1);
    fill("b");
    EXPECT_EQ(savedPositions(), "1-") << "undo of the merged command leads to the first only";
}

TEST_F(HistoryOrder, WhatCouldNotBeMergedHidesTheSavedPositionStill)
{
    fill("a");
    manager.adjustOnSave(0);
    manager.addCommandToMergeWithNextCommand(make("M"), false);
    EXPECT_EQ(savedPositions(), "--");
    modules->onAsk = []
    {
        throw std::runtime_error("cannot tell");
    };
    EXPECT_THROW(manager.addExecutedCommand(make("X")), std::runtime_error);
    EXPECT_EQ(savedPositions(), "--") << "M waits again";
}

TEST_F(HistoryOrder, WhatWaitsWhenTheHistoryIsClearedStaysInTheData)
{
    manager.adjustOnSave(0);
    manager.addCommandToMergeWithNextCommand(make("M"), false);
    manager.adjustOnSave(1);
    manager.clear();
    EXPECT_EQ(savedPositions(), "-0");
}

// addOrMergeCommand()

class TakingCommand : public RecordingCommand, public MergeableCommand
{
public:
    using RecordingCommand::RecordingCommand;

    bool mergeWith(const CommandBase& next) override
    {
        note(getDescription() + ".mergeWith(" + next.getDescription() + ")");
        if (onMerge)
        {
            onMerge();
        }
        return takesIn;
    }

    std::function<void()> onMerge;
    bool takesIn = true;
};

class MergeOrder : public HistoryOrder
{
protected:
    std::shared_ptr<TakingCommand> addTaking(const std::string& name, std::set<const Object*> modified = {})
    {
        auto command = std::make_shared<TakingCommand>(name);
        modules->modified = std::move(modified);
        EXPECT_TRUE(manager.addOrMergeCommand(command));
        return command;
    }
};

TEST_F(MergeOrder, TheNewestTakesInTheNext)
{
    fill("a");
    addTaking("B", {module(1)});
    takeJournal();
    addTaking("C", {module(2)});
    EXPECT_THAT(takeJournal(),
                ElementsAre("* C.progress.reset", "* C.execute", "* C.progress.setComplete",
                            "  modules.modified", "  B.mergeWith(C)", "  modules.mark",
                            "  history [1-1+1] 2>2 [B a|]", "  queueChanged 3 [B a|]", "  executed [B a|]"));
    EXPECT_EQ(lettersOf(manager.getModulesOfCommand(1)), "bc");
    EXPECT_EQ(modifiedOf(0), "abc");
    manager.undo(1);
    EXPECT_EQ(modifiedOf(0), "a");
}

TEST_F(MergeOrder, OneThatIsNotTakenInIsQueuedAsEver)
{
    addTaking("A")->takesIn = false;
    takeJournal();
    addTaking("B");
    EXPECT_THAT(takeJournal(),
                ElementsAre("* B.progress.reset", "* B.execute", "* B.progress.setComplete",
                            "  modules.modified", "  A.mergeWith(B)", "  modules.modified", "  modules.mark",
                            "  history [1-0+1] 1>2 [B A|]", "  queueChanged 3 [B A|]", "  executed [B A|]"));
}

TEST_F(MergeOrder, NothingIsTakenInWhileACommandIsOnItsWayToTheRedoQueue)
{
    addTaking("A");
    auto leaving = make("X");
    leaving->onIsRedoCapable = [this]
    {
        addTaking("B");
    };
    manager.addCommand(leaving);
    manager.undo(1);
    EXPECT_EQ(queues(), "[B A|X]");
}

TEST_F(MergeOrder, NothingIsTakenInAcrossASaveAnUndoOrAMerge)
{
    const auto refuses = [&](const std::string& why)
    {
        takeJournal();
        addTaking("next");
        EXPECT_EQ(join({takeJournal().front(), queues()}).find("mergeWith"), std::string::npos) << why;
        EXPECT_EQ(manager.getUndoCommand()->getDescription(), "next") << why;
        manager.clear();
        addTaking("A");
    };
    addTaking("A");
    manager.adjustOnSave(1);
    refuses("a save point");
    addTaking("B")->takesIn = true;
    fill("c");
    manager.undo(1);
    refuses("something could be redone");
    manager.addCommandToMergeWithNextCommand(make("M"), false);
    takeJournal();
    addTaking("next");
    EXPECT_EQ(queues(), "[next A|]") << "a command waits to be merged";
    manager.clear();
    EXPECT_TRUE(manager.addOrMergeCommand(std::make_shared<MacroCommand>("macro")));
    addTaking("B");
    EXPECT_EQ(queues(), "[B macro|]") << "a macro takes nothing in";
}

TEST_F(MergeOrder, NothingIsTakenInByACommandThatWasUncoveredMeanwhile)
{
    addTaking("A");
    fill("b");
    auto command = std::make_shared<TakingCommand>("C");
    command->onExecute = [this]
    {
        manager.undo(1);
    };
    EXPECT_TRUE(manager.addOrMergeCommand(command));
    EXPECT_EQ(queues(), "[C A|]");
}

TEST_F(MergeOrder, AtTheLimitNothingIsDroppedByAMerge)
{
    fill("ab");
    addTaking("C");
    manager.setMaxQueueSize(3);
    manager.setUsesMaxQueueSize(true);
    addTaking("D");
    EXPECT_EQ(queues(), "[C b a|]");
}

TEST_F(MergeOrder, ACommandWhoseMergeThrowsIsQueued)
{
    const auto first = addTaking("A");
    first->onMerge = []
    {
        throw std::runtime_error("cannot merge");
    };
    Logging::lines.clear();
    addTaking("B");
    EXPECT_EQ(queues(), "[B A|]");
    EXPECT_EQ(Logging::lines.size(), 1U);
    addTaking("C")->onMerge = []
    {
        throw Stranger();
    };
    EXPECT_EQ(queues(), "[B A|]") << "B has taken it in";
    const auto second = addTaking("D");
    manager.adjustOnSave(0);
    const auto third = addTaking("E");
    third->onMerge = []
    {
        throw Stranger();
    };
    takeJournal();
    EXPECT_THROW(addTaking("F"), Stranger);
    EXPECT_EQ(queues(), "[F E B A|]") << "nothing is lost";
}

TEST_F(MergeOrder, WhatIsSavedWhileACommandIsTakenInIsNotTheStateWithIt)
{
    addTaking("A");
    modules->onAsk = [this]
    {
        modules->onAsk = nullptr;
        manager.adjustOnSave(0);
    };
    addTaking("B");
    EXPECT_EQ(queues(), "[A|]");
    EXPECT_EQ(savedPositions(), "--");
}

TEST_F(MergeOrder, OneThatFailsChangesNothing)
{
    addTaking("A");
    auto command = std::make_shared<TakingCommand>("B");
    command->onExecute = []
    {
        throw std::runtime_error("no power");
    };
    takeJournal();
    EXPECT_FALSE(manager.addOrMergeCommand(command));
    EXPECT_FALSE(manager.addOrMergeCommand(nullptr));
    EXPECT_EQ(queues(), "[A|]");
}

// Groups

class GroupOrder : public MergeOrder
{
protected:
    std::string groups() const
    {
        return join(manager.getOpenGroups());
    }

    static std::string partsOf(const std::shared_ptr<const CommandBase>& command)
    {
        const auto macro = std::dynamic_pointer_cast<const MacroCommand>(command);
        if (macro == nullptr)
        {
            return command->getDescription();
        }
        std::string text = macro->getDescription() + "(";
        for (const auto& part : *macro)
        {
            text += (text.back() == '(' ? "" : " ") + partsOf(part);
        }
        return text + ")";
    }
};

/// Notes the open groups when they change.
class OpenGroupsOrder : public GroupOrder
{
protected:
    std::function<void()> onGroups;
    Signals::Connection groupsChanged = manager.connectToSigOpenGroupsChanged(
        [this]
        {
            note("groups (" + groups() + ") " + queues());
            if (onGroups)
            {
                std::exchange(onGroups, nullptr)();
            }
        });
};

TEST_F(OpenGroupsOrder, AreToldLastOfEachOperationThatChangesThem)
{
    fill("a");
    manager.beginGroup("G");
    EXPECT_THAT(takeJournal(), ElementsAre("  groups (G) [a|]"));
    manager.beginGroup("H");
    EXPECT_THAT(takeJournal(), ElementsAre("  groups (G H) [a|]"));
    fill("b");
    manager.endGroup();
    EXPECT_THAT(takeJournal(), ElementsAre("  groups (G) [a|]"));
    manager.beginGroup("I");
    manager.endGroup();
    EXPECT_THAT(takeJournal(), ElementsAre("  groups (G I) [a|]", "  groups (G) [a|]")) << "I was empty";
    manager.endGroup();
    EXPECT_THAT(takeJournal(),
                ElementsAre("  modules.modified", "  modules.mark", "  history [1-0+1] 1>2 [G a|]",
                            "  queueChanged 3 [G a|]", "  groups () [G a|]"));
}

TEST_F(OpenGroupsOrder, AreToldToTheSlotThatWasConnectedFirstFirst)
{
    const Signals::Connection second = manager.connectToSigOpenGroupsChanged([] { note("second"); });
    manager.beginGroup("G");
    EXPECT_THAT(takeJournal(), ElementsAre("  groups (G) [|]", "  second"));
}

TEST_F(OpenGroupsOrder, AreToldAfterTheUndoOfOneThatIsAbandoned)
{
    manager.beginGroup("G");
    manager.beginGroup("H");
    takeJournal();
    EXPECT_TRUE(manager.abandonGroup());
    EXPECT_THAT(takeJournal(), ElementsAre("  groups (G) [|]")) << "H was empty";
    fill("b");
    EXPECT_TRUE(manager.abandonGroup());
    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(progress, 100, 1)", "* Speed.add(3)",
                            "* progress.reset", "* progress.progress", "* Speed.getPartitionFromRate(3)",
                            "* progress.appendSubProgress(b.progress, 0, 30)", "* b.undo",
                            "* b.progress.setComplete", "* progress.setComplete", "  modules.mark",
                            "  undone [|]", "  groups () [|]"));
}

TEST_F(OpenGroupsOrder, AreNotToldIfTheyStayAsTheyWere)
{
    EXPECT_THROW(manager.endGroup(), VdException);
    EXPECT_THROW(manager.abandonGroup(), VdException);
    EXPECT_THAT(takeJournal(), ElementsAre("  error: endGroup() is refused because no group is open",
                                           "  error: abandonGroup() is refused because no group is open"));
    manager.beginGroup("G");
    auto command = make("B");
    command->onUndo = []
    {
        throw std::runtime_error("no power");
    };
    manager.addCommand(command);
    takeJournal();
    EXPECT_FALSE(manager.abandonGroup());
    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(progress, 100, 1)", "* Speed.add(3)",
                            "* progress.reset", "* progress.progress", "* Speed.getPartitionFromRate(3)",
                            "* progress.appendSubProgress(B.progress, 0, 30)", "* B.undo",
                            "* error: Undo of MacroCommand: Subcommand 'B' failed with exception: no power",
                            "  error: Undo of command 'G' failed with exception: no power",
                            "  failed(no power, G) [|]"));
}

TEST_F(OpenGroupsOrder, ASlotMayEndTheGroupThatWasOpened)
{
    onGroups = [this]
    {
        manager.endGroup();
    };
    manager.beginGroup("G");
    EXPECT_THAT(takeJournal(), ElementsAre("  groups (G) [|]", "  groups () [|]"));
}

TEST_F(OpenGroupsOrder, ASlotThatThrowsFindsTheOperationDone)
{
    const auto throws = []
    {
        throw Stranger();
    };
    onGroups = throws;
    EXPECT_THROW(manager.beginGroup("G"), Stranger);
    EXPECT_EQ(groups(), "G");
    fill("b");
    onGroups = throws;
    EXPECT_THROW(manager.endGroup(), Stranger);
    EXPECT_EQ(groups() + queues(), "[G|]");
    manager.beginGroup("H");
    fill("c");
    onGroups = throws;
    EXPECT_THROW(manager.abandonGroup(), Stranger);
    EXPECT_EQ(groups() + queues(), "[G|]");
}

TEST_F(GroupOrder, CommandsBecomeOneEntryWhenItEnds)
{
    fill("a");
    manager.beginGroup("G");
    EXPECT_THAT(takeJournal(), IsEmpty());
    modules->modified = {module(1)};
    manager.addCommand(make("B"));
    EXPECT_THAT(takeJournal(), ElementsAre("* B.progress.reset", "* B.execute", "* B.progress.setComplete",
                                           "  executed [a|]"));
    manager.addExecutedCommand(make("C"));
    EXPECT_THAT(takeJournal(), IsEmpty());
    manager.endGroup();
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  modules.mark",
                                           "  history [1-0+1] 1>2 [G a|]", "  queueChanged 3 [G a|]"));
    EXPECT_EQ(partsOf(manager.getUndoCommand()), "G(B C)");
    EXPECT_EQ(lettersOf(manager.getModulesOfCommand(1)), "b");
}

TEST_F(GroupOrder, AGroupInsideIsAPartOfTheOneAround)
{
    manager.beginGroup("outer");
    add("A");
    manager.beginGroup("inner");
    EXPECT_EQ(groups(), "outer inner");
    add("B");
    manager.endGroup();
    EXPECT_EQ(groups(), "outer");
    manager.beginGroup("empty");
    manager.endGroup();
    add("C");
    EXPECT_THAT(takeJournal(), IsEmpty());
    manager.endGroup();
    EXPECT_EQ(partsOf(manager.getUndoCommand()), "outer(A inner(B) C)");
}

TEST_F(GroupOrder, AnEmptyOneLeavesNoEntry)
{
    fill("a");
    manager.undo(1);
    manager.beginGroup("G");
    manager.endGroup();
    manager.beginGroup("G");
    takeJournal();
    EXPECT_TRUE(manager.abandonGroup());
    EXPECT_THAT(takeJournal(), IsEmpty());
    EXPECT_EQ(queues(), "[|a]");
}

TEST_F(GroupOrder, AbandonedItIsUndoneAndLeavesNoTrace)
{
    fill("ab");
    manager.undo(1);
    manager.adjustOnSave(0);
    manager.beginGroup("G");
    add("C");
    add("D");
    takeJournal();
    EXPECT_TRUE(manager.abandonGroup());
    const auto lines = takeJournal();
    EXPECT_EQ(lines.front(), "* progress.setSubProgress(progress, 100, 1)");
    EXPECT_THAT(std::vector(lines.end() - 4, lines.end()),
                ElementsAre("* progress.setComplete", "  modules.mark", "  history [] 1>1 saved [a|b]",
                            "  undone [a|b]"));
    EXPECT_LT(std::find(lines.begin(), lines.end(), "* D.undo"),
              std::find(lines.begin(), lines.end(), "* C.undo"));
    EXPECT_EQ(queues(), "[a|b]");
    EXPECT_EQ(savedPositions(), "1-");
    EXPECT_EQ(groups(), "");
}

TEST_F(GroupOrder, OneThatCannotBeUndoneIsAsItWas)
{
    manager.beginGroup("G");
    add("A");
    add("B");
    auto stuck = make("S");
    stuck->onUndo = []
    {
        throw std::runtime_error("stuck");
    };
    manager.addCommand(stuck);
    add("C");
    std::string openWhenTold;
    onSignal = [&](const std::string& signal)
    {
        openWhenTold += signal + ": " + groups();
    };
    takeJournal();
    EXPECT_FALSE(manager.abandonGroup());
    EXPECT_EQ(openWhenTold, "failed(stuck, G): G");
    EXPECT_EQ(groups(), "G");
    EXPECT_FALSE(manager.isProcessingCommand());
    stuck->onUndo = []
    {
        throw Stranger();
    };
    EXPECT_THROW(manager.abandonGroup(), Stranger);
    EXPECT_EQ(groups(), "G");
    onSignal = nullptr;
    manager.endGroup();
    EXPECT_EQ(partsOf(manager.getUndoCommand()), "G(A B S C)");
}

TEST_F(GroupOrder, ASaveInOneThatCannotBeUndoneIsToldWhenItIsThereAgain)
{
    manager.beginGroup("G");
    auto stuck = make("S");
    stuck->onUndo = [&]
    {
        manager.addCommandToMergeWithNextCommand(make("W"), false);
        throw std::runtime_error("stuck");
    };
    manager.addCommand(stuck);
    manager.adjustOnSave(0);
    EXPECT_EQ(savedPositions(), "0-");
    std::string told;
    onSignal = [&](const std::string& signal)
    {
        told += signal + ": " + savedPositions() + "\n";
    };
    EXPECT_FALSE(manager.abandonGroup());
    EXPECT_EQ(told, "history [] 0>0 saved: --\n"
                    "failed(stuck, G): 0-\n"
                    "history [] 0>0 saved: 0-\n");
}

TEST_F(GroupOrder, RefusesWhatWouldPassItByAndLosesNothing)
{
    fill("ab");
    manager.undo(1);
    manager.beginGroup("G");
    add("C");
    const std::string text = "() is refused while the group 'G' is open";
    const auto refused = [&](const std::string& operation, const auto& call)
    {
        Logging::lines.clear();
        EXPECT_EQ(messageOf(call), operation + text);
        ASSERT_EQ(Logging::lines.size(), 1U) << operation;
        EXPECT_EQ(Logging::lines.front().text, operation + text);
    };
    EXPECT_FALSE(manager.canUndo());
    EXPECT_FALSE(manager.canRedo());
    Logging::lines.clear();
    EXPECT_FALSE(manager.undo(1));
    EXPECT_FALSE(manager.redo(1));
    ASSERT_EQ(Logging::lines.size(), 2U);
    EXPECT_EQ(Logging::lines.front().text, "undo" + text);
    EXPECT_EQ(Logging::lines.back().text, "redo" + text);
    refused("undoAll", [&] { manager.undoAll(); });
    refused("redoAll", [&] { manager.redoAll(); });
    refused("clear", [&] { manager.clear(); });
    refused("takeExecutedCommands", [&] { manager.takeExecutedCommands(); });
    refused("takeLastExecutedCommand", [&] { manager.takeLastExecutedCommand(); });
    EXPECT_EQ(queues(), "[a|b]");
    manager.endGroup();
    EXPECT_EQ(queues(), "[G a|]");
}

TEST_F(GroupOrder, EndedOutOfTurnItIsRefused)
{
    EXPECT_EQ(messageOf([&] { manager.endGroup(); }), "endGroup() is refused because no group is open");
    EXPECT_EQ(messageOf([&] { manager.abandonGroup(); }),
              "abandonGroup() is refused because no group is open");
}

TEST_F(GroupOrder, ACommandThatFailsFailsAlone)
{
    manager.beginGroup("G");
    add("A");
    auto failing = make("F");
    failing->onExecute = []
    {
        throw std::runtime_error("no power");
    };
    EXPECT_FALSE(manager.addCommand(failing));
    add("B");
    manager.endGroup();
    EXPECT_EQ(partsOf(manager.getUndoCommand()), "G(A B)");
}

TEST_F(GroupOrder, WhatWaitedBeforeIsMergedWithTheGroupAndWhatWaitsInItStaysInIt)
{
    manager.addCommandToMergeWithNextCommand(make("before"), false);
    manager.beginGroup("G");
    add("A");
    manager.addCommandToMergeWithNextCommand(make("inside"), false);
    add("B");
    manager.addCommandToMergeWithNextCommand(make("last"), false);
    manager.endGroup();
    EXPECT_EQ(partsOf(manager.getUndoCommand()), "G(G(A B(B inside) last) before)");
    add("C");
    EXPECT_EQ(partsOf(manager.getUndoCommand()), "C") << "nothing waits any more";
}

TEST_F(GroupOrder, IfItCannotBeQueuedItStaysOpen)
{
    fill("ab");
    manager.undo(1);
    manager.beginGroup("G");
    add("C");
    modules->onAsk = []
    {
        throw std::runtime_error("cannot tell");
    };
    takeJournal();
    EXPECT_THROW(manager.endGroup(), std::runtime_error);
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  history [1-1+0] 1>1 b [a|]"));
    EXPECT_EQ(groups(), "G");
    modules->onAsk = nullptr;
    manager.endGroup();
    EXPECT_EQ(partsOf(manager.getUndoCommand()), "G(C)");
}

TEST_F(GroupOrder, WhatIsSavedInItIsLostUnlessItIsItsEnd)
{
    manager.beginGroup("G");
    add("A");
    manager.adjustOnSave(0);
    EXPECT_EQ(savedPositions(), "0-");
    manager.beginGroup("inner");
    add("B");
    EXPECT_EQ(savedPositions(), "--");
    manager.abandonGroup();
    EXPECT_EQ(savedPositions(), "0-");
    manager.endGroup();
    EXPECT_EQ(savedPositions(), "1-") << "nothing came after the save";
    manager.beginGroup("G");
    add("C");
    manager.adjustOnSave(0);
    add("D");
    manager.endGroup();
    EXPECT_EQ(savedPositions(), "--") << "undo leads to the state before the group only";
}

TEST_F(GroupOrder, AnEmptyOneInsideDoesNotShowWhatTheOneAroundHides)
{
    manager.adjustOnSave(0);
    manager.beginGroup("outer");
    manager.beginGroup("inner");
    EXPECT_EQ(savedPositions(), "0-") << "nothing was executed";
    manager.endGroup();
    add("A");
    manager.beginGroup("inner");
    EXPECT_EQ(savedPositions(), "--");
}

TEST_F(GroupOrder, WhatIsSavedAtItsEndStaysSavedInTheOneAroundAndAtTheLimit)
{
    manager.beginGroup("outer");
    manager.beginGroup("inner");
    add("A");
    manager.adjustOnSave(0);
    manager.endGroup();
    EXPECT_EQ(savedPositions(), "0-");
    manager.endGroup();
    EXPECT_EQ(savedPositions(), "1-");
    manager.setMaxQueueSize(0);
    manager.setUsesMaxQueueSize(true);
    manager.beginGroup("G");
    add("B");
    manager.adjustOnSave(1);
    manager.endGroup();
    EXPECT_EQ(queues(), "[|]");
    EXPECT_EQ(savedPositions(), "-0") << "the data are still as saved";
}

TEST_F(GroupOrder, ASlotThatOpensOneStopsFurtherSteps)
{
    fill("abc");
    onSignal = [&](const std::string& signal)
    {
        if (signal == "undone")
        {
            manager.beginGroup("G");
        }
    };
    EXPECT_FALSE(manager.undo(2));
    EXPECT_EQ(manager.getPosition(), 2U);
    manager.endGroup();
    EXPECT_TRUE(manager.undo(1)) << "this step was done";
    EXPECT_EQ(manager.getPosition(), 1U);
}

TEST_F(GroupOrder, ASlotThatOpensOneStopsFurtherRedos)
{
    fill("abc");
    manager.undoAll();
    onSignal = [&](const std::string& signal)
    {
        if (signal == "executed")
        {
            manager.beginGroup("G");
        }
    };
    Logging::lines.clear();
    EXPECT_FALSE(manager.redo(2));
    EXPECT_EQ(manager.getPosition(), 1U);
    ASSERT_EQ(Logging::lines.size(), 1U);
    EXPECT_EQ(Logging::lines.front().text, "redo() is refused while the group 'G' is open");
    manager.endGroup();
    EXPECT_TRUE(manager.redo(1)) << "this step was done";
    EXPECT_EQ(manager.getPosition(), 2U);
    manager.endGroup();
    EXPECT_TRUE(manager.redo(2)) << "there is no second step";
    EXPECT_EQ(manager.getPosition(), 3U);
}

TEST_F(GroupOrder, CommandsAreMergedWithTheLastOneInIt)
{
    addTaking("A");
    manager.beginGroup("G");
    addTaking("B");
    takeJournal();
    addTaking("C");
    EXPECT_THAT(takeJournal(), ElementsAre("* C.progress.reset", "* C.execute", "* C.progress.setComplete",
                                           "  B.mergeWith(C)", "  executed [A|]"));
    manager.adjustOnSave(0);
    takeJournal();
    addTaking("D");
    manager.endGroup();
    EXPECT_EQ(partsOf(manager.getUndoCommand()), "G(B D)") << "not across the save";
}

TEST_F(GroupOrder, ACommandThatEndsTheGroupWhileItTakesInAnotherIsQueuedWithBoth)
{
    manager.beginGroup("G");
    addTaking("A")->onMerge = [this]
    {
        manager.endGroup();
    };
    takeJournal();
    addTaking("B");
    EXPECT_THAT(takeJournal(), ElementsAre("* B.progress.reset", "* B.execute", "* B.progress.setComplete",
                                           "  A.mergeWith(B)", "  modules.modified", "  modules.mark",
                                           "  history [0-0+1] 0>1 [G|]", "  queueChanged 3 [G|]",
                                           "  modules.mark", "  queueChanged 3 [G|]", "  executed [G|]"));
    EXPECT_EQ(partsOf(manager.getUndoCommand()), "G(A)");
    EXPECT_EQ(groups(), "");
    manager.adjustOnSave(0);
    EXPECT_EQ(savedPositions(), "1-");
}

TEST_F(GroupOrder, NothingIsTakenInWhileACommandWaitsInIt)
{
    manager.beginGroup("G");
    addTaking("B");
    manager.addCommandToMergeWithNextCommand(make("W"), false);
    addTaking("C");
    manager.endGroup();
    EXPECT_EQ(partsOf(manager.getUndoCommand()), "G(B C(C W))");
}

TEST_F(GroupOrder, AbandonedInsideAnotherItLeavesTheModulesMarked)
{
    manager.beginGroup("outer");
    add("A", {module(0)});
    manager.beginGroup("inner");
    add("B", {module(0), module(1)});
    takeJournal();
    EXPECT_TRUE(manager.abandonGroup());
    const auto lines = takeJournal();
    EXPECT_EQ(std::find(lines.begin(), lines.end(), "  modules.mark"), lines.end());
    manager.endGroup();
    EXPECT_EQ(lettersOf(manager.getModulesOfCommand(0)), "ab");
}

TEST_F(GroupOrder, LeftOpenItsCommandsDieWithTheManager)
{
    std::weak_ptr<CommandBase> observer;
    {
        CommandManager other;
        other.beginGroup("G");
        auto command = make("A");
        observer = command;
        other.addCommand(command);
    }
    EXPECT_TRUE(observer.expired());
}

} // namespace
} // namespace Valdane

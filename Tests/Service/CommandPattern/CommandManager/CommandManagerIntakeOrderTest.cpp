#include "Service/CommandPattern/MacroCommand.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/ManagerJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

using testing::HasSubstr;
using testing::IsEmpty;
using ValdaneTests::ElementsAre;

class CommandManagerIntakeOrder : public ManagerJournal
{
protected:
    /// The newest entry of the undo queue, taken out of it as "description: sub-commands", with "forward "
    /// before it if that is its undo order; or as its description, if it is no macro.
    std::string takeMerged()
    {
        const std::shared_ptr<CommandBase> command = manager.takeLastExecutedCommand();
        const auto macro = std::dynamic_pointer_cast<MacroCommand>(command);
        if (macro == nullptr)
        {
            return command->getDescription();
        }
        std::string text =
            (macro->getUseForwardUndoOrder() ? "forward " : "") + macro->getDescription() + ":";
        for (const std::shared_ptr<CommandBase>& part : *macro)
        {
            text += " " + part->getDescription();
        }
        return text;
    }

    static std::shared_ptr<RecordingCommand> make(const std::string& name)
    {
        return std::make_shared<RecordingCommand>(name);
    }

    /// Executes a command to be merged, without a trace in the journal.
    std::shared_ptr<RecordingCommand> addToMerge(const std::string& name, bool forward = false)
    {
        auto command = make(name);
        EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(command, forward));
        takeJournal();
        return command;
    }
};

TEST_F(CommandManagerIntakeOrder, AddExecutedCommandAsksOnceThenAppendsMarksLimitsAndSignals)
{
    add("A");
    add("B");
    manager.setMaxQueueSize(2);
    manager.setUsesMaxQueueSize(true);
    modules->onAsk = [this]
    {
        note("at asking " + queues());
    };
    modules->onMark = [this]
    {
        note("at marking " + queues());
    };

    manager.addExecutedCommand(make("C"));

    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  at asking [B A|]", "  modules.mark",
                                           "  at marking [C B A|]", "  queueChanged 3 [C B|]"));
}

TEST_F(CommandManagerIntakeOrder, WhatCouldBeRedoneIsGoneBeforeTheModulesAreAsked)
{
    add("A");
    add("B");
    manager.undo(1);
    takeJournal();
    modules->onAsk = [this]
    {
        note("at asking " + queues());
    };

    manager.addExecutedCommand(make("C"));

    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  at asking [A|]", "  modules.mark",
                                           "  queueChanged 3 [C A|]"));
}

TEST_F(CommandManagerIntakeOrder, ACommandToBeMergedIsExecutedAndTouchesNoQueue)
{
    add("A");
    add("B");
    manager.undo(1);
    takeJournal();
    Logging::traceEnabled = true;

    EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(make("C"), false));

    EXPECT_THAT(takeJournal(),
                ElementsAre("* C.progress.reset", "* trace: Execute command 'C'...", "* C.execute",
                            "* trace: Command 'C' executed.", "* C.progress.setComplete"));
    EXPECT_EQ(queues(), "[A|B]");
    EXPECT_FALSE(manager.isProcessingCommand());
    const Logging::Line& line = Logging::lines.back();
    EXPECT_EQ(line.logger, "Service/CommandPattern/CommandManager");
    EXPECT_EQ(line.file, "Service/CommandPattern/CommandManager.cpp");
    EXPECT_THAT(line.function, HasSubstr("Valdane::CommandManager::addCommandToMergeWithNextCommand("));
}

TEST_F(CommandManagerIntakeOrder, TheNextCommandIsMergedIntoOneEntryInWhichItStandsFirst)
{
    manager.addCommandToMergeWithNextCommand(make("A"), false);
    manager.addCommandToMergeWithNextCommand(make("B"), true);
    takeJournal();
    Logging::traceEnabled = true;

    EXPECT_TRUE(manager.addCommand(make("C")));

    EXPECT_THAT(takeJournal(), ElementsAre("* C.progress.reset", "* trace: Execute command 'C'...",
                                           "* C.execute", "* trace: Command 'C' executed.",
                                           "* C.progress.setComplete", "  modules.modified", "  modules.mark",
                                           "  queueChanged 3 [C|]", "  executed [C|]"));
    EXPECT_EQ(takeMerged(), "forward C: C A B");
    EXPECT_EQ(queues(), "[|]");
}

TEST_F(CommandManagerIntakeOrder, UndoAndRedoRunTheMergedCommandsInTheOrderOfTheMacro)
{
    addToMerge("A");
    addToMerge("B");
    manager.addExecutedCommand(make("C"));
    const auto calls = [](const std::vector<std::string>& lines)
    {
        std::string joined;
        for (const std::string& line : lines)
        {
            if (line.ends_with(".undo") || line.ends_with(".redo"))
            {
                joined += line.substr(2) + " ";
            }
        }
        return joined;
    };
    takeJournal();

    manager.undo(1);
    EXPECT_EQ(calls(takeJournal()), "B.undo A.undo C.undo ");
    manager.redo(1);
    EXPECT_EQ(calls(takeJournal()), "C.redo A.redo B.redo ");
}

TEST_F(CommandManagerIntakeOrder, TheMergedMacroTakesOverTheDescriptionOfTheMomentOfItsMerge)
{
    addToMerge("A");
    const auto next = make("B");
    manager.addExecutedCommand(next);
    next->setDescription("renamed");
    EXPECT_EQ(queues(), "[B|]");
}

TEST_F(CommandManagerIntakeOrder, TheMergedMacroTakesOverTheOverriddenDescriptionAsItsOwn)
{
    addToMerge("A");
    const auto next = std::make_shared<MacroCommand>();
    next->addCommand(make("B"));
    manager.addExecutedCommand(next);

    const std::shared_ptr<CommandBase> merged = manager.takeLastExecutedCommand();
    ASSERT_NE(merged, next);
    EXPECT_EQ(merged->getLogDescription(), "B");
}

TEST_F(CommandManagerIntakeOrder, OneForwardFlagIsEnoughAndAMergeResetsIt)
{
    addToMerge("A", true);
    addToMerge("B", false);
    add("C");
    EXPECT_EQ(takeMerged(), "forward C: C A B");

    addToMerge("D", false);
    add("E");
    EXPECT_EQ(takeMerged(), "E: E D");
}

TEST_F(CommandManagerIntakeOrder, OnlyAMergeResetsTheForwardFlag)
{
    addToMerge("A", true);
    add("B");
    manager.takeExecutedCommands();
    addToMerge("C", true);
    manager.clear();
    add("D");
    EXPECT_EQ(takeMerged(), "D");
    manager.undo(1);
    addToMerge("E", false);
    add("F");
    EXPECT_EQ(takeMerged(), "forward F: F E");
}

TEST_F(CommandManagerIntakeOrder, WithoutPendingCommandsNothingIsWrapped)
{
    const auto command = make("A");
    manager.addExecutedCommand(command);
    EXPECT_EQ(manager.takeLastExecutedCommand(), command);
}

TEST_F(CommandManagerIntakeOrder, AFailingCommandToBeMergedIsReportedAndNotKept)
{
    addToMerge("A");
    const auto failing = make("B");
    failing->onExecute = fail;

    EXPECT_FALSE(manager.addCommandToMergeWithNextCommand(failing, true));

    EXPECT_THAT(takeJournal(),
                ElementsAre("* B.progress.reset", "* B.execute",
                            "  error: Execution of command 'B' failed with exception: no power",
                            "  failed(no power, B) [|]"));
    add("C");
    EXPECT_EQ(takeMerged(), "C: C A");
}

TEST_F(CommandManagerIntakeOrder, ProgressAndTracesOfACommandToBeMergedAreProtectedToo)
{
    Logging::traceEnabled = true;
    for (const std::string at :
         {"A.progress.reset", "Execute command 'A'...", "Command 'A' executed.", "A.progress.setComplete"})
    {
        const auto failThere = [&](const std::string& call)
        {
            if (call == at)
            {
                fail();
            }
        };
        Logging::onLine = failThere;
        LegacyProgress::onCall = failThere;
        EXPECT_FALSE(manager.addCommandToMergeWithNextCommand(make("A"), true)) << at;
        EXPECT_EQ(takeJournal().back(), "  failed(no power, A) [|]") << at;
        EXPECT_FALSE(manager.isProcessingCommand()) << at;
    }
    Logging::onLine = nullptr;
    LegacyProgress::onCall = nullptr;
    add("B");
    EXPECT_EQ(takeMerged(), "B");
}

TEST_F(CommandManagerIntakeOrder, ACommandToBeMergedRestoresTheFlagThatItFoundAlsoOnFailure)
{
    const auto good = make("good");
    const auto bad = make("bad");
    bad->onExecute = fail;
    const auto strange = make("strange");
    strange->onExecute = []
    {
        throw Stranger();
    };
    const auto outer = make("outer");
    outer->onExecute = [&]
    {
        EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(good, false));
        note("after success");
        EXPECT_FALSE(manager.addCommandToMergeWithNextCommand(bad, false));
        note("after failure");
        EXPECT_THROW(manager.addCommandToMergeWithNextCommand(strange, false), Stranger);
        note("after stranger");
    };

    EXPECT_TRUE(manager.addCommand(outer));

    EXPECT_THAT(takeJournal(),
                ElementsAre("* outer.progress.reset", "* outer.execute", "* good.progress.reset",
                            "* good.execute", "* good.progress.setComplete", "* after success",
                            "* bad.progress.reset", "* bad.execute",
                            "* error: Execution of command 'bad' failed with exception: no power",
                            "* failed(no power, bad) [|]", "* after failure", "* strange.progress.reset",
                            "* strange.execute", "* after stranger", "* outer.progress.setComplete",
                            "  modules.modified", "  modules.mark", "  queueChanged 3 [outer|]",
                            "  executed [outer|]"));
    EXPECT_EQ(takeMerged(), "outer: outer good");

    EXPECT_THROW(manager.addCommandToMergeWithNextCommand(strange, true), Stranger);
    EXPECT_FALSE(manager.isProcessingCommand());
}

TEST_F(CommandManagerIntakeOrder, AnEmptyCommandIsNoCommandToMerge)
{
    EXPECT_FALSE(manager.addCommandToMergeWithNextCommand(nullptr, true));
    EXPECT_THAT(takeJournal(), IsEmpty());
    addToMerge("A");
    manager.addExecutedCommand(nullptr);
    EXPECT_FALSE(manager.addCommand(nullptr));
    EXPECT_THAT(takeJournal(), IsEmpty());
    add("B");
    EXPECT_EQ(takeMerged(), "B: B A");
}

TEST_F(CommandManagerIntakeOrder, ClearForgetsWhatWaitsToBeMerged)
{
    const std::weak_ptr<CommandBase> pending = addToMerge("A");
    EXPECT_FALSE(manager.canUndo());
    EXPECT_EQ(manager.getQueueSize(), 0U);

    manager.clear();

    EXPECT_TRUE(pending.expired());
    add("B");
    EXPECT_EQ(takeMerged(), "B");
}

TEST_F(CommandManagerIntakeOrder, ACommandAddedToMergeInTheSlotOfClearIsNotForgotten)
{
    addToMerge("A");
    onSignal = [this](const std::string& signal)
    {
        if (signal == "queueChanged 2")
        {
            EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(make("B"), false));
        }
    };

    manager.clear();

    add("C");
    EXPECT_EQ(takeMerged(), "C: C B");
}

TEST_F(CommandManagerIntakeOrder, PendingCommandsStayWhenTheQueuesCannotBeCleared)
{
    addToMerge("A", true);
    modules->onAsk = fail;
    EXPECT_THROW(manager.clear(), std::runtime_error);
    modules->onAsk = nullptr;

    add("B");

    EXPECT_EQ(takeMerged(), "forward B: B A");
}

TEST_F(CommandManagerIntakeOrder, PendingCommandsOutliveUndoRedoFailuresAndTakingTheLastCommand)
{
    add("A");
    addToMerge("B");
    manager.undo(1);
    manager.redo(1);
    const auto failing = make("C");
    failing->onExecute = fail;
    manager.addCommand(failing);
    manager.takeLastExecutedCommand();
    manager.takeLastExecutedCommand();
    manager.takeExecutedCommands();

    add("D");

    EXPECT_EQ(takeMerged(), "D: D B");
}

TEST_F(CommandManagerIntakeOrder, TakeExecutedCommandsHandsThemOutOldestFirstAndClears)
{
    add("A");
    add("B");
    add("C");
    add("D");
    manager.undo(1);
    addToMerge("E", true);

    const std::shared_ptr<MacroCommand> taken = manager.takeExecutedCommands();

    EXPECT_THAT(takeJournal(),
                ElementsAre("  modules.modified", "  modules.modified", "  queueChanged 2 [|]"));
    std::vector<std::string> names;
    for (const std::shared_ptr<CommandBase>& command : *taken)
    {
        names.push_back(command->getDescription());
    }
    EXPECT_THAT(names, ElementsAre("A", "B", "C"));
    EXPECT_FALSE(taken->getUseForwardUndoOrder());
    taken->clear();
    EXPECT_EQ(taken->getDescription(), "");
    add("F");
    EXPECT_EQ(takeMerged(), "F");
}

TEST_F(CommandManagerIntakeOrder, TakeExecutedCommandsWithNothingToUndoDoesNothingAtAll)
{
    EXPECT_EQ(manager.takeExecutedCommands(), nullptr);
    add("A");
    manager.undo(1);
    addToMerge("B");

    EXPECT_EQ(manager.takeExecutedCommands(), nullptr);

    EXPECT_THAT(takeJournal(), IsEmpty());
    EXPECT_EQ(queues(), "[|A]");
    add("C");
    EXPECT_EQ(takeMerged(), "C: C B");
}

TEST_F(CommandManagerIntakeOrder, TakeLastExecutedCommandTakesOneAndTellsNobody)
{
    EXPECT_EQ(manager.takeLastExecutedCommand(), nullptr);
    add("A");
    const auto b = add("B");
    const auto c = add("C");
    manager.undo(1);
    takeJournal();

    EXPECT_EQ(manager.takeLastExecutedCommand(), b);

    EXPECT_THAT(takeJournal(), IsEmpty());
    EXPECT_EQ(queues(), "[A|C]");
    manager.takeLastExecutedCommand();
    EXPECT_EQ(manager.takeLastExecutedCommand(), nullptr);
    EXPECT_EQ(manager.getRedoCommand(), c);
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(CommandManagerIntakeOrder, PendingCommandsStayWhenTheModulesCannotBeAsked)
{
    addToMerge("A", true);
    add("B");
    EXPECT_EQ(takeMerged(), "forward B: B A");
    addToMerge("C", true);
    addToMerge("D");
    modules->onAsk = []
    {
        throw Stranger();
    };

    EXPECT_THROW(manager.addExecutedCommand(make("E")), Stranger);

    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified"));
    EXPECT_EQ(queues(), "[|]");
    modules->onAsk = nullptr;
    add("F");
    EXPECT_EQ(takeMerged(), "forward F: F C D");
}

TEST_F(CommandManagerIntakeOrder, ACommandAddedToMergeByTheModuleInterfaceWaitsForTheNextOne)
{
    addToMerge("A");
    modules->onAsk = [&]
    {
        modules->onAsk = nullptr;
        EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(make("B"), true));
    };

    add("C");

    EXPECT_EQ(takeMerged(), "C: C A");
    add("D");
    EXPECT_EQ(takeMerged(), "forward D: D B");
}

TEST_F(CommandManagerIntakeOrder, CommandsAddedToMergeByTheModuleInterfaceComeAfterThoseThatWereWaiting)
{
    addToMerge("A");
    modules->onAsk = [&]
    {
        modules->onAsk = nullptr;
        EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(make("B"), true));
        fail();
    };
    EXPECT_THROW(manager.addExecutedCommand(make("C")), std::runtime_error);

    add("D");

    EXPECT_EQ(takeMerged(), "forward D: D A B");
}

} // namespace
} // namespace Valdane

#include "Journal.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Logging/Logging.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/ManagerJournal.h"
#include "Tests/Support/RecordingCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using ValdaneTests::ElementsAre;

class RecordingModules : public ModuleAccessInterface
{
public:
    void markAllModulesInBusinessAsUnmodified() override
    {
        note("modules.markAllModulesInBusinessAsUnmodified");
        if (onMark)
        {
            onMark();
        }
    }

    std::function<void()> onMark;
};

/// With trace lines, all signals, and modules that are noted only when they are marked.
class CommandManagerOrder : public ManagerJournal
{
protected:
    CommandManagerOrder()
    {
        manager.setModuleAccessInterface(modules);
        Logging::traceEnabled = true;
        takeJournal();
    }

    std::shared_ptr<RecordingModules> modules = std::make_shared<RecordingModules>();

    Signals::Connection completed =
        manager.connectToSigUndoRedoProcessCompleted([this] { noteSignal("completed"); });
    Signals::Connection started =
        manager.connectToSigThreadedCommandStarted([this] { noteSignal("threaded started"); });
    Signals::Connection finished =
        manager.connectToSigThreadedCommandFinished([this] { noteSignal("threaded finished"); });
};

TEST_F(CommandManagerOrder, AddCommand)
{
    EXPECT_TRUE(manager.addCommand(std::make_shared<RecordingCommand>("A")));

    EXPECT_THAT(takeJournal(),
                ElementsAre("* A.progress.reset", "* trace: Execute command 'A'...", "* A.execute",
                            "* trace: Command 'A' executed.", "* A.progress.setComplete",
                            "  modules.markAllModulesInBusinessAsUnmodified", "  queueChanged 3 [A|]",
                            "  executed [A|]"));
}

TEST_F(CommandManagerOrder, AddExecutedCommand)
{
    add("A");
    manager.undo(1);
    takeJournal();

    manager.addExecutedCommand(std::make_shared<RecordingCommand>("B"));

    EXPECT_THAT(takeJournal(),
                ElementsAre("  modules.markAllModulesInBusinessAsUnmodified", "  queueChanged 3 [B|]"));
}

TEST_F(CommandManagerOrder, TheModulesAreMarkedWithTheCommandQueuedAndBeforeTheLimitDropsAnything)
{
    add("A");
    manager.setMaxQueueSize(1);
    manager.setUsesMaxQueueSize(true);
    modules->onMark = [this]
    {
        note("queues " + queues());
    };

    manager.addExecutedCommand(std::make_shared<RecordingCommand>("B"));

    EXPECT_THAT(takeJournal(), ElementsAre("  modules.markAllModulesInBusinessAsUnmodified",
                                           "  queues [B A|]", "  queueChanged 3 [B|]"));
}

TEST_F(CommandManagerOrder, UndoNeitherResetsNorCompletesTheCommandsProgress)
{
    add("A");

    EXPECT_TRUE(manager.undo(1));

    EXPECT_THAT(takeJournal(), ElementsAre("* progress.setSubProgress(A.progress, 100, 1)",
                                           "* trace: Execute Undo command 'A'...", "* A.undo",
                                           "* trace: Undo command 'A' executed.", "  A.isRedoCapable",
                                           "  modules.markAllModulesInBusinessAsUnmodified", "  undone [|A]",
                                           "  queueChanged 0 [|A]"));
}

TEST_F(CommandManagerOrder, RedoReportsAnExecutedCommandAndDoesNotAskWhetherItIsRedoCapable)
{
    add("A")->redoCapable = true;
    manager.undo(1);
    takeJournal();

    EXPECT_TRUE(manager.redo(1));

    EXPECT_THAT(takeJournal(), ElementsAre("* progress.setSubProgress(A.progress, 100, 1)",
                                           "* trace: Execute Redo command 'A'...", "* A.redo",
                                           "* trace: Redo command 'A' executed.",
                                           "  modules.markAllModulesInBusinessAsUnmodified",
                                           "  executed [A|]", "  queueChanged 1 [A|]"));
}

TEST_F(CommandManagerOrder, SeveralStepsAreWholeStepsOneAfterAnother)
{
    add("A");
    add("B");
    Logging::traceEnabled = false;

    EXPECT_TRUE(manager.undo(5));
    EXPECT_TRUE(manager.redo(5));

    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(B.progress, 100, 1)", "* B.undo", "  B.isRedoCapable",
                            "  modules.markAllModulesInBusinessAsUnmodified", "  undone [A|B]",
                            "  queueChanged 0 [A|B]", "* progress.setSubProgress(A.progress, 100, 1)",
                            "* A.undo", "  A.isRedoCapable", "  modules.markAllModulesInBusinessAsUnmodified",
                            "  undone [|A B]", "  queueChanged 0 [|A B]",
                            "* progress.setSubProgress(A.progress, 100, 1)", "* A.redo",
                            "  modules.markAllModulesInBusinessAsUnmodified", "  executed [A|B]",
                            "  queueChanged 1 [A|B]", "* progress.setSubProgress(B.progress, 100, 1)",
                            "* B.redo", "  modules.markAllModulesInBusinessAsUnmodified", "  executed [B A|]",
                            "  queueChanged 1 [B A|]"));
}

TEST_F(CommandManagerOrder, NothingAtAllHappensWhereThereIsNothingToDo)
{
    EXPECT_TRUE(manager.undo(3));
    EXPECT_TRUE(manager.redo(3));
    manager.undoAll();
    manager.redoAll();
    EXPECT_FALSE(manager.addCommand(nullptr));
    manager.addExecutedCommand(nullptr);
    EXPECT_THAT(takeJournal(), IsEmpty());

    add("A");
    add("B");
    manager.undo(1);
    takeJournal();
    EXPECT_TRUE(manager.undo(0));
    EXPECT_TRUE(manager.redo(0));
    EXPECT_FALSE(manager.addCommand(nullptr));
    manager.addExecutedCommand(nullptr);
    EXPECT_THAT(takeJournal(), IsEmpty());
    EXPECT_EQ(queues(), "[A|B]");
}

TEST_F(CommandManagerOrder, ClearEmitsOneSignalAlsoWithoutCommands)
{
    manager.clear();
    EXPECT_THAT(takeJournal(), ElementsAre("  queueChanged 2 [|]"));

    add("A");
    add("B");
    manager.undo(1);
    takeJournal();
    manager.clear();
    EXPECT_THAT(takeJournal(), ElementsAre("  queueChanged 2 [|]"));
}

TEST_F(CommandManagerOrder, UndoRedoProcessCompletedIsEmittedOnDemandOnly)
{
    manager.emitSigUndoRedoProcessCompleted();
    EXPECT_THAT(takeJournal(), ElementsAre("  completed [|]"));
}

TEST_F(CommandManagerOrder, UndoingANonRedoableCommandEmptiesTheRedoQueueEarlierStepsOfTheCallIncluded)
{
    add("A");
    add("B")->redoCapable = false;
    add("C");
    Logging::traceEnabled = false;

    EXPECT_TRUE(manager.undo(3));

    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(C.progress, 100, 1)", "* C.undo", "  C.isRedoCapable",
                            "  modules.markAllModulesInBusinessAsUnmodified", "  undone [B A|C]",
                            "  queueChanged 0 [B A|C]", "* progress.setSubProgress(B.progress, 100, 1)",
                            "* B.undo", "  B.isRedoCapable", "  modules.markAllModulesInBusinessAsUnmodified",
                            "  undone [A|]", "  queueChanged 0 [A|]",
                            "* progress.setSubProgress(A.progress, 100, 1)", "* A.undo", "  A.isRedoCapable",
                            "  modules.markAllModulesInBusinessAsUnmodified", "  undone [|A]",
                            "  queueChanged 0 [|A]"));
}

TEST_F(CommandManagerOrder, AFailingExecutionIsLoggedThenReportedAndNothingIsQueued)
{
    const auto command = std::make_shared<RecordingCommand>("A");
    command->onExecute = fail;

    EXPECT_FALSE(manager.addCommand(command));

    EXPECT_THAT(takeJournal(),
                ElementsAre("* A.progress.reset", "* trace: Execute command 'A'...", "* A.execute",
                            "  error: Execution of command 'A' failed with exception: no power",
                            "  failed(no power, A) [|]"));
}

TEST_F(CommandManagerOrder, AFailingUndoStaysOnTopAndEndsTheCall)
{
    add("A");
    add("B")->onUndo = fail;
    add("C");
    Logging::traceEnabled = false;

    EXPECT_FALSE(manager.undo(3));

    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(C.progress, 100, 1)", "* C.undo", "  C.isRedoCapable",
                            "  modules.markAllModulesInBusinessAsUnmodified", "  undone [B A|C]",
                            "  queueChanged 0 [B A|C]", "* progress.setSubProgress(B.progress, 100, 1)",
                            "* B.undo", "  error: Undo of command 'B' failed with exception: no power",
                            "  failed(no power, B) [B A|C]"));
}

TEST_F(CommandManagerOrder, AFailingRedoStaysOnTopAndEndsTheCall)
{
    add("A");
    add("B")->onRedo = fail;
    add("C");
    manager.undoAll();
    takeJournal();
    Logging::traceEnabled = false;

    EXPECT_FALSE(manager.redo(3));

    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(A.progress, 100, 1)", "* A.redo",
                            "  modules.markAllModulesInBusinessAsUnmodified", "  executed [A|B C]",
                            "  queueChanged 1 [A|B C]", "* progress.setSubProgress(B.progress, 100, 1)",
                            "* B.redo", "  error: Redo of command 'B' failed with exception: no power",
                            "  failed(no power, B) [A|B C]"));
}

TEST_F(CommandManagerOrder, TheFlagIsFalseAfterAFailureOfAnyCallInTheProtectedPart)
{
    struct Failure
    {
        std::string at;
        std::vector<std::string> journal;
    };

    const std::vector<Failure> failures = {
        {"A.progress.reset",
         {"* A.progress.reset", "  error: Execution of command 'A' failed with exception: no power",
          "  failed(no power, A) [|]"}},
        {"Execute command 'A'...",
         {"* A.progress.reset", "  error: Execution of command 'A' failed with exception: no power",
          "  failed(no power, A) [|]"}},
        {"Command 'A' executed.",
         {"* A.progress.reset", "* trace: Execute command 'A'...", "* A.execute",
          "  error: Execution of command 'A' failed with exception: no power", "  failed(no power, A) [|]"}},
        {"A.progress.setComplete",
         {"* A.progress.reset", "* trace: Execute command 'A'...", "* A.execute",
          "* trace: Command 'A' executed.", "* A.progress.setComplete",
          "  error: Execution of command 'A' failed with exception: no power", "  failed(no power, A) [|]"}},
    };
    for (const Failure& failure : failures)
    {
        const auto failThere = [&](const std::string& call)
        {
            if (call == failure.at)
            {
                fail();
            }
        };
        Logging::onLine = failThere;
        LegacyProgress::onCall = failThere;
        EXPECT_FALSE(manager.addCommand(std::make_shared<RecordingCommand>("A"))) << failure.at;
        EXPECT_EQ(takeJournal(), failure.journal) << failure.at;
        EXPECT_FALSE(manager.isProcessingCommand()) << failure.at;
    }
}

TEST_F(CommandManagerOrder, ProgressAndTraceOfUndoAndRedoAreProtectedToo)
{
    for (const std::string at : {"progress.setSubProgress(A.progress, 100, 1)", "Execute Undo command 'A'...",
                                 "Undo command 'A' executed."})
    {
        const auto failThere = [&](const std::string& call)
        {
            if (call == at)
            {
                fail();
            }
        };
        manager.clear();
        add("A");
        Logging::onLine = failThere;
        LegacyProgress::onCall = failThere;
        EXPECT_FALSE(manager.undo(1)) << at;
        EXPECT_EQ(queues(), "[A|]") << at;
        EXPECT_THAT(takeJournal(), testing::IsSupersetOf({"  failed(no power, A) [A|]"})) << at;
        Logging::onLine = nullptr;
        LegacyProgress::onCall = nullptr;
    }
    for (const std::string at : {"progress.setSubProgress(A.progress, 100, 1)", "Execute Redo command 'A'...",
                                 "Redo command 'A' executed."})
    {
        const auto failThere = [&](const std::string& call)
        {
            if (call == at)
            {
                fail();
            }
        };
        manager.clear();
        add("A");
        manager.undo(1);
        Logging::onLine = failThere;
        LegacyProgress::onCall = failThere;
        EXPECT_FALSE(manager.redo(1)) << at;
        EXPECT_EQ(queues(), "[|A]") << at;
        EXPECT_THAT(takeJournal(), testing::IsSupersetOf({"  failed(no power, A) [|A]"})) << at;
        Logging::onLine = nullptr;
        LegacyProgress::onCall = nullptr;
    }
}

TEST_F(CommandManagerOrder, WhatIsNoStandardExceptionPassesThroughUnreportedAndTheFlagIsFalse)
{
    const auto throwStranger = []
    {
        throw Stranger();
    };
    const auto command = std::make_shared<RecordingCommand>("A");
    Logging::traceEnabled = false;

    command->onExecute = throwStranger;
    EXPECT_THROW(manager.addCommand(command), Stranger);
    EXPECT_FALSE(manager.isProcessingCommand());
    EXPECT_THAT(takeJournal(), ElementsAre("* A.progress.reset", "* A.execute"));

    command->onExecute = nullptr;
    command->onUndo = throwStranger;
    command->onRedo = throwStranger;
    manager.addCommand(command);
    takeJournal();
    EXPECT_THROW(manager.undo(1), Stranger);
    EXPECT_FALSE(manager.isProcessingCommand());
    EXPECT_EQ(queues(), "[A|]");
    EXPECT_THAT(takeJournal(), ElementsAre("* progress.setSubProgress(A.progress, 100, 1)", "* A.undo"));

    command->onUndo = nullptr;
    manager.undo(1);
    takeJournal();
    EXPECT_THROW(manager.redo(1), Stranger);
    EXPECT_FALSE(manager.isProcessingCommand());
    EXPECT_EQ(queues(), "[|A]");
    EXPECT_THAT(takeJournal(), ElementsAre("* progress.setSubProgress(A.progress, 100, 1)", "* A.redo"));
}

TEST_F(CommandManagerOrder, WhatASlotThrowsReachesTheCallerWithTheCommandQueued)
{
    Logging::traceEnabled = false;
    for (const std::string signal : {"queueChanged 3", "executed"})
    {
        manager.clear();
        takeJournal();
        onSignal = [&](const std::string& emitted)
        {
            if (emitted == signal)
            {
                fail();
            }
        };
        EXPECT_THROW(manager.addCommand(std::make_shared<RecordingCommand>("A")), std::runtime_error)
            << signal;
        EXPECT_EQ(queues(), "[A|]") << signal;
        EXPECT_FALSE(manager.isProcessingCommand()) << signal;
        EXPECT_EQ(takeJournal().back(), "  " + signal + " [A|]");
        onSignal = nullptr;
    }
}

TEST_F(CommandManagerOrder, WhatASlotThrowsDuringUndoAndRedoReachesTheCallerWithTheEntryMoved)
{
    Logging::traceEnabled = false;
    add("A");
    onSignal = [](const std::string&)
    {
        fail();
    };

    EXPECT_THROW(manager.undo(1), std::runtime_error);
    EXPECT_EQ(takeJournal().back(), "  undone [|A]");
    EXPECT_THROW(manager.redo(1), std::runtime_error);
    EXPECT_EQ(takeJournal().back(), "  executed [A|]");
    EXPECT_FALSE(manager.isProcessingCommand());
}

TEST_F(CommandManagerOrder, WhatTheModuleInterfaceThrowsReachesTheCallerWithTheCommandQueued)
{
    modules->onMark = fail;

    EXPECT_THROW(manager.addCommand(std::make_shared<RecordingCommand>("A")), std::runtime_error);
    EXPECT_EQ(queues(), "[A|]");
    EXPECT_EQ(takeJournal().back(), "  modules.markAllModulesInBusinessAsUnmodified");
    EXPECT_THROW(manager.undo(1), std::runtime_error);
    EXPECT_EQ(queues(), "[|A]");
    EXPECT_THROW(manager.redo(1), std::runtime_error);
    EXPECT_EQ(queues(), "[A|]");
    EXPECT_FALSE(manager.isProcessingCommand());
}

TEST_F(CommandManagerOrder, AModuleInterfaceMayReplaceItselfWhileItIsCalled)
{
    const std::weak_ptr<RecordingModules> watched = modules;
    modules->onMark = [this, &watched]
    {
        manager.setModuleAccessInterface(std::make_shared<ModuleAccessInterface>());
        note(watched.expired() ? "died while it was called" : "still alive");
    };
    modules.reset();

    EXPECT_TRUE(manager.addCommand(std::make_shared<RecordingCommand>("A")));

    EXPECT_THAT(takeJournal(), testing::Contains("  still alive"));
    EXPECT_TRUE(watched.expired());
}

TEST_F(CommandManagerOrder, SoItMayWhenACommandIsUndoneOrRedone)
{
    add("A");
    for (const bool undoes : {true, false})
    {
        auto replaced = std::make_shared<RecordingModules>();
        const std::weak_ptr<RecordingModules> watched = replaced;
        replaced->onMark = [this, &watched]
        {
            manager.setModuleAccessInterface(std::make_shared<ModuleAccessInterface>());
            note(watched.expired() ? "died while it was called" : "still alive");
        };
        manager.setModuleAccessInterface(std::move(replaced));

        EXPECT_TRUE(undoes ? manager.undo(1) : manager.redo(1));

        EXPECT_THAT(takeJournal(), testing::Contains("  still alive"));
        EXPECT_TRUE(watched.expired());
    }
}

TEST_F(CommandManagerOrder, AModuleInterfaceThatCannotBeInstalledLeavesThePreviousOne)
{
    const auto refused = std::make_shared<ModuleAccessInterface>();
    {
        const FailingAllocation none(0);
        EXPECT_THROW(manager.setModuleAccessInterface(refused), std::bad_alloc);
    }

    add("A");
    EXPECT_TRUE(manager.undo(1));

    EXPECT_THAT(takeJournal(), testing::Contains("  modules.markAllModulesInBusinessAsUnmodified"));
}

TEST_F(CommandManagerOrder, WhatFollowsTheProgressOfACommandMayKeepAWeakPointerToIt)
{
    struct Display : Progress
    {
        void addProgress(std::shared_ptr<Progress> child, bool /*followsReset*/) override
        {
            shown = std::dynamic_pointer_cast<LegacyProgress>(child);
        }

        std::shared_ptr<LegacyProgress> shown;
    };

    const auto display = std::make_shared<Display>();
    manager.setProgress(display);
    const auto A = add("A");

    manager.undo(1);
    EXPECT_EQ(display->shown->lastSub.lock(), A->getProgress());
    display->shown->lastSub.reset();
    manager.redo(1);
    EXPECT_EQ(display->shown->lastSub.lock(), A->getProgress());
}

TEST_F(CommandManagerOrder, ACommandThatCannotTellWhetherItIsRedoCapableCannotBeRedoneNorWhatCameAfterIt)
{
    add("A")->onIsRedoCapable = fail;
    add("B");
    manager.undo(1);
    takeJournal();

    EXPECT_THROW(manager.undo(1), std::runtime_error);

    EXPECT_EQ(takeJournal().back(), "  A.isRedoCapable");
    EXPECT_EQ(queues(), "[|]");
}

TEST_F(CommandManagerOrder, NeitherCanOneThatThrowsWhatIsNoStandardExceptionWhenItIsAsked)
{
    add("A")->onIsRedoCapable = []
    {
        throw Stranger();
    };
    add("B");
    manager.undo(1);

    EXPECT_THROW(manager.undo(1), Stranger);

    EXPECT_EQ(queues(), "[|]");
    EXPECT_FALSE(manager.isProcessingCommand());
}

TEST_F(CommandManagerOrder, ANestedAddCommandClearsTheFlagOfTheOuterOne)
{
    const auto outer = std::make_shared<RecordingCommand>("outer");
    outer->onExecute = [&]
    {
        manager.addCommand(std::make_shared<RecordingCommand>("inner"));
    };
    Logging::traceEnabled = false;

    EXPECT_TRUE(manager.addCommand(outer));

    EXPECT_THAT(takeJournal(),
                ElementsAre("* outer.progress.reset", "* outer.execute", "* inner.progress.reset",
                            "* inner.execute", "* inner.progress.setComplete",
                            "  modules.markAllModulesInBusinessAsUnmodified", "  queueChanged 3 [inner|]",
                            "  executed [inner|]", "  outer.progress.setComplete",
                            "  modules.markAllModulesInBusinessAsUnmodified",
                            "  queueChanged 3 [outer inner|]", "  executed [outer inner|]"));
}

TEST_F(CommandManagerOrder, ACommandThatClearsTheQueuesWhileItIsUndoneOrRedoneIsStillMoved)
{
    const auto command = add("B");
    add("A");
    Logging::traceEnabled = false;
    command->onUndo = [&]
    {
        manager.clear();
    };
    manager.undo(1);
    takeJournal();

    EXPECT_TRUE(manager.undo(5));

    EXPECT_THAT(takeJournal(), ElementsAre("* progress.setSubProgress(B.progress, 100, 1)", "* B.undo",
                                           "* queueChanged 2 [|]", "  B.isRedoCapable",
                                           "  modules.markAllModulesInBusinessAsUnmodified", "  undone [|B]",
                                           "  queueChanged 0 [|B]"));

    command->onRedo = [&]
    {
        manager.clear();
    };
    EXPECT_TRUE(manager.redo(5));
    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(B.progress, 100, 1)", "* B.redo",
                            "* queueChanged 2 [|]", "  modules.markAllModulesInBusinessAsUnmodified",
                            "  executed [B|]", "  queueChanged 1 [B|]"));
}

TEST_F(CommandManagerOrder, TheTracesUseTheDescriptionAlsoWhereThatIsEmpty)
{
    EXPECT_TRUE(manager.addCommand(std::make_shared<RecordingCommand>("")));
    manager.undo(1);

    const std::vector<std::string> lines = takeJournal();
    EXPECT_THAT(lines, testing::Contains("* trace: Execute command ''..."));
    EXPECT_THAT(lines, testing::Contains("* trace: Command '' executed."));
    EXPECT_THAT(lines, testing::Contains("* trace: Execute Undo command ''..."));
}

TEST_F(CommandManagerOrder, EachTraceHasTheDescriptionOfItsMoment)
{
    const auto command = std::make_shared<RecordingCommand>("A");
    command->onExecute = [&]
    {
        command->setDescription("B");
    };
    command->onUndo = [&]
    {
        command->setDescription("C");
    };
    command->onRedo = [&]
    {
        command->setDescription("D");
    };
    manager.addCommand(command);
    manager.undo(1);
    manager.redo(1);

    std::vector<std::string> texts;
    for (const Logging::Line& line : Logging::lines)
    {
        texts.push_back(line.text);
    }
    EXPECT_THAT(texts, ElementsAre("Execute command 'A'...", "Command 'B' executed.",
                                   "Execute Undo command 'B'...", "Undo command 'C' executed.",
                                   "Execute Redo command 'C'...", "Redo command 'D' executed."));
}

/// A macro without a description is known to users by its first sub-command's.
TEST_F(CommandManagerOrder, TracesAndFailuresHaveTheOverriddenDescription)
{
    const auto part = std::make_shared<RecordingCommand>("part");
    const auto macro = std::make_shared<MacroCommand>();
    macro->addCommand(part);

    EXPECT_TRUE(manager.addCommand(macro));
    EXPECT_THAT(takeJournal(), testing::IsSupersetOf({"* trace: Execute command 'part'...",
                                                      "* trace: Command 'part' executed."}));
    part->onUndo = fail;
    EXPECT_FALSE(manager.undo(1));
    EXPECT_THAT(takeJournal(),
                testing::IsSupersetOf({"* trace: Execute Undo command 'part'...",
                                       "  error: Undo of command 'part' failed with exception: no power",
                                       "  failed(no power, part) [part|]"}));
}

TEST_F(CommandManagerOrder, NoTraceTextIsBuiltWhenNobodyReadsIt)
{
    class Silent : public RecordingCommand
    {
    public:
        Silent() : RecordingCommand("silent") {}

        const std::string& getDescription() const override
        {
            note("getDescription");
            return RecordingCommand::getDescription();
        }
    };

    executed.disconnect();
    queueChanged.disconnect();
    undone.disconnect();
    Logging::traceEnabled = false;

    manager.addCommand(std::make_shared<Silent>());
    manager.undo(1);
    manager.redo(1);

    EXPECT_THAT(takeJournal(), testing::Not(testing::Contains(HasSubstr("getDescription"))));
}

TEST_F(CommandManagerOrder, EveryLogCallNamesItsLoggerFileFunctionAndLine)
{
    const auto command = add("A");
    manager.undo(1);
    manager.redo(1);
    command->onUndo = fail;
    manager.undo(1);

    struct Expected
    {
        std::string text;
        std::string function;
    };

    const std::vector<Expected> expected = {
        {"Execute command 'A'...", "Valdane::CommandManager::addCommand("},
        {"Command 'A' executed.", "Valdane::CommandManager::addCommand("},
        {"Execute Undo command 'A'...", "Valdane::CommandManager::undo("},
        {"Undo command 'A' executed.", "Valdane::CommandManager::undo("},
        {"Execute Redo command 'A'...", "Valdane::CommandManager::redo("},
        {"Redo command 'A' executed.", "Valdane::CommandManager::redo("},
        {"Execute Undo command 'A'...", "Valdane::CommandManager::undo("},
        {"Undo of command 'A' failed with exception: no power",
         "Valdane::CommandManager::Private::logException("},
    };
    ASSERT_EQ(Logging::lines.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        const Logging::Line& line = Logging::lines[i];
        EXPECT_EQ(line.text, expected[i].text);
        EXPECT_THAT(line.function, HasSubstr(expected[i].function)) << line.text;
        EXPECT_THAT(line.function, testing::Not(HasSubstr("lambda"))) << line.text;
        EXPECT_EQ(line.logger, "Service/CommandPattern/CommandManager") << line.text;
        EXPECT_EQ(line.file, "Service/CommandPattern/CommandManager.cpp") << line.text;
        EXPECT_GT(line.line, 0) << line.text;
    }
}

TEST_F(CommandManagerOrder, AVdExceptionAddsItsLocationToTheErrorLineButNotToTheSignal)
{
    const auto command = std::make_shared<RecordingCommand>("A");
    const VdException exception("too hot");
    command->onExecute = [&]
    {
        throw VdException(exception);
    };
    Logging::traceEnabled = false;

    EXPECT_FALSE(manager.addCommand(command));

    EXPECT_THAT(
        takeJournal(),
        ElementsAre("* A.progress.reset", "* A.execute",
                    "  error: Execution of command 'A' failed with exception: too hot\n    Location: " +
                        exception.getLocation(),
                    "  failed(too hot, A) [|]"));
    EXPECT_THAT(exception.getLocation(), StartsWith("Tests/Service/CommandPattern/CommandManager/"));
}

TEST_F(CommandManagerOrder, ADerivedVdExceptionHasItsLocationToo)
{
    class Overheated : public VdException
    {
    public:
        Overheated() : VdException("too hot") {}
    };

    add("A")->onUndo = []
    {
        throw Overheated();
    };

    EXPECT_FALSE(manager.undo(1));

    EXPECT_THAT(Logging::lines.back().text,
                StartsWith("Undo of command 'A' failed with exception: too hot\n    Location: "));
    EXPECT_THAT(Logging::lines.back().text,
                EndsWith(Overheated().getLocation().substr(Overheated().getLocation().find(" ("))));
}

TEST_F(CommandManagerOrder, FailuresOfEveryKindOfStandardExceptionAreReported)
{
    add("A")->onUndo = []
    {
        throw std::bad_alloc();
    };
    Logging::traceEnabled = false;

    EXPECT_FALSE(manager.undo(1));

    EXPECT_THAT(takeJournal(),
                ElementsAre("* progress.setSubProgress(A.progress, 100, 1)", "* A.undo",
                            std::string("  error: Undo of command 'A' failed with exception: ") +
                                std::bad_alloc().what(),
                            std::string("  failed(") + std::bad_alloc().what() + ", A) [A|]"));
}

TEST_F(CommandManagerOrder, ASlotThatHearsOfAFailureFindsTheDescriptionUnchangedWhateverAnEarlierOneDid)
{
    const auto command = std::make_shared<RecordingCommand>("A");
    command->onExecute = fail;
    failed.disconnect();
    const Signals::Connection first = manager.connectToSigCommandFailed(
        [&](const char*, const std::string&) { command->setDescription("renamed"); });
    const Signals::Connection second = manager.connectToSigCommandFailed(
        [](const char*, const std::string& description) { note("heard of " + description); });

    EXPECT_FALSE(manager.addCommand(command));

    EXPECT_EQ(takeJournal().back(), "  heard of A");
}

TEST_F(CommandManagerOrder, ACommandThatWasMovedFromIsReportedAsFailed)
{
    const auto command = std::make_shared<RecordingCommand>("A");
    const RecordingCommand taken(std::move(*command));

    EXPECT_FALSE(manager.addCommand(command));

    EXPECT_THAT(
        takeJournal(),
        ElementsAre(StartsWith("  error: Execution of command '' failed with exception: The command was "
                               "moved from and can no longer run.\n    Location: "),
                    "  failed(The command was moved from and can no longer run., ) [|]"));
}

TEST_F(CommandManagerOrder, SetProgressHangsTheManagersProgressUnderTheGivenOne)
{
    const auto bar = std::make_shared<LegacyProgress>();
    bar->label = "bar";

    manager.setProgress(bar);
    manager.setProgress(nullptr);

    EXPECT_THAT(takeJournal(), ElementsAre("  bar.addProgress(progress, true)"));
}

} // namespace
} // namespace Valdane

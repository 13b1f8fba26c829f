#include "Journal.h"
#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Logging/Logging.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/RecordingCommand.h"
#include "Tests/Support/SameObject.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using ValdaneTests::ElementsAre;

/// Notes the calls of its virtual operations that the base class makes.
class NotingMacro : public MacroCommand
{
public:
    NotingMacro()
    {
        getProgressPtr()->label = "M.progress";
    }

    void undo() override
    {
        note("M.undo");
        MacroCommand::undo();
    }

    std::function<void()> onPrepare;
    std::function<void()> onFinalize;

protected:
    void prepareExecute(std::shared_ptr<CommandBase> command) override
    {
        run("M.prepareExecute(", *command, onPrepare);
    }

    void finalizeExecute(std::shared_ptr<CommandBase> command) override
    {
        run("M.finalizeExecute(", *command, onFinalize);
    }

private:
    static void run(const char* hook, const CommandBase& command, const std::function<void()>& action)
    {
        note(hook + command.getDescription() + ")");
        if (action)
        {
            action();
        }
    }
};

class RatedCommand : public RecordingCommand
{
public:
    RatedCommand(const std::string& ratedName, LegacyProgress::Speed::Rate rate) : RecordingCommand(ratedName)
    {
        setSpeedRate(rate);
    }

    LegacyProgress::Speed::Rate getSpeedRate() const override
    {
        note(getDescription() + ".getSpeedRate");
        return RecordingCommand::getSpeedRate();
    }
};

using Lines = std::vector<std::string>;

Lines operator+(Lines first, const Lines& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

class MacroCommandOrder : public testing::Test
{
protected:
    MacroCommandOrder()
    {
        macro.getProgressPtr()->label = "M.progress";
        Logging::traceEnabled = true;
        Logging::lines.clear();
        takeJournal();
    }

    ~MacroCommandOrder() override
    {
        Logging::onLine = nullptr;
        LegacyProgress::onCall = nullptr;
        takeJournal();
    }

    void addThree()
    {
        macro.addCommand(a);
        macro.addCommand(b);
        macro.addCommand(c);
    }

    /// How the progress of the macro is laid out when its sub-commands are all of normal speed.
    static Lines layout(const Lines& names)
    {
        Lines lines(names.size(), "Speed.add(3)");
        lines.insert(lines.end(), {"M.progress.reset", "M.progress.progress"});
        int start = 0;
        for (const std::string& name : names)
        {
            lines.emplace_back("Speed.getPartitionFromRate(3)");
            lines.push_back("M.progress.appendSubProgress(" + name + ".progress, " + std::to_string(start) +
                            ", " + std::to_string(start + 30) + ")");
            start += 30;
        }
        return lines;
    }

    /// One sub-command that succeeds.
    static Lines step(const std::string& operation, const std::string& name)
    {
        std::string call = operation;
        call[0] = static_cast<char>(std::tolower(call[0]));
        return {"trace: " + operation + " MacroCommand '" + name + "'...", name + "." + call,
                "trace: " + operation + " MacroCommand '" + name + "' finished.",
                name + ".progress.setComplete"};
    }

    /// One sub-command that fails.
    static Lines failingStep(const std::string& operation, const std::string& name)
    {
        Lines lines = step(operation, name);
        lines.resize(2);
        return lines;
    }

    std::shared_ptr<RecordingCommand> a = std::make_shared<RecordingCommand>("A");
    std::shared_ptr<RecordingCommand> b = std::make_shared<RecordingCommand>("B");
    std::shared_ptr<RecordingCommand> c = std::make_shared<RecordingCommand>("C");
    MacroCommand macro;
};

TEST_F(MacroCommandOrder, ExecuteIsOneSequence)
{
    macro.addCommand(std::make_shared<RatedCommand>("A", LegacyProgress::Speed::Slow));
    macro.addCommand(std::make_shared<RatedCommand>("B", LegacyProgress::Speed::Fast));

    macro.execute();

    EXPECT_THAT(
        takeJournal(),
        ElementsAre(
            "A.getSpeedRate", "Speed.add(2)", "B.getSpeedRate", "Speed.add(4)", "M.progress.reset",
            "M.progress.progress", "A.getSpeedRate", "Speed.getPartitionFromRate(2)",
            "M.progress.appendSubProgress(A.progress, 0, 20)", "B.getSpeedRate",
            "Speed.getPartitionFromRate(4)", "M.progress.appendSubProgress(B.progress, 20, 60)",
            "trace: Execute MacroCommand 'A'...", "A.execute", "trace: Execute MacroCommand 'A' finished.",
            "A.progress.setComplete", "trace: Execute MacroCommand 'B'...", "B.execute",
            "trace: Execute MacroCommand 'B' finished.", "B.progress.setComplete", "M.progress.setComplete"));
}

TEST_F(MacroCommandOrder, RedoIsLaidOutAsExecuteAndCallsRedo)
{
    addThree();

    macro.redo();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(layout({"A", "B", "C"}) + step("Redo", "A") + step("Redo", "B") +
                                 step("Redo", "C") + Lines{"M.progress.setComplete"}));
}

TEST_F(MacroCommandOrder, UndoRunsAndIsLaidOutLastToFirst)
{
    macro.addCommand(std::make_shared<RatedCommand>("A", LegacyProgress::Speed::Slow));
    macro.addCommand(std::make_shared<RatedCommand>("B", LegacyProgress::Speed::Fast));

    macro.undo();

    EXPECT_THAT(
        takeJournal(),
        ElementsAre("A.getSpeedRate", "Speed.add(2)", "B.getSpeedRate", "Speed.add(4)", "M.progress.reset",
                    "M.progress.progress", "B.getSpeedRate", "Speed.getPartitionFromRate(4)",
                    "M.progress.appendSubProgress(B.progress, 0, 40)", "A.getSpeedRate",
                    "Speed.getPartitionFromRate(2)", "M.progress.appendSubProgress(A.progress, 40, 60)",
                    "trace: Undo MacroCommand 'B'...", "B.undo", "trace: Undo MacroCommand 'B' finished.",
                    "B.progress.setComplete", "trace: Undo MacroCommand 'A'...", "A.undo",
                    "trace: Undo MacroCommand 'A' finished.", "A.progress.setComplete",
                    "M.progress.setComplete"));
}

TEST_F(MacroCommandOrder, ForwardUndoRunsFirstToLastButIsLaidOutLastToFirst)
{
    addThree();
    macro.setUseForwardUndoOrder(true);

    macro.undo();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(layout({"C", "B", "A"}) + step("Undo", "A") + step("Undo", "B") +
                                 step("Undo", "C") + Lines{"M.progress.setComplete"}));
}

TEST_F(MacroCommandOrder, TheLayoutStartsAtThePositionAfterTheResetWithoutItsFraction)
{
    macro.addCommand(a);
    macro.getProgressPtr()->position = 7.9;

    macro.execute();

    EXPECT_THAT(takeJournal(), testing::Contains("M.progress.appendSubProgress(A.progress, 7, 37)"));
}

TEST_F(MacroCommandOrder, AnEmptyMacroResetsAndCompletesItsProgressOnly)
{
    for (const auto operation : {&MacroCommand::execute, &MacroCommand::undo, &MacroCommand::redo})
    {
        for (const bool forward : {false, true})
        {
            macro.setUseForwardUndoOrder(forward);
            (macro.*operation)();
            EXPECT_THAT(takeJournal(),
                        ElementsAre("M.progress.reset", "M.progress.progress", "M.progress.setComplete"));
        }
    }
}

TEST_F(MacroCommandOrder, AnUnknownLayoutOnlyAddsTheRatesAndResets)
{
    class Preparing : public MacroCommand
    {
    public:
        static_assert(Execute == 0 && Undo == 1);

        static void prepareUnknown(Preparing& preparing)
        {
            preparing.prepareProgress(static_cast<Prepare>(2));
        }
    };

    Preparing preparing;
    preparing.getProgressPtr()->label = "M.progress";
    preparing.addCommand(a);

    Preparing::prepareUnknown(preparing);

    EXPECT_THAT(takeJournal(), ElementsAre("Speed.add(3)", "M.progress.reset", "M.progress.progress"));
}

TEST_F(MacroCommandOrder, TheRateIsTheAverageOfTheSubCommandsAlsoIfThereAreNone)
{
    macro.setSpeedRate(LegacyProgress::Speed::VerySlow);

    EXPECT_EQ(macro.getSpeedRate(), LegacyProgress::Speed::VeryFast);
    EXPECT_THAT(takeJournal(), ElementsAre("Speed.getAverageSpeed"));

    macro.addCommand(std::make_shared<RatedCommand>("A", LegacyProgress::Speed::Slow));
    macro.addCommand(std::make_shared<RatedCommand>("B", LegacyProgress::Speed::Fast));
    EXPECT_EQ(macro.getSpeedRate(), LegacyProgress::Speed::Fast);
    EXPECT_THAT(takeJournal(), ElementsAre("A.getSpeedRate", "Speed.add(2)", "B.getSpeedRate", "Speed.add(4)",
                                           "Speed.getAverageSpeed"));
}

TEST_F(MacroCommandOrder, TheFirstThatIsNotRedoCapableEndsTheQuestion)
{
    EXPECT_TRUE(macro.isRedoCapable());
    addThree();

    EXPECT_TRUE(macro.isRedoCapable());
    EXPECT_THAT(takeJournal(), ElementsAre("A.isRedoCapable", "B.isRedoCapable", "C.isRedoCapable"));
    b->redoCapable = false;
    EXPECT_FALSE(macro.isRedoCapable());
    EXPECT_THAT(takeJournal(), ElementsAre("A.isRedoCapable", "B.isRedoCapable"));
}

TEST_F(MacroCommandOrder, TheHooksSurroundExecuteInsideTheTraces)
{
    NotingMacro noting;
    noting.addCommand(a);

    noting.execute();

    EXPECT_THAT(
        takeJournal(),
        ElementsAreArray(layout({"A"}) + Lines{"trace: Execute MacroCommand 'A'...", "M.prepareExecute(A)",
                                               "A.execute", "M.finalizeExecute(A)",
                                               "trace: Execute MacroCommand 'A' finished.",
                                               "A.progress.setComplete", "M.progress.setComplete"}));
}

TEST_F(MacroCommandOrder, TheHooksAreNotCalledOnUndoAndRedoNorOnRollBack)
{
    NotingMacro noting;
    noting.addCommand(a);
    noting.addCommand(b);

    noting.undo();
    noting.redo();
    a->onUndo = fail;
    EXPECT_THROW(noting.undo(), std::runtime_error);
    a->onUndo = nullptr;
    b->onRedo = fail;
    EXPECT_THROW(noting.redo(), std::runtime_error);

    EXPECT_THAT(takeJournal(), testing::Not(testing::Contains(HasSubstr("Execute"))));
}

TEST_F(MacroCommandOrder, AHookThatThrowsCountsAsAFailureOfItsCommand)
{
    NotingMacro noting;
    noting.addCommand(a);
    noting.addCommand(b);
    const auto failAtB = [&]
    {
        if (journal().back().find("(B)") != std::string::npos)
        {
            fail();
        }
    };
    const Lines untilB = layout({"A", "B"}) + Lines{"trace: Execute MacroCommand 'A'...",
                                                    "M.prepareExecute(A)",
                                                    "A.execute",
                                                    "M.finalizeExecute(A)",
                                                    "trace: Execute MacroCommand 'A' finished.",
                                                    "A.progress.setComplete",
                                                    "trace: Execute MacroCommand 'B'...",
                                                    "M.prepareExecute(B)"};
    const Lines error = {"error: MacroCommand: Subcommand 'B' failed with exception: no power"};

    noting.onPrepare = failAtB;
    EXPECT_THROW(noting.execute(), std::runtime_error);
    EXPECT_THAT(takeJournal(), ElementsAreArray(untilB + error + step("Undo", "A")));

    noting.onPrepare = nullptr;
    noting.onFinalize = failAtB;
    EXPECT_THROW(noting.execute(), std::runtime_error);
    EXPECT_THAT(takeJournal(), ElementsAreArray(untilB + Lines{"B.execute", "M.finalizeExecute(B)"} + error +
                                                step("Undo", "A")));
}

TEST_F(MacroCommandOrder, AFailedExecuteUndoesWhatWasExecutedLastToFirst)
{
    addThree();
    c->onExecute = fail;

    EXPECT_THROW(macro.execute(), std::runtime_error);

    EXPECT_THAT(
        takeJournal(),
        ElementsAreArray(layout({"A", "B", "C"}) + step("Execute", "A") + step("Execute", "B") +
                         failingStep("Execute", "C") +
                         Lines{"error: MacroCommand: Subcommand 'C' failed with exception: no power"} +
                         step("Undo", "B") + step("Undo", "A")));
}

TEST_F(MacroCommandOrder, AFailedExecuteNeverRunsWhatComesAfterIt)
{
    addThree();
    b->onExecute = fail;

    EXPECT_THROW(macro.execute(), std::runtime_error);

    EXPECT_THAT(
        takeJournal(),
        ElementsAreArray(layout({"A", "B", "C"}) + step("Execute", "A") + failingStep("Execute", "B") +
                         Lines{"error: MacroCommand: Subcommand 'B' failed with exception: no power"} +
                         step("Undo", "A")));
}

TEST_F(MacroCommandOrder, AFailedExecuteWithForwardOrderUndoesFirstToLast)
{
    addThree();
    macro.setUseForwardUndoOrder(true);
    c->onExecute = fail;

    EXPECT_THROW(macro.execute(), std::runtime_error);

    EXPECT_THAT(
        takeJournal(),
        ElementsAreArray(layout({"A", "B", "C"}) + step("Execute", "A") + step("Execute", "B") +
                         failingStep("Execute", "C") +
                         Lines{"error: MacroCommand: Subcommand 'C' failed with exception: no power"} +
                         step("Undo", "A") + step("Undo", "B")));
}

TEST_F(MacroCommandOrder, AFailedRedoUndoesWhatWasRedoneInTheUndoOrder)
{
    addThree();
    c->onRedo = fail;
    for (const bool forward : {false, true})
    {
        macro.setUseForwardUndoOrder(forward);

        EXPECT_THROW(macro.redo(), std::runtime_error);

        EXPECT_THAT(
            takeJournal(),
            ElementsAreArray(layout({"A", "B", "C"}) + step("Redo", "A") + step("Redo", "B") +
                             failingStep("Redo", "C") +
                             Lines{"error: MacroCommand: Subcommand 'C' failed with exception: no power"} +
                             step("Undo", forward ? "A" : "B") + step("Undo", forward ? "B" : "A")));
    }
}

TEST_F(MacroCommandOrder, AFailureOfTheFirstRollsNothingBack)
{
    addThree();
    a->onExecute = fail;
    a->onRedo = fail;
    const Lines error = {"error: MacroCommand: Subcommand 'A' failed with exception: no power"};
    for (const bool forward : {false, true})
    {
        macro.setUseForwardUndoOrder(forward);
        EXPECT_THROW(macro.execute(), std::runtime_error);
        EXPECT_THAT(takeJournal(),
                    ElementsAreArray(layout({"A", "B", "C"}) + failingStep("Execute", "A") + error));
        EXPECT_THROW(macro.redo(), std::runtime_error);
        EXPECT_THAT(takeJournal(),
                    ElementsAreArray(layout({"A", "B", "C"}) + failingStep("Redo", "A") + error));
    }
}

TEST_F(MacroCommandOrder, AFailedUndoRedoesWhatWasUndoneFirstToLast)
{
    addThree();
    a->onUndo = fail;

    EXPECT_THROW(macro.undo(), std::runtime_error);

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(
                    layout({"C", "B", "A"}) + step("Undo", "C") + step("Undo", "B") +
                    failingStep("Undo", "A") +
                    Lines{"error: Undo of MacroCommand: Subcommand 'A' failed with exception: no power"} +
                    step("Redo", "B") + step("Redo", "C")));
}

TEST_F(MacroCommandOrder, AFailedForwardUndoRedoesWhatWasUndoneFirstToLastToo)
{
    addThree();
    macro.setUseForwardUndoOrder(true);
    c->onUndo = fail;

    EXPECT_THROW(macro.undo(), std::runtime_error);

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(
                    layout({"C", "B", "A"}) + step("Undo", "A") + step("Undo", "B") +
                    failingStep("Undo", "C") +
                    Lines{"error: Undo of MacroCommand: Subcommand 'C' failed with exception: no power"} +
                    step("Redo", "A") + step("Redo", "B")));
}

TEST_F(MacroCommandOrder, AFailedUndoInTheMiddleLeavesTheRestAlone)
{
    addThree();
    b->onUndo = fail;
    const Lines error = {"error: Undo of MacroCommand: Subcommand 'B' failed with exception: no power"};

    EXPECT_THROW(macro.undo(), std::runtime_error);
    EXPECT_THAT(takeJournal(), ElementsAreArray(layout({"C", "B", "A"}) + step("Undo", "C") +
                                                failingStep("Undo", "B") + error + step("Redo", "C")));

    macro.setUseForwardUndoOrder(true);
    EXPECT_THROW(macro.undo(), std::runtime_error);
    EXPECT_THAT(takeJournal(), ElementsAreArray(layout({"C", "B", "A"}) + step("Undo", "A") +
                                                failingStep("Undo", "B") + error + step("Redo", "A")));
}

TEST_F(MacroCommandOrder, TheCallerGetsTheVeryExceptionObjectThatWasThrown)
{
    addThree();

    expectSameObject(b->onExecute, [&] { macro.execute(); });
    expectSameObject(b->onRedo, [&] { macro.redo(); });
    expectSameObject(b->onUndo, [&] { macro.undo(); });
    const auto fourth = std::make_shared<RecordingCommand>("D");
    expectSameObject(fourth->onExecute, [&] { macro.executeAndAdd(fourth); });
}

TEST_F(MacroCommandOrder, WhatARollBackThrowsTakesTheExceptionsPlaceAndEndsTheRollBack)
{
    addThree();
    c->onExecute = fail;
    c->onRedo = fail;
    b->onUndo = failAgain;

    EXPECT_THROW(macro.execute(), std::logic_error);
    EXPECT_THAT(
        takeJournal(),
        ElementsAreArray(layout({"A", "B", "C"}) + step("Execute", "A") + step("Execute", "B") +
                         failingStep("Execute", "C") +
                         Lines{"error: MacroCommand: Subcommand 'C' failed with exception: no power"} +
                         failingStep("Undo", "B")));
    EXPECT_THROW(macro.redo(), std::logic_error);

    b->onUndo = nullptr;
    a->onUndo = fail;
    b->onRedo = failAgain;
    takeJournal();
    EXPECT_THROW(macro.undo(), std::logic_error);
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(
                    layout({"C", "B", "A"}) + step("Undo", "C") + step("Undo", "B") +
                    failingStep("Undo", "A") +
                    Lines{"error: Undo of MacroCommand: Subcommand 'A' failed with exception: no power"} +
                    failingStep("Redo", "B")));
}

TEST_F(MacroCommandOrder, ForeignExceptionsPassThroughUnloggedAndNothingIsRolledBack)
{
    const auto throwStranger = []
    {
        throw Stranger();
    };
    addThree();
    b->onExecute = throwStranger;
    b->onUndo = throwStranger;
    b->onRedo = throwStranger;

    EXPECT_THROW(macro.execute(), Stranger);
    EXPECT_THAT(takeJournal(), ElementsAreArray(layout({"A", "B", "C"}) + step("Execute", "A") +
                                                failingStep("Execute", "B")));
    EXPECT_THROW(macro.undo(), Stranger);
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(layout({"C", "B", "A"}) + step("Undo", "C") + failingStep("Undo", "B")));
    EXPECT_THROW(macro.redo(), Stranger);
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(layout({"A", "B", "C"}) + step("Redo", "A") + failingStep("Redo", "B")));
    EXPECT_THROW(macro.executeAndAdd(b), Stranger);
    EXPECT_THAT(takeJournal(), ElementsAreArray(failingStep("Execute", "B")));
    EXPECT_EQ(macro.size(), 3U);
}

/// Traces and completion belong to the sub-command's work: what they throw is its failure.
TEST_F(MacroCommandOrder, AFailureAfterTheWorkWasDoneCountsAsAFailureOfTheCommandToo)
{
    macro.addCommand(a);
    macro.addCommand(b);
    for (const std::string at :
         {"Execute MacroCommand 'B'...", "Execute MacroCommand 'B' finished.", "B.progress.setComplete"})
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

        EXPECT_THROW(macro.execute(), std::runtime_error) << at;

        const Lines lines = takeJournal();
        const auto error =
            std::ranges::find(lines, "error: MacroCommand: Subcommand 'B' failed with exception: no power");
        EXPECT_THAT(Lines(error == lines.end() ? error : error + 1, lines.end()),
                    ElementsAreArray(step("Undo", "A")))
            << at;
    }
}

/// The macro's own progress is no sub-command's work: nothing is logged, nothing rolled back.
TEST_F(MacroCommandOrder, WhatTheMacrosOwnProgressThrowsIsNoFailureOfASubCommand)
{
    addThree();
    for (const std::string at : {"M.progress.reset", "M.progress.setComplete"})
    {
        LegacyProgress::onCall = [&](const std::string& call)
        {
            if (call == at)
            {
                fail();
            }
        };
        for (const auto operation : {&MacroCommand::execute, &MacroCommand::undo, &MacroCommand::redo})
        {
            EXPECT_THROW((macro.*operation)(), std::runtime_error) << at;

            const Lines lines = takeJournal();
            EXPECT_EQ(lines.back(), at);
            EXPECT_THAT(lines, testing::Not(testing::Contains(HasSubstr("error"))));
        }
    }
}

TEST_F(MacroCommandOrder, ExecuteAndAddExecutesOneCommandAndLeavesTheMacrosProgressAlone)
{
    NotingMacro noting;

    noting.executeAndAdd(a);
    noting.executeAndAdd(nullptr);

    EXPECT_THAT(takeJournal(),
                ElementsAre("trace: Execute MacroCommand 'A'...", "M.prepareExecute(A)", "A.execute",
                            "M.finalizeExecute(A)", "trace: Execute MacroCommand 'A' finished.",
                            "A.progress.setComplete"));
    EXPECT_EQ(noting.getLastCommand(), a);
    EXPECT_EQ(noting.size(), 1U);
}

TEST_F(MacroCommandOrder, AFailedExecuteAndAddUndoesTheWholeMacroByItsVirtualUndo)
{
    NotingMacro noting;
    noting.executeAndAdd(a);
    noting.executeAndAdd(b);
    c->onExecute = fail;
    takeJournal();

    EXPECT_THROW(noting.executeAndAdd(c), std::runtime_error);

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(
                    Lines{"trace: Execute MacroCommand 'C'...", "M.prepareExecute(C)", "C.execute",
                          "error: MacroCommand: Subcommand 'C' failed with exception: no power", "M.undo"} +
                    layout({"B", "A"}) + step("Undo", "B") + step("Undo", "A") +
                    Lines{"M.progress.setComplete"}));
    EXPECT_THAT(std::vector(noting.begin(), noting.end()), ElementsAre(a, b));
}

TEST_F(MacroCommandOrder, AFailedExecuteAndAddUndoesInTheConfiguredOrder)
{
    macro.executeAndAdd(a);
    macro.executeAndAdd(b);
    macro.setUseForwardUndoOrder(true);
    c->onExecute = fail;
    takeJournal();

    EXPECT_THROW(macro.executeAndAdd(c), std::runtime_error);

    EXPECT_THAT(
        takeJournal(),
        ElementsAreArray(failingStep("Execute", "C") +
                         Lines{"error: MacroCommand: Subcommand 'C' failed with exception: no power"} +
                         layout({"B", "A"}) + step("Undo", "A") + step("Undo", "B") +
                         Lines{"M.progress.setComplete"}));
}

TEST_F(MacroCommandOrder, AnUndoThatFailsAfterAFailedExecuteAndAddRestoresAndReplacesTheException)
{
    macro.executeAndAdd(a);
    macro.executeAndAdd(b);
    c->onExecute = fail;
    a->onUndo = failAgain;
    takeJournal();

    EXPECT_THROW(macro.executeAndAdd(c), std::logic_error);

    EXPECT_THAT(
        takeJournal(),
        ElementsAreArray(failingStep("Execute", "C") +
                         Lines{"error: MacroCommand: Subcommand 'C' failed with exception: no power"} +
                         layout({"B", "A"}) + step("Undo", "B") + failingStep("Undo", "A") +
                         Lines{"error: Undo of MacroCommand: Subcommand 'A' failed with exception: stuck"} +
                         step("Redo", "B")));
    EXPECT_EQ(macro.size(), 2U);
}

TEST_F(MacroCommandOrder, TheLinesUseTheLogDescriptionOfTheSubCommand)
{
    const auto inner = std::make_shared<MacroCommand>();
    inner->addCommand(a);
    macro.setDescription("outer");
    macro.addCommand(inner);
    a->onUndo = fail;

    EXPECT_EQ(inner->getDescription(), "A");
    macro.execute();
    EXPECT_THROW(macro.undo(), std::runtime_error);
    a->onExecute = fail;
    EXPECT_THROW(macro.execute(), std::runtime_error);

    Lines texts;
    for (const Logging::Line& line : Logging::lines)
    {
        texts.push_back(line.text);
    }
    const std::string name = "'Valdane::MacroCommand'";
    EXPECT_THAT(texts,
                ElementsAre("Execute MacroCommand " + name + "...", "Execute MacroCommand 'A'...",
                            "Execute MacroCommand 'A' finished.",
                            "Execute MacroCommand " + name + " finished.",
                            "Undo MacroCommand " + name + "...", "Undo MacroCommand 'A'...",
                            "Undo of MacroCommand: Subcommand 'A' failed with exception: no power",
                            "Undo of MacroCommand: Subcommand " + name + " failed with exception: no power",
                            "Execute MacroCommand " + name + "...", "Execute MacroCommand 'A'...",
                            "MacroCommand: Subcommand 'A' failed with exception: no power",
                            "MacroCommand: Subcommand " + name + " failed with exception: no power"));
}

TEST_F(MacroCommandOrder, EveryLogCallNamesItsLoggerFileFunctionAndLine)
{
    macro.executeAndAdd(a);
    macro.redo();
    b->onUndo = fail;
    macro.addCommand(b);
    EXPECT_THROW(macro.undo(), std::runtime_error);
    b->onExecute = fail;
    EXPECT_THROW(macro.execute(), std::runtime_error);
    c->onExecute = fail;
    macro.removeLastCommand();
    EXPECT_THROW(macro.executeAndAdd(c), std::runtime_error);

    const std::string execute = "Valdane::MacroCommand::executeCommand(";
    const std::string undo = "Valdane::MacroCommand::undoCommand(";
    const std::string redo = "Valdane::MacroCommand::redoCommand(";
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"Execute MacroCommand 'A'...", execute},
        {"Execute MacroCommand 'A' finished.", execute},
        {"Redo MacroCommand 'A'...", redo},
        {"Redo MacroCommand 'A' finished.", redo},
        {"Undo MacroCommand 'B'...", undo},
        {"Undo of MacroCommand: Subcommand 'B' failed with exception: no power",
         "Valdane::MacroCommand::handleExceptionOnUndo("},
        {"Execute MacroCommand 'A'...", execute},
        {"Execute MacroCommand 'A' finished.", execute},
        {"Execute MacroCommand 'B'...", execute},
        {"MacroCommand: Subcommand 'B' failed with exception: no power",
         "Valdane::MacroCommand::handleExceptionOnExecuteRedo("},
        {"Undo MacroCommand 'A'...", undo},
        {"Undo MacroCommand 'A' finished.", undo},
        {"Execute MacroCommand 'C'...", execute},
        {"MacroCommand: Subcommand 'C' failed with exception: no power",
         "Valdane::MacroCommand::executeAndAdd("},
        {"Undo MacroCommand 'A'...", undo},
        {"Undo MacroCommand 'A' finished.", undo},
    };
    ASSERT_EQ(Logging::lines.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        const Logging::Line& line = Logging::lines[i];
        EXPECT_EQ(line.text, expected[i].first);
        EXPECT_THAT(line.function, HasSubstr(expected[i].second)) << line.text;
        EXPECT_EQ(line.logger, "Service/CommandPattern/MacroCommand") << line.text;
        EXPECT_EQ(line.file, "Service/CommandPattern/MacroCommand.cpp") << line.text;
        EXPECT_GT(line.line, 0) << line.text;
    }
}

TEST_F(MacroCommandOrder, NoTraceIsWrittenWhenNobodyReadsIt)
{
    Logging::traceEnabled = false;
    addThree();
    macro.execute();
    macro.undo();
    macro.redo();
    EXPECT_THAT(Logging::lines, IsEmpty());
}

TEST_F(MacroCommandOrder, ASubCommandThatWasMovedFromFailsBeforeAnythingRuns)
{
    addThree();
    const RecordingCommand taken(std::move(*c));

    EXPECT_THROW(macro.execute(), std::exception);

    EXPECT_THAT(takeJournal(), testing::Not(testing::Contains("A.execute")));
}

} // namespace
} // namespace Valdane

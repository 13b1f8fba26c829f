#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/RecordingCommand.h"
#include "Tests/Support/SameObject.h"
#include "Tests/Support/SmallStack.h"
#include "Tests/Support/ThreadJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
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

using testing::Contains;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using ValdaneTests::ElementsAre;

/// Waits for its first thread before its start returns.
class WaitingMacro : public ThreadedMacroCommand
{
public:
    WaitingMacro(const std::string& name, CommandManager& drivenBy)
        : ThreadedMacroCommand(name), manager(drivenBy)
    {
    }

    bool startExecution(std::shared_ptr<ThreadManager> threadManager) override
    {
        const bool isOver = ThreadedMacroCommand::startExecution(std::move(threadManager));
        manager.finalizeThread();
        return isOver;
    }

private:
    CommandManager& manager;
};

/// A thread that is a command, but no ThreadedCommand.
class BareThreadCommand : public CommandBase, public Thread
{
public:
    explicit BareThreadCommand(const std::string& name) : CommandBase(name), Thread(name) {}

    void execute() override
    {
        note(getDescription() + ".execute");
    }

    void undo() override
    {
        note(getDescription() + ".undo");
    }

    void run() override
    {
        note(getDescription() + ".run");
    }

    void finishRun() override {}
};

/// A macro that is a thread as well.
class MacroThread : public OpenMacro, public Thread
{
public:
    explicit MacroThread(const std::string& name) : OpenMacro(name), Thread(name) {}

    void sendFinishSignal(bool ok) override
    {
        Thread::sendFinishSignal(ok);
    }

    void run() override {}

    void finishRun() override {}
};

class ThreadedMacroCommandOrder : public ThreadJournal
{
protected:
    ThreadedMacroCommandOrder()
    {
        Logging::traceEnabled = true;
    }

    static std::shared_ptr<RecordingCommand> makeOrdinary(const std::string& name)
    {
        return std::make_shared<RecordingCommand>(name);
    }

    static std::shared_ptr<RecordingCommand> makeFailing(const std::string& name)
    {
        auto command = makeOrdinary(name);
        command->onExecute = fail;
        return command;
    }

    static std::shared_ptr<RecordingThread> makeFailingThread(const std::string& name)
    {
        auto thread = makeThread(name);
        thread->on["run"] = fail;
        return thread;
    }

    void fill(const std::vector<std::shared_ptr<CommandBase>>& commands) const
    {
        for (const auto& command : commands)
        {
            macro->addCommand(command);
        }
    }

    /// Three threads that are the sub-commands of the macro.
    void fillWithThreads()
    {
        fill({a, b, c});
    }

    /// Starts the macro, without a trace in the journal.
    void start()
    {
        manager.addThreadedCommand(macro);
        takeJournal();
    }

    void finalize(int times)
    {
        for (int i = 0; i < times; ++i)
        {
            manager.finalizeThread();
        }
    }

    void expectIdle() const
    {
        EXPECT_FALSE(manager.isProcessingCommand());
        EXPECT_EQ(manager.getCurrentThreadedCommand(), nullptr);
    }

    /// One sub-command, each line with the state @p at before it.
    static Lines ordinary(const std::string& at, const std::string& name)
    {
        return {at + "trace: Execute subcommand: " + name, at + name + ".execute",
                at + "trace: Subcommand:" + name + " 'executed.'"};
    }

    static Lines started(const std::string& at, const std::string& name)
    {
        return {at + "trace: Execute subcommand: " + name, at + "threads.addThread(" + name + ")"};
    }

    static Lines worked(const std::string& at, const std::string& name)
    {
        return {at + name + ".prepareRun", at + name + ".run", at + name + ".finishRun"};
    }

    static Lines told(const std::string& at, const std::string& name, const std::string& ok = "true")
    {
        return {at + "thread " + name + ".sendFinishSignal(" + ok + ")"};
    }

    static Lines synchronous(const std::string& at, const std::string& name)
    {
        return started(at, name) + worked(at, name) + told(at, name) +
               Lines{at + "trace: Subcommand:" + name + "'executed.'"};
    }

    static Lines concluded(const std::string& at, const std::string& name)
    {
        return Lines{at + "threads.finalizeThread"} + worked(at, name) + told(at, name) +
               Lines{at + "trace: Finished execution of command:" + name};
    }

    static Lines failureOf(const std::string& at, const std::string& name)
    {
        return {at + "error: Command '" + name + "' failed with exception: no power"};
    }

    std::shared_ptr<OpenMacro> macro = std::make_shared<OpenMacro>("M");
    std::shared_ptr<RecordingThread> a = makeThread("A");
    std::shared_ptr<RecordingThread> b = makeThread("B");
    std::shared_ptr<RecordingThread> c = makeThread("C");

    const Lines layout = {"*M M.progress.reset"};
    const Lines complete = {"*M M.progress.setComplete"};
    /// The end of a run in finalizeThread().
    const Lines queued = {" - modules.modified", " - modules.mark", " - queueChanged 3 [M|]",
                          " - executed [M|]", " - finished [M|]"};
};

TEST_F(ThreadedMacroCommandOrder, FinalizingFromTheRollBackOfAFailedStartDoesNothing)
{
    const auto x = makeOrdinary("X");
    x->onUndo = [this]
    {
        manager.finalizeThread();
    };
    fill({x, makeFailing("Y")});
    noteEndOf(macro, [this] { manager.finalizeThread(); });

    manager.addThreadedCommand(macro);

    const Lines steps = takeSteps();
    EXPECT_EQ(std::ranges::count(steps, "*M X.execute"), 1);
    EXPECT_EQ(std::ranges::count_if(steps, [](const std::string& line)
                                    { return line.ends_with("threads.finalizeThread"); }),
              0);
    EXPECT_EQ(queues(), "[|]");
    EXPECT_EQ(manager.getCurrentThreadedCommand(), nullptr);
}

TEST_F(ThreadedMacroCommandOrder, TheModeAtTheFailureDecidesWhetherTheEndOfAFailedStartIsTold)
{
    for (const int atFailure : {0, 1})
    {
        threads->mode = 1 - atFailure;
        macro->clear();
        const auto x = makeOrdinary("X");
        x->onExecute = [this, atFailure]
        {
            threads->mode = atFailure;
            fail();
        };
        fill({x});

        manager.addThreadedCommand(macro);

        EXPECT_EQ(takeSteps().back(), atFailure != 0 ? " - finished [|]" : " - failed(no power, M) [|]");
    }
}

TEST_F(ThreadedMacroCommandOrder, ThreadsOnAWorkerAreSteppedByFinalizations)
{
    fill({a, makeOrdinary("X"), b});
    noteEndOf(macro);

    manager.addThreadedCommand(macro);
    EXPECT_THAT(takeSteps(), ElementsAreArray(layout + started("*M ", "A") + Lines{"*M started [|]"}));
    EXPECT_TRUE(macro->isRunning());

    manager.finalizeThread();
    EXPECT_THAT(takeSteps(),
                ElementsAreArray(concluded("*M ", "A") + ordinary("*M ", "X") + started("*M ", "B")));
    EXPECT_EQ(manager.getCurrentThreadedCommand(), macro);

    manager.finalizeThread();
    EXPECT_THAT(takeSteps(), ElementsAreArray(concluded("*M ", "B") + Lines{"*M runFinished(true, M)"} +
                                              complete + queued));
    expectIdle();
    EXPECT_FALSE(macro->isRunning());
}

TEST_F(ThreadedMacroCommandOrder, SynchronousThreadsRunWithinTheStart)
{
    threads->mode = 0;
    fill({a, makeOrdinary("X"), b});
    noteEndOf(macro);

    manager.addThreadedCommand(macro);

    EXPECT_THAT(takeSteps(),
                ElementsAreArray(layout + synchronous("*M ", "A") + ordinary("*M ", "X") +
                                 synchronous("*M ", "B") + Lines{"*M runFinished(true, M)"} + complete +
                                 Lines{"*M modules.modified", "*M modules.mark", "*M queueChanged 3 [M|]",
                                       " - executed [M|]"}));
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, WithoutThreadsItIsOverWithinTheStartAndIsQueuedBeforeTheSlotIsReleased)
{
    fill({makeOrdinary("X")});

    manager.addThreadedCommand(macro);

    EXPECT_THAT(takeSteps(),
                ElementsAreArray(layout + ordinary("*M ", "X") + complete +
                                 Lines{"*M started [|]", "*M modules.modified", "*M modules.mark",
                                       "*M queueChanged 3 [M|]", " - executed [M|]", " - finished [M|]"}));
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, AnEmptyMacroIsToldAndCompletedAndQueued)
{
    noteEndOf(macro);
    manager.addThreadedCommand(macro);
    EXPECT_THAT(takeJournal(), ElementsAre("*M runFinished(true, M)", "*M M.progress.setComplete",
                                           "*M started [|]", "*M modules.modified", "*M modules.mark",
                                           "*M queueChanged 3 [M|]", " - executed [M|]", " - finished [M|]"));
    EXPECT_FALSE(macro->isRunning());

    noteEndOf(macro);
    EXPECT_TRUE(macro->continueExecution(threads));
    EXPECT_THAT(takeJournal(), ElementsAre(" - runFinished(true, M)", " - M.progress.setComplete"));
}

TEST_F(ThreadedMacroCommandOrder, ContinuingAMacroThatIsIdleTellsThatTheRunIsOver)
{
    fill({makeOrdinary("X")});
    EXPECT_TRUE(macro->continueExecution(threads));
    EXPECT_TRUE(macro->startExecution(threads));
    noteEndOf(macro);
    takeJournal();
    EXPECT_TRUE(macro->continueExecution(threads));
    EXPECT_THAT(takeJournal(), ElementsAre(" - runFinished(true, M)", " - M.progress.setComplete"));
}

TEST_F(ThreadedMacroCommandOrder, ExecuteLaysTheProgressOutTwiceAndRunsThreadsByTheirExecute)
{
    const auto nested = std::make_shared<OpenMacro>("N");
    nested->addCommand(b);
    fill({a, nested, makeOrdinary("X")});
    noteEndOf(macro);
    noteEndOf(a);

    macro->execute();

    EXPECT_THAT(takeSteps(),
                ElementsAreArray(
                    Lines{" - M.progress.reset", " - M.progress.reset", " - trace: Execute subcommand: A"} +
                    worked(" - ", "A") +
                    Lines{" - trace: Subcommand:A 'executed.'", " - trace: Execute subcommand: N",
                          " - N.progress.reset", " - N.progress.reset", " - trace: Execute subcommand: B"} +
                    worked(" - ", "B") +
                    Lines{" - trace: Subcommand:B 'executed.'", " - N.progress.setComplete",
                          " - trace: Subcommand:N 'executed.'"} +
                    ordinary(" - ", "X") + Lines{" - runFinished(true, M)", " - M.progress.setComplete"}));
}

TEST_F(ThreadedMacroCommandOrder, BothLayoutsOfExecuteGoFromTheFirstToTheLast)
{
    fill({makeOrdinary("X"), makeOrdinary("Y")});
    macro->execute();
    Lines parts = takeJournal();
    std::erase_if(parts, [](const std::string& line) { return line.find("append") == std::string::npos; });
    const Lines once = {" - M.progress.appendSubProgress(X.progress, 0, 30)",
                        " - M.progress.appendSubProgress(Y.progress, 30, 60)"};
    EXPECT_THAT(parts, ElementsAreArray(once + once));
}

TEST_F(ThreadedMacroCommandOrder, TheLayoutComesWithItsPartsAndBeforeTheFirstSubCommand)
{
    fill({makeOrdinary("X"), makeOrdinary("Y")});
    macro->startExecution(threads);
    Lines lines = takeJournal();
    lines.resize(9);
    EXPECT_THAT(lines, ElementsAre(" - Speed.add(3)", " - Speed.add(3)", " - M.progress.reset",
                                   " - M.progress.progress", " - Speed.getPartitionFromRate(3)",
                                   " - M.progress.appendSubProgress(X.progress, 0, 30)",
                                   " - Speed.getPartitionFromRate(3)",
                                   " - M.progress.appendSubProgress(Y.progress, 30, 60)",
                                   " - trace: Execute subcommand: X"));
}

TEST_F(ThreadedMacroCommandOrder, WhatIsDerivedFromThreadIsAThreadThoughItIsNoThreadedCommand)
{
    fill({std::make_shared<BareThreadCommand>("T")});
    start();
    manager.finalizeThread();
    EXPECT_THAT(takeSteps(),
                ElementsAreArray(Lines{"*M threads.finalizeThread", "*M thread T.prepareRun", "*M T.run"} +
                                 told("*M ", "T") + Lines{"*M trace: Finished execution of command:T"} +
                                 complete + queued));

    EXPECT_TRUE(macro->startExecution(nullptr));
    EXPECT_THAT(takeSteps(), Contains(" - T.execute"));
}

TEST_F(ThreadedMacroCommandOrder, AMacroThatIsAThreadAsWellIsStartedAsAThread)
{
    const auto both = std::make_shared<MacroThread>("T");
    both->addCommand(makeOrdinary("X"));
    fill({both});
    manager.addThreadedCommand(macro);
    EXPECT_THAT(takeSteps(), ElementsAreArray(layout + started("*M ", "T") + Lines{"*M started [|]"}));
    EXPECT_EQ(threads->getCurrentThread(), both);
}

TEST_F(ThreadedMacroCommandOrder, SubCommandsAreNotAskedWhetherTheyAreAddable)
{
    a->addable = false;
    fill({a});
    start();
    manager.finalizeThread();
    EXPECT_THAT(takeSteps(), Not(Contains(HasSubstr("isAddable"))));
    EXPECT_EQ(queues(), "[M|]");
}

TEST_F(ThreadedMacroCommandOrder, LogLinesHaveTheirOperationsAndTheLogDescription)
{
    const auto nameless = makeFailingThread("");
    fill({makeFailing("X"), a, nameless, b});
    macro->setContinueOnException(true);
    start();
    finalize(2);
    manager.abortThreadedCommand();
    finalize(1);

    std::vector<std::pair<std::string, std::string>> expected = {
        {"Execute subcommand: ", "executeSubCommand("},
        {"Subcommand:", "executeSubCommand("},
        {"Command 'X' failed", "executeSubCommand("},
        {"Finished execution of command:", "finalizeSubCommand("},
        {"Command 'Valdane::RecordingThread' failed", "finalizeSubCommand("},
        {"Aborted execution of command:", "finalizeSubCommand("}};
    for (const auto& [text, operation] : expected)
    {
        int found = 0;
        for (const Logging::Line& line : Logging::lines)
        {
            if (line.text.starts_with(text))
            {
                ++found;
                EXPECT_EQ(line.logger, "Service/CommandPattern/ThreadedMacroCommand");
                EXPECT_EQ(line.file, "Service/CommandPattern/ThreadedMacroCommand.cpp");
                EXPECT_THAT(line.function, HasSubstr("Valdane::ThreadedMacroCommand::" + operation)) << text;
                EXPECT_GT(line.line, 0);
            }
        }
        EXPECT_GT(found, 0) << text;
    }
}

// The rule of the limit of failures.

struct LimitCase
{
    int limit = -1;
    /// The failure that ends the run; 0 if none does.
    int endsAt = 0;
};

class FailureLimit : public ThreadedMacroCommandOrder, public testing::WithParamInterface<LimitCase>
{
protected:
    FailureLimit()
    {
        Logging::traceEnabled = false;
        macro->setContinueOnException(true);
        macro->setFailCountToThrow(GetParam().limit);
    }

    static std::size_t countOf(const Lines& lines, const std::string& text)
    {
        return static_cast<std::size_t>(
            std::ranges::count_if(lines, [&](const std::string& line) { return line.ends_with(text); }));
    }

    /// The failures that can be seen in the journal.
    static std::size_t failures()
    {
        return countOf(takeJournal(), "failed with exception: no power");
    }

    static std::size_t expectedFailures()
    {
        return GetParam().endsAt == 0 ? 5U : static_cast<std::size_t>(GetParam().endsAt);
    }

    static bool endsRun()
    {
        return GetParam().endsAt != 0;
    }
};

INSTANTIATE_TEST_SUITE_P(
    Limits, FailureLimit,
    testing::Values(LimitCase{.limit = -1, .endsAt = 0}, LimitCase{.limit = 0, .endsAt = 1},
                    LimitCase{.limit = 1, .endsAt = 1}, LimitCase{.limit = 3, .endsAt = 3},
                    LimitCase{.limit = 5, .endsAt = 5}, LimitCase{.limit = 6, .endsAt = 0},
                    LimitCase{.limit = -5, .endsAt = 0}));

TEST_P(FailureLimit, OfOrdinarySubCommandsRethrowsWhatWasCaught)
{
    for (int i = 0; i < 5; ++i)
    {
        fill({makeFailing("X")});
    }
    if (endsRun())
    {
        EXPECT_THROW(macro->startExecution(threads), std::runtime_error);
    }
    else
    {
        EXPECT_TRUE(macro->startExecution(threads));
    }
    const Lines lines = takeJournal();
    EXPECT_EQ(countOf(lines, "failed with exception: no power"), expectedFailures());
    EXPECT_EQ(countOf(lines, "M.progress.sendMessage(no power, 2, )"), expectedFailures());
    EXPECT_EQ(macro->checkFailCount(), !endsRun());
}

TEST_P(FailureLimit, OfSynchronousThreadsRethrowsWhatWasCaught)
{
    threads->mode = 0;
    for (int i = 0; i < 5; ++i)
    {
        fill({makeFailingThread("X")});
    }
    if (endsRun())
    {
        EXPECT_THROW(macro->startExecution(threads), std::runtime_error);
    }
    else
    {
        EXPECT_TRUE(macro->startExecution(threads));
    }
    const Lines lines = takeJournal();
    EXPECT_EQ(countOf(lines, "failed with exception: no power"), expectedFailures());
    EXPECT_THAT(lines, Not(Contains(HasSubstr("sendMessage"))));
    EXPECT_EQ(macro->checkFailCount(), !endsRun());
}

TEST_P(FailureLimit, OfNestedMacrosRethrowsWhatWasCaught)
{
    for (int i = 0; i < 5; ++i)
    {
        const auto nested = std::make_shared<OpenMacro>("N");
        nested->addCommand(makeFailing("X"));
        fill({nested});
    }
    if (endsRun())
    {
        EXPECT_THROW(macro->startExecution(threads), std::runtime_error);
    }
    else
    {
        EXPECT_TRUE(macro->startExecution(threads));
    }
    const Lines lines = takeJournal();
    EXPECT_EQ(countOf(lines, "failed with exception: no power"), expectedFailures());
    EXPECT_THAT(lines, Not(Contains(HasSubstr("sendMessage"))));
    EXPECT_EQ(macro->checkFailCount(), !endsRun());
}

TEST_P(FailureLimit, OfThreadsOnAWorkerThrowsANewExceptionWithoutAText)
{
    for (int i = 0; i < 5; ++i)
    {
        fill({makeFailingThread("X")});
    }
    macro->startExecution(threads);
    const auto conclude = [this]
    {
        while (!macro->continueExecution(threads))
        {
        }
    };
    if (endsRun())
    {
        try
        {
            conclude();
            FAIL() << "nothing thrown";
        }
        catch (const VdException& exception)
        {
            EXPECT_STREQ(exception.what(), "");
            EXPECT_THAT(exception.getLocation(),
                        StartsWith("Service/CommandPattern/ThreadedMacroCommand.cpp:"));
            EXPECT_THAT(exception.getLocation(), HasSubstr("ThreadedMacroCommand::finalizeSubCommand("));
        }
    }
    else
    {
        conclude();
    }
    const Lines lines = takeJournal();
    EXPECT_EQ(countOf(lines, "failed with exception: no power"), expectedFailures());
    EXPECT_THAT(lines, Not(Contains(HasSubstr("sendMessage"))));
    EXPECT_EQ(macro->checkFailCount(), !endsRun());
}

TEST_P(FailureLimit, CountsThreadsThatCannotBeStarted)
{
    for (int i = 0; i < 5; ++i)
    {
        fill({makeThread("X")});
    }
    threads->onCall = [](const std::string& call)
    {
        if (call.starts_with("threads.addThread"))
        {
            fail();
        }
    };
    const auto run = [this]
    {
        bool isOver = macro->startExecution(threads);
        EXPECT_FALSE(isOver);
        while (!isOver)
        {
            isOver = macro->continueExecution(threads);
        }
    };
    if (endsRun())
    {
        EXPECT_THROW(run(), std::runtime_error);
    }
    else
    {
        run();
    }
    EXPECT_EQ(failures(), expectedFailures());
}

TEST_F(ThreadedMacroCommandOrder, FailuresOfAllKindsAreCountedTogetherAndForgottenAtTheNextStart)
{
    threads->mode = 0;
    const auto nested = std::make_shared<OpenMacro>("N");
    nested->addCommand(makeFailing("X"));
    fill({makeFailing("Y"), makeFailingThread("Z"), nested});
    macro->setContinueOnException(true);
    macro->setFailCountToThrow(3);
    EXPECT_THROW(macro->startExecution(threads), std::runtime_error);
    EXPECT_FALSE(macro->checkFailCount());

    // The limit does not forget the failures; a start does.
    macro->setFailCountToThrow(4);
    EXPECT_TRUE(macro->checkFailCount());
    macro->setFailCountToThrow(3);
    EXPECT_FALSE(macro->checkFailCount());
    macro->setFailCountToThrow(4);
    EXPECT_TRUE(macro->startExecution(threads));
    EXPECT_TRUE(macro->startExecution(threads));
}

TEST_F(ThreadedMacroCommandOrder, AMacroStartsWithoutPassingOverAndWithoutALimit)
{
    EXPECT_FALSE(macro->continueOnException());
    EXPECT_TRUE(OpenMacro("N", true).continueOnException());
    EXPECT_TRUE(macro->checkFailCount());
    macro->setContinueOnException(true);
    EXPECT_TRUE(macro->continueOnException());
    macro->setContinueOnException(false);
    EXPECT_FALSE(macro->continueOnException());
    EXPECT_FALSE(macro->isRunning());
    fill({a});
    EXPECT_FALSE(macro->isRunning());
}

// Failures that end the run.

TEST_F(ThreadedMacroCommandOrder, WhatEndsTheRunGoesOnAsTheSameObjectAndIsNotCounted)
{
    macro->setFailCountToThrow(1);
    const auto ordinaryCommand = makeOrdinary("X");
    fill({ordinaryCommand});
    expectSameObject(ordinaryCommand->onExecute, [&] { macro->startExecution(threads); });
    EXPECT_THAT(takeJournal(), Not(Contains(HasSubstr("sendMessage"))));
    EXPECT_TRUE(macro->checkFailCount());

    macro->clear();
    fill({a});
    threads->mode = 0;
    expectSameObject(a->on["run"], [&] { macro->startExecution(threads); });
    EXPECT_TRUE(macro->checkFailCount());

    threads->mode = 1;
    a->on["run"] = nullptr;
    expectSameObject(a->on["finishRun"],
                     [&]
                     {
                         a->on["run"] = [] {
                         };
                         EXPECT_FALSE(macro->startExecution(threads));
                         macro->continueExecution(threads);
                     });
    EXPECT_TRUE(macro->checkFailCount());

    macro->clear();
    const auto nested = std::make_shared<OpenMacro>("N");
    nested->addCommand(ordinaryCommand);
    fill({nested});
    expectSameObject(ordinaryCommand->onExecute, [&] { macro->startExecution(threads); });
    EXPECT_TRUE(macro->checkFailCount());
}

TEST_F(ThreadedMacroCommandOrder, AtTheLimitTheSameObjectGoesOnExceptFromAFinalization)
{
    macro->setContinueOnException(true);
    macro->setFailCountToThrow(1);
    const auto ordinaryCommand = makeOrdinary("X");
    fill({ordinaryCommand});
    expectSameObject(ordinaryCommand->onExecute, [&] { macro->startExecution(threads); });

    macro->clear();
    const auto nested = std::make_shared<OpenMacro>("N");
    nested->addCommand(ordinaryCommand);
    fill({nested});
    expectSameObject(ordinaryCommand->onExecute, [&] { macro->startExecution(threads); });

    macro->clear();
    fill({a});
    threads->mode = 0;
    expectSameObject(a->on["run"], [&] { macro->startExecution(threads); });
}

TEST_F(ThreadedMacroCommandOrder, AFailureInTheStartIsWoundUpAndReportedAsThreadedExecution)
{
    for (const int mode : {1, 0})
    {
        threads->mode = mode;
        macro->clear();
        fill({makeOrdinary("X"), makeOrdinary("Y"), makeFailing("Z"), a});
        noteEndOf(macro);

        manager.addThreadedCommand(macro);

        Lines expected = layout + ordinary("*M ", "X") + ordinary("*M ", "Y") +
                         Lines{"*M trace: Execute subcommand: Z", "*M Z.execute"} + failureOf("*M ", "Z") +
                         Lines{"*M Y.undo", "*M X.undo", "*M runFinished(false, M)"} + complete +
                         Lines{" - error: Threaded execution of command 'M' failed with exception: no power",
                               " - failed(no power, M) [|]"};
        if (mode != 0)
        {
            expected.emplace_back(" - finished [|]");
        }
        EXPECT_THAT(takeSteps(), ElementsAreArray(expected));
        expectIdle();
        EXPECT_TRUE(macro->isRunning());
    }
}

TEST_F(ThreadedMacroCommandOrder, AFailureOfAThreadOnTheWorkerIsWoundUpAndReportedAsThreadFinalization)
{
    b->on["run"] = fail;
    fillWithThreads();
    noteEndOf(macro);
    start();
    finalize(1);
    takeJournal();

    manager.finalizeThread();

    EXPECT_THAT(
        takeSteps(),
        ElementsAreArray(Lines{"*M threads.finalizeThread", "*M B.prepareRun", "*M B.run"} +
                         failureOf("*M ", "B") + Lines{"*M A.undo", "*M runFinished(false, M)"} + complete +
                         Lines{" - error: Thread finalization of command 'M' failed with exception: no power",
                               " - failed(no power, M) [|]", " - finished [|]"}));
    expectIdle();
    EXPECT_EQ(threads->getCurrentThread(), nullptr);
}

TEST_F(ThreadedMacroCommandOrder, AThreadThatCannotBeStartedEndsTheRunWhereItWouldHaveBeenStarted)
{
    fillWithThreads();
    threads->onCall = [](const std::string& call)
    {
        if (call == "threads.addThread(B)")
        {
            fail();
        }
    };
    start();

    manager.finalizeThread();

    EXPECT_THAT(
        takeSteps(),
        ElementsAreArray(concluded("*M ", "A") + started("*M ", "B") + failureOf("*M ", "B") +
                         Lines{"*M A.undo"} + complete +
                         Lines{" - error: Thread finalization of command 'M' failed with exception: no power",
                               " - failed(no power, M) [|]", " - finished [|]"}));
}

// Failures that are passed over.

TEST_F(ThreadedMacroCommandOrder, APassedOverFailureOfAnOrdinarySubCommandGoesToTheProgressBeforeItIsCounted)
{
    macro->setContinueOnException(true);
    macro->setFailCountToThrow(2);
    fill({makeFailing("X"), makeOrdinary("Y"), makeFailing("Z")});

    EXPECT_THROW(macro->startExecution(threads), std::runtime_error);

    EXPECT_THAT(takeSteps(),
                ElementsAreArray(
                    Lines{" - M.progress.reset", " - trace: Execute subcommand: X", " - X.execute"} +
                    failureOf(" - ", "X") +
                    Lines{" - M.progress.sendMessage(no power, 2, )", " - trace: Subcommand:X 'executed.'"} +
                    ordinary(" - ", "Y") + Lines{" - trace: Execute subcommand: Z", " - Z.execute"} +
                    failureOf(" - ", "Z") + Lines{" - M.progress.sendMessage(no power, 2, )"}));
}

TEST_F(ThreadedMacroCommandOrder, AMessageThatCannotBeSentEndsTheRunUncounted)
{
    macro->setContinueOnException(true);
    macro->setFailCountToThrow(1);
    fill({makeFailing("X")});
    LegacyProgress::onCall = [](const std::string& call)
    {
        if (call.starts_with("M.progress.sendMessage"))
        {
            failAgain();
        }
    };
    EXPECT_THROW(macro->startExecution(threads), std::logic_error);
    EXPECT_TRUE(macro->checkFailCount());
}

TEST_F(ThreadedMacroCommandOrder, APassedOverFailureOfASynchronousThreadIsTracedAsExecuted)
{
    threads->mode = 0;
    macro->setContinueOnException(true);
    a->on["run"] = fail;
    fill({a, b});

    manager.addThreadedCommand(macro);

    EXPECT_THAT(
        takeSteps(),
        ElementsAreArray(
            layout + started("*M ", "A") + Lines{"*M A.prepareRun", "*M A.run"} + told("*M ", "A", "false") +
            failureOf("*M ", "A") + Lines{"*M trace: Subcommand:A'executed.'"} + synchronous("*M ", "B") +
            complete +
            Lines{"*M modules.modified", "*M modules.mark", "*M queueChanged 3 [M|]", " - executed [M|]"}));
}

TEST_F(ThreadedMacroCommandOrder, APassedOverFailureOfAThreadOnTheWorkerGoesOnBehindIt)
{
    macro->setContinueOnException(true);
    a->on["run"] = fail;
    fill({a, b});
    start();

    manager.finalizeThread();

    EXPECT_THAT(takeSteps(),
                ElementsAreArray(Lines{"*M threads.finalizeThread", "*M A.prepareRun", "*M A.run"} +
                                 failureOf("*M ", "A") + Lines{"*M trace: Finished execution of command:A"} +
                                 started("*M ", "B")));
    manager.finalizeThread();
    EXPECT_EQ(queues(), "[M|]");
}

TEST_F(ThreadedMacroCommandOrder,
       AThreadThatCannotBeStartedAndIsPassedOverIsConcludedByAFinalizationOfNothing)
{
    macro->setContinueOnException(true);
    fill({a, b});
    threads->onCall = [](const std::string& call)
    {
        if (call == "threads.addThread(A)")
        {
            fail();
        }
    };

    manager.addThreadedCommand(macro);
    EXPECT_THAT(takeSteps(), ElementsAreArray(layout + started("*M ", "A") + failureOf("*M ", "A") +
                                              Lines{"*M started [|]"}));
    EXPECT_EQ(threads->getCurrentThread(), nullptr);
    EXPECT_EQ(manager.getCurrentThreadedCommand(), macro);

    manager.finalizeThread();
    EXPECT_THAT(takeSteps(), ElementsAreArray(Lines{"*M threads.finalizeThread",
                                                    "*M trace: Finished execution of command:A"} +
                                              started("*M ", "B")));
    manager.finalizeThread();
    EXPECT_EQ(takeSteps().back(), " - finished [M|]");
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, ANestedMacroThatFailedAndIsPassedOverGoesOnBehindItsFirstSubCommand)
{
    macro->setContinueOnException(true);
    const auto nested = std::make_shared<OpenMacro>("N");
    const auto failing = makeFailing("Y");
    nested->addCommand(makeOrdinary("X"));
    nested->addCommand(failing);
    noteEndOf(nested);
    fill({nested, makeOrdinary("Z")});
    failing->onExecute = [&failing]
    {
        failing->onExecute = nullptr;
        fail();
    };

    EXPECT_TRUE(macro->startExecution(threads));

    EXPECT_THAT(takeSteps(),
                ElementsAreArray(
                    Lines{" - M.progress.reset", " - trace: Execute subcommand: N", " - N.progress.reset"} +
                    ordinary(" - ", "X") + Lines{" - trace: Execute subcommand: Y", " - Y.execute"} +
                    failureOf(" - ", "Y") +
                    Lines{" - X.undo", " - runFinished(false, N)", " - N.progress.setComplete"} +
                    ordinary(" - ", "Y") + Lines{" - N.progress.setComplete"} + ordinary(" - ", "Z") +
                    Lines{" - M.progress.setComplete"}));
}

TEST_F(ThreadedMacroCommandOrder, ANestedMacroThatEndsTheRunIsWoundUpBeforeTheOuterOne)
{
    const auto nested = std::make_shared<OpenMacro>("N");
    nested->addCommand(makeOrdinary("W"));
    nested->addCommand(makeFailing("X"));
    fill({makeOrdinary("V"), nested});

    manager.addThreadedCommand(macro);
    EXPECT_THAT(takeSteps(),
                ElementsAreArray(
                    layout + ordinary("*M ", "V") +
                    Lines{"*M trace: Execute subcommand: N", "*M N.progress.reset"} + ordinary("*M ", "W") +
                    Lines{"*M trace: Execute subcommand: X", "*M X.execute"} + failureOf("*M ", "X") +
                    Lines{"*M W.undo", "*M N.progress.setComplete", "*M V.undo"} + complete +
                    Lines{" - error: Threaded execution of command 'M' failed with exception: no power",
                          " - failed(no power, M) [|]", " - finished [|]"}));
}

TEST_F(ThreadedMacroCommandOrder, AnEmptyMacroForgetsTheFailuresOfTheRunBefore)
{
    macro->setContinueOnException(true);
    fill({makeFailing("X")});
    manager.addThreadedCommand(macro);
    macro->setFailCountToThrow(1);
    EXPECT_FALSE(macro->checkFailCount());

    macro->clear();
    manager.addThreadedCommand(macro);
    EXPECT_TRUE(macro->checkFailCount());
}

TEST_F(ThreadedMacroCommandOrder, AThreadBehindThePassedOverFailureOfANestedMacroIsWaitedFor)
{
    const auto nested = std::make_shared<OpenMacro>("N");
    nested->addCommand(makeFailing("X"));
    nested->addCommand(a);
    macro->setContinueOnException(true);
    fill({nested});

    manager.addThreadedCommand(macro);
    EXPECT_TRUE(manager.isProcessingCommand());
    EXPECT_EQ(threads->getCurrentThread(), a);
    EXPECT_EQ(queues(), "[|]");

    manager.finalizeThread();
    EXPECT_EQ(queues(), "[M|]");
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, ANestedMacroThatFailsInItsFinalizationEndsTheOuterRunWhateverThatPassesOver)
{
    macro->setContinueOnException(true);
    const auto nested = std::make_shared<OpenMacro>("N");
    a->on["run"] = fail;
    nested->addCommand(makeOrdinary("X"));
    nested->addCommand(a);
    fill({makeOrdinary("W"), nested});
    start();

    manager.finalizeThread();

    EXPECT_THAT(
        takeSteps(),
        ElementsAreArray(Lines{"*M threads.finalizeThread", "*M A.prepareRun", "*M A.run"} +
                         failureOf("*M ", "A") + Lines{"*M W.undo"} + complete +
                         Lines{" - error: Thread finalization of command 'M' failed with exception: no power",
                               " - failed(no power, M) [|]", " - finished [|]"}));
}

// Aborts.

class AbortedSubCommand : public ThreadedMacroCommandOrder, public testing::WithParamInterface<int>
{
};

INSTANTIATE_TEST_SUITE_P(AtEachPosition, AbortedSubCommand, testing::Range(0, 5));

TEST_P(AbortedSubCommand, IsUndoneAndThenTheEarlierOnesNewestFirstWithoutTraces)
{
    const std::vector<std::string> names = {"A", "B", "C", "D", "E"};
    for (const std::string& name : names)
    {
        fill({makeThread(name)});
    }
    noteEndOf(macro);
    start();
    finalize(GetParam());
    takeJournal();

    manager.abortThreadedCommand();
    manager.finalizeThread();

    const std::string current = names[static_cast<std::size_t>(GetParam())];
    Lines expected =
        Lines{"*M threads.abortThreadExecution", "*M " + current + ".abortRun", "*M threads.finalizeThread"} +
        worked("*M ", current) + told("*M ", current, "false");
    for (int i = GetParam(); i >= 0; --i)
    {
        expected.push_back("*M " + names[static_cast<std::size_t>(i)] + ".undo");
    }
    EXPECT_THAT(takeSteps(), ElementsAreArray(expected + Lines{"*M runFinished(false, M)"} + complete +
                                              Lines{"*M trace: Aborted execution of command:" + current,
                                                    " - M.progress.setComplete", " - finished [|]"}));
    expectIdle();
    EXPECT_TRUE(macro->isRunning());

    // It can be run again, from the beginning.
    start();
    finalize(5);
    EXPECT_EQ(queues(), "[M|]");
    EXPECT_FALSE(macro->isRunning());
}

TEST_F(ThreadedMacroCommandOrder, AnAbortWithinANestedMacroWindsUpThatOneAndTheOuterOneGoesOn)
{
    const auto nested = std::make_shared<OpenMacro>("N");
    nested->addCommand(makeOrdinary("X"));
    nested->addCommand(a);
    nested->addCommand(makeOrdinary("Y"));
    noteEndOf(nested);
    noteEndOf(macro);
    fill({makeOrdinary("W"), nested, b});
    start();
    manager.abortThreadedCommand();
    takeJournal();

    manager.finalizeThread();
    // The progress of the whole is completed though the run goes on.
    EXPECT_THAT(
        takeSteps(),
        ElementsAreArray(Lines{"*M threads.finalizeThread"} + worked("*M ", "A") + told("*M ", "A", "false") +
                         Lines{"*M A.undo", "*M X.undo", "*M runFinished(false, N)",
                               "*M N.progress.setComplete", "*M trace: Aborted execution of command:A"} +
                         started("*M ", "B") + complete));
    EXPECT_EQ(manager.getCurrentThreadedCommand(), macro);

    manager.finalizeThread();
    EXPECT_THAT(takeSteps(), ElementsAreArray(concluded("*M ", "B") + Lines{"*M runFinished(true, M)"} +
                                              complete + queued));
}

TEST_F(ThreadedMacroCommandOrder, AnAbortInTheLastNestedMacroLeavesTheOuterOneFinishedButNotQueued)
{
    const auto nested = std::make_shared<OpenMacro>("N");
    nested->addCommand(a);
    noteEndOf(macro);
    fill({nested});
    start();
    manager.abortThreadedCommand();
    takeJournal();

    manager.finalizeThread();

    EXPECT_THAT(
        takeSteps(),
        ElementsAreArray(Lines{"*M threads.finalizeThread"} + worked("*M ", "A") + told("*M ", "A", "false") +
                         Lines{"*M A.undo", "*M N.progress.setComplete",
                               "*M trace: Aborted execution of command:A", "*M runFinished(true, M)"} +
                         complete + Lines{" - M.progress.setComplete", " - finished [|]"}));
}

TEST_F(ThreadedMacroCommandOrder, AThreadThatIsAbortedAndFailsIsPassedOverAndThenAborted)
{
    macro->setContinueOnException(true);
    b->on["run"] = fail;
    fillWithThreads();
    start();
    finalize(1);
    manager.abortThreadedCommand();
    takeJournal();

    manager.finalizeThread();

    EXPECT_THAT(takeSteps(),
                ElementsAreArray(Lines{"*M threads.finalizeThread", "*M B.prepareRun", "*M B.run"} +
                                 failureOf("*M ", "B") + Lines{"*M B.undo", "*M A.undo"} + complete +
                                 Lines{"*M trace: Aborted execution of command:B",
                                       " - M.progress.setComplete", " - finished [|]"}));
}

TEST_F(ThreadedMacroCommandOrder, AnUndoThatFailsInAnAbortIsReportedAndTheEarlierOnesAreUndone)
{
    b->on["undo"] = fail;
    fillWithThreads();
    start();
    finalize(2);
    manager.abortThreadedCommand();
    takeJournal();

    manager.finalizeThread();

    EXPECT_THAT(
        takeSteps(),
        ElementsAreArray(Lines{"*M threads.finalizeThread"} + worked("*M ", "C") + told("*M ", "C", "false") +
                         Lines{"*M C.undo", "*M B.undo", "*M A.undo"} + complete +
                         Lines{" - error: Thread finalization of command 'M' failed with exception: no power",
                               " - failed(no power, M) [|]", " - finished [|]"}));
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, ARollBackThatFailsTooIsAFurtherErrorLine)
{
    const auto x = makeOrdinary("X");
    x->onUndo = failAgain;
    fill({makeOrdinary("W"), x, makeFailing("Y")});

    manager.addThreadedCommand(macro);

    Lines lines = takeSteps();
    EXPECT_THAT(Lines(lines.end() - 5, lines.end()),
                ElementsAre("*M X.undo",
                            "*M error: Threaded execution of command 'M' failed with exception: stuck",
                            " - error: Threaded execution of command 'M' failed with exception: no power",
                            " - failed(no power, M) [|]", " - finished [|]"));
    expectIdle();
    // What is left of it is done by another call.
    macro->abortExecution();
    EXPECT_THAT(takeJournal(), ElementsAre(" - W.undo", " - M.progress.setComplete"));
}

TEST_F(ThreadedMacroCommandOrder, ARollBackThatFailsTooInAFinalizationIsAFurtherErrorLine)
{
    a->on["undo"] = failAgain;
    b->on["run"] = fail;
    fill({a, b});
    start();
    finalize(1);
    takeJournal();

    manager.finalizeThread();

    EXPECT_THAT(
        takeSteps(),
        ElementsAreArray(
            Lines{"*M threads.finalizeThread", "*M B.prepareRun", "*M B.run"} + failureOf("*M ", "B") +
            Lines{"*M A.undo", "*M error: Thread finalization of command 'M' failed with exception: stuck",
                  " - error: Thread finalization of command 'M' failed with exception: no power",
                  " - failed(no power, M) [|]", " - finished [|]"}));
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, AbortingWhatNeverRanOrHasEnded)
{
    noteEndOf(macro);
    macro->abortExecution();
    EXPECT_THAT(takeJournal(), ElementsAre(" - runFinished(false, M)", " - M.progress.setComplete"));
    fill({makeOrdinary("X"), makeOrdinary("Y")});
    EXPECT_TRUE(macro->startExecution(threads));
    takeJournal();
    macro->abortExecution();
    EXPECT_THAT(takeJournal(), ElementsAre(" - Y.undo", " - X.undo", " - M.progress.setComplete"));
    macro->abortExecution();
    EXPECT_THAT(takeJournal(), ElementsAre(" - M.progress.setComplete"));
}

TEST_F(ThreadedMacroCommandOrder, AbortingUndoesBeforeItTellsAndTellsBeforeItCompletes)
{
    fill({makeOrdinary("X"), a});
    start();
    noteEndOf(macro, [this] { note(macro->isRunning() ? "stands" : "is at its end"); });
    macro->abortExecution();
    EXPECT_THAT(takeJournal(), ElementsAre("*M X.undo", "*M runFinished(false, M)", "*M stands",
                                           "*M M.progress.setComplete"));
}

TEST_F(ThreadedMacroCommandOrder, ALayoutThatFailsInTheFirstRunUndoesNothing)
{
    class Unrated : public RecordingCommand
    {
    public:
        using RecordingCommand::RecordingCommand;

        LegacyProgress::Speed::Rate getSpeedRate() const override
        {
            fail();
        }
    };

    fill({makeOrdinary("X"), std::make_shared<Unrated>("Y")});
    noteEndOf(macro);

    manager.addThreadedCommand(macro);

    EXPECT_THAT(takeSteps(),
                ElementsAre("*M runFinished(false, M)", "*M M.progress.setComplete",
                            " - error: Threaded execution of command 'M' failed with exception: no power",
                            " - failed(no power, M) [|]", " - finished [|]"));

    macro->removeLastCommand();
    EXPECT_TRUE(macro->startExecution(threads));
    macro->addCommand(std::make_shared<Unrated>("Y"));
    takeJournal();
    manager.addThreadedCommand(macro);
    EXPECT_THAT(takeSteps(), Not(Contains(HasSubstr("undo"))));
}

// The run-finished signal.

TEST_F(ThreadedMacroCommandOrder, RunFinishedIsToldOncePerConnection)
{
    int told = 0;
    macro->connectToRunFinishedSignal([&](bool, const CommandBase*) { ++told; });
    macro->sendFinishSignal(false);
    macro->sendFinishSignal(true);
    macro->startExecution(threads);
    macro->abortExecution();
    EXPECT_EQ(told, 1);
}

TEST_F(ThreadedMacroCommandOrder, ASlotOfRunFinishedMayConnectForTheNextRun)
{
    noteEndOf(macro, [this] { noteEndOf(macro); });
    macro->startExecution(threads);
    EXPECT_THAT(takeJournal(), ElementsAre(" - runFinished(true, M)", " - M.progress.setComplete"));
    macro->startExecution(threads);
    EXPECT_THAT(takeJournal(), ElementsAre(" - runFinished(true, M)", " - M.progress.setComplete"));
    macro->startExecution(threads);
    EXPECT_THAT(takeJournal(), ElementsAre(" - M.progress.setComplete"));
}

TEST_F(ThreadedMacroCommandOrder, ASlotOfRunFinishedThatThrowsHasTheWholeRunUndone)
{
    fill({makeOrdinary("X")});
    noteEndOf(macro, fail);
    manager.addThreadedCommand(macro);
    EXPECT_THAT(takeSteps(),
                ElementsAreArray(
                    layout + ordinary("*M ", "X") + Lines{"*M runFinished(true, M)", "*M X.undo"} + complete +
                    Lines{" - error: Threaded execution of command 'M' failed with exception: no "
                          "power",
                          " - failed(no power, M) [|]", " - finished [|]"}));

    macro->clear();
    fill({a});
    noteEndOf(macro, fail);
    start();
    manager.finalizeThread();
    EXPECT_THAT(
        takeSteps(),
        ElementsAreArray(concluded("*M ", "A") + Lines{"*M runFinished(true, M)", "*M A.undo"} + complete +
                         Lines{" - error: Thread finalization of command 'M' failed with exception: no "
                               "power",
                               " - failed(no power, M) [|]", " - finished [|]"}));
    expectIdle();
}

// What the manager's listeners and callees do.

TEST_F(ThreadedMacroCommandOrder, ASlotOfStartedThatThrowsIsAnErrorLineAndTheRunGoesOn)
{
    fill({a});
    atSignal("started", fail);
    manager.addThreadedCommand(macro);
    EXPECT_THAT(takeSteps(),
                ElementsAreArray(layout + started("*M ", "A") +
                                 Lines{"*M started [|]", "*M error: Threaded execution of command 'M' failed "
                                                         "with exception: no power"}));
    manager.finalizeThread();
    EXPECT_EQ(takeSteps().back(), " - finished [M|]");
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, WhatFailsAfterTheRunIsReportedAndNotUndone)
{
    fill({makeOrdinary("X")});
    const Lines report = {" - error: Threaded execution of command 'M' failed with exception: no power"};
    const auto endOf = [&](const std::function<void()>& prepare)
    {
        prepare();
        manager.addThreadedCommand(macro);
        Lines lines = takeSteps();
        EXPECT_THAT(lines, Not(Contains(HasSubstr("undo"))));
        expectIdle();
        modules->onAsk = nullptr;
        onSignal = nullptr;
        return lines;
    };
    Lines lines = endOf([this] { modules->onAsk = fail; });
    EXPECT_THAT(Lines(lines.end() - 5, lines.end()),
                ElementsAreArray(Lines{"*M started [|]", "*M modules.modified"} + report +
                                 Lines{" - failed(no power, M) [|]", " - finished [|]"}));
    lines = endOf([this] { atSignal("queueChanged", fail); });
    EXPECT_THAT(Lines(lines.end() - 4, lines.end()),
                ElementsAreArray(Lines{"*M queueChanged 3 [M|]"} + report +
                                 Lines{" - failed(no power, M) [M|]", " - finished [M|]"}));
    lines = endOf([this] { atSignal("executed", fail); });
    EXPECT_THAT(Lines(lines.end() - 4, lines.end()),
                ElementsAreArray(Lines{" - executed [M M|]"} + report +
                                 Lines{" - failed(no power, M) [M M|]", " - finished [M M|]"}));
    lines = endOf([this] { atSignal("finished", fail); });
    EXPECT_THAT(Lines(lines.end() - 4, lines.end()),
                ElementsAreArray(Lines{" - finished [M M M|]"} + report +
                                 Lines{" - failed(no power, M) [M M M|]", " - finished [M M M|]"}));
}

TEST_F(ThreadedMacroCommandOrder, WhatFailsAfterTheLastFinalizationIsReportedAndNotUndone)
{
    fill({a});
    modules->onAsk = fail;
    start();
    manager.finalizeThread();
    EXPECT_THAT(
        takeSteps(),
        ElementsAreArray(concluded("*M ", "A") + complete +
                         Lines{" - modules.modified",
                               " - error: Thread finalization of command 'M' failed with exception: no power",
                               " - failed(no power, M) [|]", " - finished [|]"}));
}

TEST_F(ThreadedMacroCommandOrder, StrangeExceptionsPassThroughWithoutRollBackAndLeaveTheSlotEmpty)
{
    const auto x = makeOrdinary("X");
    const auto strange = makeOrdinary("Y");
    strange->onExecute = failStrangely;
    macro->setContinueOnException(true);
    const std::vector<std::function<void()>> places = {
        [&] {
            fill({x, strange});
        },
        [&]
        {
            const auto nested = std::make_shared<OpenMacro>("N");
            nested->addCommand(strange);
            fill({x, nested});
        },
        [&]
        {
            threads->mode = 0;
            a->on["run"] = failStrangely;
            fill({x, a});
        },
        [&] { atSignal("started", failStrangely); },
        [&] { atSignal("queueChanged", failStrangely); },
        [&] { atSignal("executed", failStrangely); },
        [&] { atSignal("finished", failStrangely); },
        [&] { modules->onAsk = failStrangely; },
        [&] { noteEndOf(macro, failStrangely); },
    };
    for (std::size_t place = 0; place < places.size(); ++place)
    {
        macro->clear();
        threads->mode = 1;
        onSignal = nullptr;
        modules->onAsk = nullptr;
        places[place]();
        EXPECT_THROW(manager.addThreadedCommand(macro), Stranger) << place;
        expectIdle();
        EXPECT_THAT(takeSteps(), Not(Contains(testing::AnyOf(HasSubstr("undo"), HasSubstr("error:")))))
            << place;
    }
}

TEST_F(ThreadedMacroCommandOrder, StrangeExceptionsOfAThreadPassThroughItsFinalization)
{
    macro->setContinueOnException(true);
    b->on["run"] = failStrangely;
    fillWithThreads();
    start();
    finalize(1);
    takeJournal();

    EXPECT_THROW(manager.finalizeThread(), Stranger);

    EXPECT_THAT(takeSteps(), ElementsAre("*M threads.finalizeThread", "*M B.prepareRun", "*M B.run"));
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, AStrangeExceptionInARollBackTakesOver)
{
    const auto x = makeOrdinary("X");
    x->onUndo = failStrangely;
    fill({x, makeFailing("Y")});
    EXPECT_THROW(manager.addThreadedCommand(macro), Stranger);
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, ASlotOfRunFinishedMayStartTheNextMacroWhichThenStaysUnderWay)
{
    const auto next = std::make_shared<OpenMacro>("N");
    next->addCommand(b);
    fill({a});
    noteEndOf(macro, [&] { manager.addThreadedCommand(next); });
    start();

    manager.finalizeThread();

    EXPECT_THAT(takeSteps(),
                ElementsAreArray(concluded("*M ", "A") +
                                 Lines{"*M runFinished(true, M)", "*N N.progress.reset"} +
                                 started("*N ", "B") +
                                 Lines{"*N started [|]", "*N M.progress.setComplete", "*N modules.modified",
                                       "*N modules.mark", "*N queueChanged 3 [M|]", "*N executed [M|]",
                                       "*N finished [M|]"}));
    EXPECT_EQ(manager.getCurrentThreadedCommand(), next);
    manager.finalizeThread();
    EXPECT_EQ(queues(), "[N M|]");
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, AMacroThatIsOverWithinItsStartIsQueuedThoughItsEndStartedTheNextCommand)
{
    for (const int mode : {1, 0})
    {
        threads->mode = mode;
        macro->clear();
        fill({makeOrdinary("X")});
        noteEndOf(macro, [this] { manager.addThreadedCommand(b); });

        manager.addThreadedCommand(macro);

        const Lines steps = takeSteps();
        if (mode != 0)
        {
            EXPECT_EQ(queues(), "[M|]");
            EXPECT_EQ(steps.back(), "*B finished [M|]");
            EXPECT_EQ(manager.getCurrentThreadedCommand(), b);
            manager.finalizeThread();
            EXPECT_EQ(queues(), "[B M|]");
        }
        else
        {
            EXPECT_EQ(queues(), "[M B B M|]");
            EXPECT_EQ(steps.back(), " - executed [M B B M|]");
        }
        expectIdle();
    }
}

TEST_F(ThreadedMacroCommandOrder, FinalizingFromWithinTheRunIsLeftToTheRun)
{
    const auto x = makeOrdinary("X");
    x->onExecute = [this]
    {
        manager.finalizeThread();
    };
    fill({x, a, x, makeOrdinary("Y")});
    noteEndOf(macro, [this] { manager.finalizeThread(); });

    manager.addThreadedCommand(macro);
    EXPECT_THAT(takeSteps(), ElementsAreArray(layout + ordinary("*M ", "X") + started("*M ", "A") +
                                              Lines{"*M started [|]"}));
    manager.finalizeThread();
    EXPECT_THAT(takeSteps(),
                ElementsAreArray(concluded("*M ", "A") + ordinary("*M ", "X") + ordinary("*M ", "Y") +
                                 Lines{"*M runFinished(true, M)"} + complete + queued));
}

TEST_F(ThreadedMacroCommandOrder, FinalizingFromWithinTheRunConcludesAThreadThatIsUnderWay)
{
    const auto waiting = std::make_shared<WaitingMacro>("M", manager);
    waiting->getProgressPtr()->label = "M.progress";
    waiting->addCommand(a);
    manager.addThreadedCommand(waiting);
    EXPECT_THAT(takeSteps(), ElementsAreArray(layout + started("*M ", "A") + concluded("*M ", "A") +
                                              complete + queued + Lines{" - started [M|]"}));
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, ASlotOfStartedMayFinalizeAtOnce)
{
    fill({a});
    atSignal("started", [this] { manager.finalizeThread(); });
    manager.addThreadedCommand(macro);
    EXPECT_THAT(takeSteps(), ElementsAreArray(layout + started("*M ", "A") + Lines{"*M started [|]"} +
                                              concluded("*M ", "A") + complete + queued));
    expectIdle();
    manager.takeLastExecutedCommand();

    // Over already: it is queued once.
    macro->clear();
    atSignal("started", [this] { manager.finalizeThread(); });
    manager.addThreadedCommand(macro);
    EXPECT_EQ(queues(), "[M|]");
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, ASlotOfStartedMayFinalizeAtOnceThoughTheThreadCouldNotBeStarted)
{
    macro->setContinueOnException(true);
    fill({a, makeOrdinary("Y")});
    threads->onCall = [](const std::string& call)
    {
        if (call == "threads.addThread(A)")
        {
            fail();
        }
    };
    atSignal("started", [this] { manager.finalizeThread(); });

    manager.addThreadedCommand(macro);
    EXPECT_THAT(takeSteps(), ElementsAreArray(layout + started("*M ", "A") + failureOf("*M ", "A") +
                                              Lines{"*M started [|]", "*M threads.finalizeThread",
                                                    "*M trace: Finished execution of command:A"} +
                                              ordinary("*M ", "Y") + complete + queued));
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, ASlotMayAbortFromWithinTheRun)
{
    fill({makeOrdinary("X"), a});
    atSignal("started", [this] { manager.abortThreadedCommand(); });
    manager.addThreadedCommand(macro);
    manager.finalizeThread();
    EXPECT_THAT(takeSteps(), Contains("*M X.undo"));
    EXPECT_EQ(queues(), "[|]");
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, AMacroThatFailedMayBeStartedAgainByTheSlotThatIsToldSo)
{
    b->on["run"] = fail;
    fill({a, b});
    noteEndOf(macro,
              [this]
              {
                  b->on.clear();
                  manager.addThreadedCommand(macro);
              });
    start();
    finalize(2);
    EXPECT_EQ(takeSteps().back(), "*M finished [|]");
    EXPECT_EQ(manager.getCurrentThreadedCommand(), macro);
    finalize(2);
    EXPECT_EQ(queues(), "[M|]");
    expectIdle();
}

TEST_F(ThreadedMacroCommandOrder, ASecondMacroTakesTheSlotAndFailsWhileTheThreadOfTheFirstComesToItsEnd)
{
    const auto second = std::make_shared<OpenMacro>("N");
    second->addCommand(b);
    fill({a, c});
    start();

    manager.addThreadedCommand(second);
    EXPECT_THAT(
        takeSteps(),
        ElementsAre("*N N.progress.reset", "*N trace: Execute subcommand: B", "*N threads.addThread(B)",
                    "*N error: Command 'B' failed with exception: busy", "*N N.progress.setComplete",
                    StartsWith(" - error: Threaded execution of command 'N' failed with exception: busy"),
                    " - failed(busy, N) [|]", " - finished [|]"));

    manager.finalizeThread();
    EXPECT_THAT(takeSteps(),
                ElementsAreArray(Lines{" - threads.finalizeThread"} + worked(" - ", "A") + told(" - ", "A")));
    expectIdle();
}

// Depth: the same calls and traces, on a stack that a few thousand nested calls would overflow.

TEST_F(ThreadedMacroCommandOrder, ManySubCommandsNeedNoStackAndLeaveNoLineOut)
{
    constexpr int rounds = 5'000;
    threads->mode = 0;
    macro->setContinueOnException(true);
    const auto x = makeOrdinary("X");
    const auto y = makeFailing("Y");
    const auto failingThread = makeFailingThread("B");
    const auto nested = std::make_shared<OpenMacro>("N");
    nested->addCommand(x);
    for (int i = 0; i < rounds; ++i)
    {
        fill({x, a, y, failingThread, nested});
    }

    runOnSmallStack([this] { manager.addThreadedCommand(macro); });

    const Lines steps = takeSteps();
    Lines expected = layout;
    const Lines round =
        ordinary("*M ", "X") + synchronous("*M ", "A") +
        Lines{"*M trace: Execute subcommand: Y", "*M Y.execute"} + failureOf("*M ", "Y") +
        Lines{"*M M.progress.sendMessage(no power, 2, )", "*M trace: Subcommand:Y 'executed.'"} +
        started("*M ", "B") + Lines{"*M B.prepareRun", "*M B.run"} + told("*M ", "B", "false") +
        failureOf("*M ", "B") +
        Lines{"*M trace: Subcommand:B'executed.'", "*M trace: Execute subcommand: N", "*M N.progress.reset"} +
        ordinary("*M ", "X") + Lines{"*M N.progress.setComplete"};
    for (int i = 0; i < rounds; ++i)
    {
        expected.insert(expected.end(), round.begin(), round.end());
    }
    // Not by a matcher, whose message would be too long.
    ASSERT_EQ(steps.size(), expected.size() + 5);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), steps.begin()));
    EXPECT_EQ(steps.back(), " - executed [M|]");
}

// In the queues.

TEST_F(ThreadedMacroCommandOrder, AMixedMacroIsUndoneAndRedoneInTheQueue)
{
    Logging::traceEnabled = false;
    fill({a, makeOrdinary("X"), std::make_shared<BareThreadCommand>("T")});
    start();
    finalize(2);
    EXPECT_EQ(queues(), "[M|]");
    takeJournal();

    EXPECT_TRUE(manager.undo(1));
    EXPECT_THAT(takeSteps(),
                ElementsAre("*- progress.setSubProgress(M.progress, 100, 1)", "*- M.progress.reset",
                            "*- T.undo", "*- progress.setComplete", "*- X.undo", "*- X.progress.setComplete",
                            "*- A.undo", "*- A.progress.setComplete", "*- M.progress.setComplete",
                            " - X.isRedoCapable", " - modules.mark", " - undone [|M]",
                            " - queueChanged 0 [|M]"));
    EXPECT_TRUE(manager.redo(1));
    EXPECT_THAT(takeSteps(),
                ElementsAre("*- progress.setSubProgress(M.progress, 100, 1)", "*- M.progress.reset",
                            "*- A.prepareRun", "*- A.run", "*- A.finishRun", "*- A.progress.setComplete",
                            "*- X.redo", "*- X.progress.setComplete", "*- T.execute",
                            "*- progress.setComplete", "*- M.progress.setComplete", " - modules.mark",
                            " - executed [M|]", " - queueChanged 1 [M|]"));
}

TEST_F(ThreadedMacroCommandOrder, WhatWaitsToBeMergedIsMergedIntoTheMacroThatIsQueued)
{
    manager.addCommandToMergeWithNextCommand(makeOrdinary("W"), false);
    fill({a});
    start();
    finalize(1);
    const auto merged = std::dynamic_pointer_cast<MacroCommand>(manager.takeLastExecutedCommand());
    ASSERT_NE(merged, nullptr);
    EXPECT_EQ(merged->size(), 2U);
    EXPECT_EQ(merged->getFirstCommand(), macro);
}

TEST_F(ThreadedMacroCommandOrder, AsAnOrdinaryCommandItRunsOnTheCallersThread)
{
    fill({a, makeOrdinary("X")});
    EXPECT_TRUE(manager.addCommand(macro));
    EXPECT_THAT(
        takeSteps(),
        ElementsAreArray(
            Lines{"*- M.progress.reset", "*- trace: Execute command 'M'...", "*- M.progress.reset",
                  "*- M.progress.reset", "*- trace: Execute subcommand: A"} +
            worked("*- ", "A") + Lines{"*- trace: Subcommand:A 'executed.'"} + ordinary("*- ", "X") +
            Lines{"*- M.progress.setComplete", "*- trace: Command 'M' executed.", "*- M.progress.setComplete",
                  " - modules.modified", " - modules.mark", " - queueChanged 3 [M|]", " - executed [M|]"}));
}

TEST_F(ThreadedMacroCommandOrder, WithoutTracesNoLineIsWritten)
{
    Logging::traceEnabled = false;
    fill({a, makeOrdinary("X")});
    start();
    finalize(1);
    EXPECT_THAT(Logging::lines, IsEmpty());
}

} // namespace
} // namespace Valdane

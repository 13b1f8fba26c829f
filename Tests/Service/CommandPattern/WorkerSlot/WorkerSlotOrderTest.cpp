#include "Service/CommandPattern/CommandCollector.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/MessageOf.h"
#include "Tests/Support/RecordingCommand.h"
#include "Tests/Support/ThreadJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

using testing::Contains;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using ValdaneTests::ElementsAre;

class WorkerSlotOrder : public ThreadJournal
{
protected:
    void beSynchronous()
    {
        threads->mode = 0;
    }

    /// Starts A on the worker, without a trace in the journal.
    void startA()
    {
        manager.addThreadedCommand(a);
        takeJournal();
    }

    void expectIdle() const
    {
        EXPECT_FALSE(manager.isProcessingCommand());
        EXPECT_EQ(manager.getCurrentThreadedCommand(), nullptr);
    }

    std::shared_ptr<RecordingThread> a = makeThread("A");
    std::shared_ptr<RecordingThread> b = makeThread("B");

    /// A run of A on the worker up to its end, and A's way into the undo queue.
    const Lines start = {"*A threads.addThread(A)", "*A started [|]"};
    const Lines work = {"*A threads.finalizeThread", "*A A.prepareRun", "*A A.run", "*A A.finishRun"};
    const Lines told = {"*A thread A.sendFinishSignal(true)"};
    const Lines queued = {" - A.isAddable", " - modules.modified", " - modules.mark",
                          " - queueChanged 3 [A|]", " - executed [A|]"};
    const Lines over = {" - finished [A|]"};

    static Lines report(const std::string& context, const std::string& description, const std::string& queues)
    {
        return {" - error: " + context + " of command '" + description + "' failed with exception: no power",
                " - failed(no power, " + description + ") " + queues};
    }
};

TEST_F(WorkerSlotOrder, ASynchronousRunIsOneSequenceWithoutStartedAndFinished)
{
    beSynchronous();
    Logging::traceEnabled = true;
    noteEndOf(a);

    manager.addThreadedCommand(a);

    EXPECT_THAT(takeJournal(),
                ElementsAre("*A trace: Execute command 'A'...", "*A threads.addThread(A)", "*A A.prepareRun",
                            "*A A.run", "*A A.finishRun", "*A thread A.sendFinishSignal(true)",
                            "*A runFinished(true, A)", "*A trace: Command 'A' executed.", " - A.isAddable",
                            " - modules.modified", " - modules.mark", " - queueChanged 3 [A|]",
                            " - executed [A|]"));
    expectIdle();
    ASSERT_EQ(Logging::lines.size(), 2U);
    for (const Logging::Line& line : Logging::lines)
    {
        EXPECT_EQ(line.logger, "Service/CommandPattern/CommandManager");
        EXPECT_EQ(line.file, "Service/CommandPattern/CommandManager.cpp");
        EXPECT_THAT(line.function, HasSubstr("Valdane::CommandManager::addThreadedCommand("));
        EXPECT_THAT(line.function, HasSubstr("ThreadedCommand>"));
        EXPECT_GT(line.line, 0);
    }
}

TEST_F(WorkerSlotOrder, ARunOnTheWorkerIsOneSequenceFromItsStartToItsFinalization)
{
    Logging::traceEnabled = true;
    noteEndOf(a);

    manager.addThreadedCommand(a);
    EXPECT_THAT(takeJournal(), ElementsAreArray(start));
    EXPECT_EQ(manager.getCurrentThreadedCommand(), a);
    EXPECT_TRUE(manager.isProcessingCommand());

    threads->work();
    EXPECT_THAT(takeJournal(), ElementsAre("*A A.prepareRun", "*A A.run", "*A A.finishRun"));
    EXPECT_TRUE(manager.isProcessingCommand());

    manager.finalizeThread();
    EXPECT_THAT(takeJournal(), ElementsAreArray(Lines{"*A threads.finalizeThread"} + told +
                                                Lines{"*A runFinished(true, A)"} + queued + over));
    expectIdle();
}

TEST_F(WorkerSlotOrder, WhileAGroupIsOpenNothingIsStarted)
{
    manager.beginGroup("G");
    const std::string text = "addThreadedCommand() is refused while the group 'G' is open";
    EXPECT_EQ(messageOf([this] { manager.addThreadedCommand(a); }), text);
    EXPECT_EQ(messageOf([this] { manager.addThreadedCommand(std::make_shared<OpenMacro>("M")); }), text);
    EXPECT_THAT(takeJournal(), ElementsAre(" - error: " + text, " - error: " + text));
    expectIdle();
}

TEST_F(WorkerSlotOrder, WhileACommandIsRunningNoGroupIsOpened)
{
    startA();
    const std::string text = "beginGroup() is refused while a threaded command is running";
    EXPECT_EQ(messageOf([this] { manager.beginGroup("G"); }), text);
    EXPECT_THAT(takeJournal(), ElementsAre("*A error: " + text));
    EXPECT_THAT(manager.getOpenGroups(), IsEmpty());
    threads->work();
    manager.finalizeThread();
    manager.beginGroup("G");
    EXPECT_THAT(manager.getOpenGroups(), ElementsAre("G"));
}

TEST_F(WorkerSlotOrder, ASubCommandOfASecondMacroMayFinalizeTheFirstCommand)
{
    startA();
    const auto x = std::make_shared<RecordingCommand>("X");
    x->onExecute = [this]
    {
        manager.finalizeThread();
    };
    auto macro = std::make_shared<OpenMacro>("M");
    macro->addCommand(x);

    manager.addThreadedCommand(macro);

    EXPECT_EQ(queues(), "[M|]");
    EXPECT_EQ(threads->getCurrentThread(), nullptr);
    expectIdle();
}

TEST_F(WorkerSlotOrder, TheProgressOfAnAbortedRunIsCompletedThoughAnotherCommandWasStarted)
{
    noteEndOf(a, [this] { manager.addThreadedCommand(b); });
    startA();
    manager.abortThreadedCommand();

    manager.finalizeThread();

    EXPECT_THAT(takeJournal(), Contains("*B A.progress.setComplete"));
}

TEST_F(WorkerSlotOrder, EveryModeButZeroIsAWorkerMode)
{
    for (const std::int32_t mode :
         {1, 2, -1, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()})
    {
        threads->mode = mode;
        manager.addThreadedCommand(a);
        EXPECT_THAT(takeJournal(), ElementsAreArray(start)) << mode;
        manager.finalizeThread();
        EXPECT_THAT(takeJournal(), ElementsAreArray(work + told + queued + over)) << mode;
        manager.takeLastExecutedCommand();
    }
}

TEST_F(WorkerSlotOrder, ACommandThatIsNotAddableRunsButIsNotQueued)
{
    a->addable = false;
    manager.addThreadedCommand(a);
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(start + work + told + Lines{" - A.isAddable", " - finished [|]"}));
    expectIdle();

    beSynchronous();
    manager.addThreadedCommand(a);
    EXPECT_THAT(takeJournal(),
                ElementsAre("*A threads.addThread(A)", "*A A.prepareRun", "*A A.run", "*A A.finishRun",
                            "*A thread A.sendFinishSignal(true)", " - A.isAddable"));
    expectIdle();
}

TEST_F(WorkerSlotOrder, AnAbortedRunIsNotQueuedButCompletesItsProgress)
{
    noteEndOf(a);
    startA();

    manager.abortThreadedCommand();
    EXPECT_THAT(takeJournal(), ElementsAre("*A threads.abortThreadExecution", "*A A.abortRun"));

    manager.finalizeThread();
    EXPECT_THAT(
        takeJournal(),
        ElementsAreArray(work + Lines{"*A thread A.sendFinishSignal(false)", "*A runFinished(false, A)",
                                      " - A.progress.setComplete", " - finished [|]"}));
    expectIdle();
}

TEST_F(WorkerSlotOrder, AnAbortThatComesWhileTheRunIsConcludedCounts)
{
    a->on["run"] = [this]
    {
        manager.abortThreadedCommand();
    };
    startA();

    manager.finalizeThread();

    EXPECT_EQ(queues(), "[|]");
    EXPECT_THAT(takeJournal(), Contains(" - A.progress.setComplete"));
}

TEST_F(WorkerSlotOrder, ASynchronousRunThatAbortsItselfIsQueuedAllTheSame)
{
    beSynchronous();
    a->on["run"] = [this]
    {
        manager.abortThreadedCommand();
    };

    manager.addThreadedCommand(a);

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{"*A threads.addThread(A)", "*A A.prepareRun", "*A A.run",
                                       "*A threads.abortThreadExecution", "*A A.abortRun", "*A A.finishRun",
                                       "*A thread A.sendFinishSignal(false)"} +
                                 queued));
}

TEST_F(WorkerSlotOrder, AFailingRunOnTheWorkerIsReportedInItsFinalization)
{
    a->on["run"] = fail;
    noteEndOf(a);
    startA();

    manager.finalizeThread();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{"*A threads.finalizeThread", "*A A.prepareRun", "*A A.run",
                                       "*A A.progress.setComplete", "*A thread A.sendFinishSignal(false)",
                                       "*A runFinished(false, A)"} +
                                 report("Thread finalization", "A", "[|]") + Lines{" - finished [|]"}));
    expectIdle();
    const Logging::Line& line = Logging::lines.back();
    EXPECT_EQ(line.logger, "Service/CommandPattern/CommandManager");
    EXPECT_THAT(line.function, HasSubstr("Valdane::CommandManager::Private::logException("));
}

TEST_F(WorkerSlotOrder, ARunThatIsAbortedAndFailsIsReportedAsAFailure)
{
    a->on["run"] = fail;
    startA();
    manager.abortThreadedCommand();
    takeJournal();

    manager.finalizeThread();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{"*A threads.finalizeThread", "*A A.prepareRun", "*A A.run",
                                       "*A A.progress.setComplete", "*A thread A.sendFinishSignal(false)"} +
                                 report("Thread finalization", "A", "[|]") + Lines{" - finished [|]"}));
}

TEST_F(WorkerSlotOrder, AFailingSynchronousRunIsReportedAsExecution)
{
    beSynchronous();
    for (const std::string step : {"prepareRun", "run", "finishRun"})
    {
        a->on = {{step, fail}};
        noteEndOf(a);
        Lines expected = {"*A threads.addThread(A)", "*A A.prepareRun", "*A A.run", "*A A.finishRun"};
        expected.resize(step == "prepareRun" ? 2 : step == "run" ? 3 : 4);

        manager.addThreadedCommand(a);

        EXPECT_THAT(takeJournal(),
                    ElementsAreArray(
                        expected + Lines{"*A thread A.sendFinishSignal(false)", "*A runFinished(false, A)"} +
                        report("Execution", "A", "[|]")));
        expectIdle();
    }
}

TEST_F(WorkerSlotOrder, ALocatedExceptionHasItsLocationInTheReport)
{
    const VdException located("no power");
    a->on["run"] = [&]
    {
        throw located;
    };
    startA();
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(),
                Contains(" - error: Thread finalization of command 'A' failed with exception: no power\n"
                         "    Location: " +
                         located.getLocation()));
}

TEST_F(WorkerSlotOrder, ARunThatCannotBeStartedIsReportedAsExecutionInBothModes)
{
    threads->onCall = [](const std::string& call)
    {
        if (call.starts_with("threads.addThread"))
        {
            fail();
        }
    };
    for (const std::int32_t mode : {0, 1})
    {
        threads->mode = mode;
        noteEndOf(a);
        manager.addThreadedCommand(a);
        EXPECT_THAT(takeJournal(),
                    ElementsAreArray(Lines{"*A threads.addThread(A)"} + report("Execution", "A", "[|]")));
        expectIdle();
    }
}

TEST_F(WorkerSlotOrder, ATraceThatFailsIsReportedAsExecution)
{
    beSynchronous();
    Logging::traceEnabled = true;
    for (const std::string line : {"Execute command 'A'...", "Command 'A' executed."})
    {
        Logging::onLine = [&](const std::string& text)
        {
            if (text == line)
            {
                fail();
            }
        };
        manager.addThreadedCommand(a);
        Lines lines = takeJournal();
        EXPECT_THAT(Lines(lines.end() - 2, lines.end()), ElementsAreArray(report("Execution", "A", "[|]")))
            << line;
        expectIdle();
    }
}

TEST_F(WorkerSlotOrder, FinalizingNothingTellsNobody)
{
    for (const std::int32_t mode : {0, 1})
    {
        threads->mode = mode;
        manager.finalizeThread();
        manager.abortThreadedCommand();
        EXPECT_THAT(takeJournal(),
                    ElementsAre(" - threads.finalizeThread", " - threads.abortThreadExecution"));
        expectIdle();
    }
}

TEST_F(WorkerSlotOrder, NoCommandIsIgnored)
{
    startA();
    for (const std::int32_t mode : {0, 1})
    {
        threads->mode = mode;
        manager.addThreadedCommand(std::shared_ptr<ThreadedCommand>());
        manager.addThreadedCommand(std::shared_ptr<ThreadedMacroCommand>());
        EXPECT_THAT(takeJournal(), IsEmpty());
        EXPECT_EQ(manager.getCurrentThreadedCommand(), a);
        EXPECT_TRUE(manager.isProcessingCommand());
    }
}

TEST_F(WorkerSlotOrder, ASecondCommandTakesTheSlotAndFailsWhileTheFirstRunsOnToItsSafeEnd)
{
    noteEndOf(a);
    noteEndOf(b);
    startA();

    manager.addThreadedCommand(b);
    EXPECT_THAT(takeJournal(),
                ElementsAre("*B threads.addThread(B)",
                            testing::StartsWith(" - error: Execution of command 'B' failed with exception: "
                                                "busy\n    Location: "),
                            " - failed(busy, B) [|]"));
    expectIdle();
    EXPECT_EQ(threads->getCurrentThread(), a);

    manager.finalizeThread();
    EXPECT_THAT(takeJournal(),
                ElementsAre(" - threads.finalizeThread", " - A.prepareRun", " - A.run", " - A.finishRun",
                            " - thread A.sendFinishSignal(true)", " - runFinished(true, A)"));
    EXPECT_EQ(threads->getCurrentThread(), nullptr);
    manager.addThreadedCommand(b);
    EXPECT_THAT(takeJournal(), ElementsAre("*B threads.addThread(B)", "*B started [|]"));
}

TEST_F(WorkerSlotOrder, ARunThatLostTheSlotAndFailsIsReportedUnderItsName)
{
    a->on["run"] = fail;
    noteEndOf(a);
    startA();
    manager.addThreadedCommand(b);
    takeJournal();

    manager.finalizeThread();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{" - threads.finalizeThread", " - A.prepareRun", " - A.run"} +
                                 report("Thread finalization", "A", "[|]") + Lines{" - finished [|]"}));
    expectIdle();
}

TEST_F(WorkerSlotOrder, ARunThatIsNoCommandAndFailsHasNoName)
{
    class BareThread : public Thread
    {
    public:
        BareThread() : Thread("bare") {}

        void run() override
        {
            fail();
        }

        void finishRun() override {}
    };

    threads->addThread(std::make_shared<BareThread>());
    takeJournal();

    manager.finalizeThread();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{" - threads.finalizeThread", " - thread bare.prepareRun"} +
                                 report("Thread finalization", "", "[|]") + Lines{" - finished [|]"}));

    threads->addThread(std::make_shared<BareThread>());
    takeJournal();
    onSignal = [](const std::string& signal)
    {
        if (signal.starts_with("failed"))
        {
            failAgain();
        }
    };

    manager.finalizeThread();

    EXPECT_THAT(
        takeJournal(),
        ElementsAreArray(Lines{" - threads.finalizeThread", " - thread bare.prepareRun"} +
                         report("Thread finalization", "", "[|]") +
                         Lines{" - error: Thread finalization of command '' failed with exception: stuck",
                               " - finished [|]"}));
}

TEST_F(WorkerSlotOrder, WhatTheModuleInterfaceThrowsBeforeACommandIsQueuedIsReported)
{
    modules->onAsk = fail;
    startA();
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(work + told + Lines{" - A.isAddable", " - modules.modified"} +
                                 report("Thread finalization", "A", "[|]") + Lines{" - finished [|]"}));
    expectIdle();

    beSynchronous();
    manager.addThreadedCommand(a);
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{"*A threads.addThread(A)", "*A A.prepareRun", "*A A.run",
                                       "*A A.finishRun", "*A thread A.sendFinishSignal(true)",
                                       " - A.isAddable", " - modules.modified"} +
                                 report("Execution", "A", "[|]")));
    expectIdle();
}

TEST_F(WorkerSlotOrder, WhatIsThrownAfterACommandWasQueuedIsReportedAndItStaysQueued)
{
    modules->onMark = fail;
    startA();
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(work + told +
                                 Lines{" - A.isAddable", " - modules.modified", " - modules.mark"} +
                                 report("Thread finalization", "A", "[A|]") + over));
    modules->onMark = nullptr;

    atSignal("queueChanged", fail);
    startA();
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(work + told +
                                 Lines{" - A.isAddable", " - modules.modified", " - modules.mark",
                                       " - queueChanged 3 [A A|]"} +
                                 report("Thread finalization", "A", "[A A|]") + Lines{" - finished [A A|]"}));
    expectIdle();
}

TEST_F(WorkerSlotOrder, ASlotOfExecutedThatThrowsIsReportedInBothModes)
{
    atSignal("executed", fail);
    startA();
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(work + told + queued + report("Thread finalization", "A", "[A|]") + over));
    manager.takeLastExecutedCommand();

    beSynchronous();
    atSignal("executed", fail);
    manager.addThreadedCommand(a);
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{"*A threads.addThread(A)", "*A A.prepareRun", "*A A.run",
                                       "*A A.finishRun", "*A thread A.sendFinishSignal(true)"} +
                                 queued + report("Execution", "A", "[A|]")));
    expectIdle();
}

TEST_F(WorkerSlotOrder, ASlotOfStartedThatThrowsLosesTheSlotButNotTheThread)
{
    atSignal("started", fail);
    noteEndOf(a);

    manager.addThreadedCommand(a);
    EXPECT_THAT(takeJournal(), ElementsAreArray(start + report("Execution", "A", "[|]")));
    expectIdle();

    manager.finalizeThread();
    EXPECT_THAT(takeJournal(),
                ElementsAre(" - threads.finalizeThread", " - A.prepareRun", " - A.run", " - A.finishRun",
                            " - thread A.sendFinishSignal(true)", " - runFinished(true, A)"));
}

TEST_F(WorkerSlotOrder, ASlotOfRunFinishedThatThrowsFailsTheFinalizationAndIsToldOnce)
{
    noteEndOf(a, fail);
    noteEndOf(a);
    startA();

    manager.finalizeThread();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(work + told +
                                 Lines{"*A runFinished(true, A)", "*A A.progress.setComplete",
                                       "*A thread A.sendFinishSignal(false)"} +
                                 report("Thread finalization", "A", "[|]") + Lines{" - finished [|]"}));
    expectIdle();
}

TEST_F(WorkerSlotOrder, ASlotOfRunFinishedThatThrowsFailsASynchronousRun)
{
    beSynchronous();
    noteEndOf(a, fail);

    manager.addThreadedCommand(a);

    EXPECT_THAT(
        takeJournal(),
        ElementsAreArray(Lines{"*A threads.addThread(A)", "*A A.prepareRun", "*A A.run", "*A A.finishRun",
                               "*A thread A.sendFinishSignal(true)", "*A runFinished(true, A)"} +
                         report("Execution", "A", "[|]")));
    expectIdle();
}

TEST_F(WorkerSlotOrder, ACommandThatCannotSayWhetherItIsAddableIsReported)
{
    a->on["isAddable"] = fail;
    startA();
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(work + told + Lines{" - A.isAddable"} +
                                 report("Thread finalization", "A", "[|]") + Lines{" - finished [|]"}));
    beSynchronous();
    manager.addThreadedCommand(a);
    EXPECT_EQ(takeJournal().back(), " - failed(no power, A) [|]");
    expectIdle();
}

TEST_F(WorkerSlotOrder, AProgressThatCannotBeCompletedAfterAnAbortIsReported)
{
    LegacyProgress::onCall = [](const std::string&)
    {
        fail();
    };
    startA();
    manager.abortThreadedCommand();
    takeJournal();

    manager.finalizeThread();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(work +
                                 Lines{"*A thread A.sendFinishSignal(false)", " - A.progress.setComplete"} +
                                 report("Thread finalization", "A", "[|]") + Lines{" - finished [|]"}));
}

TEST_F(WorkerSlotOrder, EveryStepOfAFailedFinalizationIsDoneThoughTheOthersFail)
{
    a->on["run"] = fail;
    noteEndOf(a, failAgain);
    startA();
    LegacyProgress::onCall = [](const std::string&)
    {
        throw std::logic_error("jammed");
    };
    onSignal = [](const std::string& signal)
    {
        throw std::logic_error("deaf to " + signal.substr(0, 6));
    };
    const std::string failure = " error: Thread finalization of command 'A' failed with exception: ";

    manager.finalizeThread();

    EXPECT_THAT(takeJournal(), ElementsAre("*A threads.finalizeThread", "*A A.prepareRun", "*A A.run",
                                           "*A A.progress.setComplete", "*A" + failure + "jammed",
                                           "*A thread A.sendFinishSignal(false)", "*A runFinished(false, A)",
                                           "*A" + failure + "stuck", " -" + failure + "no power",
                                           " - failed(no power, A) [|]", " -" + failure + "deaf to failed",
                                           " - finished [|]", " -" + failure + "deaf to finish"));
    expectIdle();
}

TEST_F(WorkerSlotOrder, ALogThatFailsTooLosesItsLinesAndNothingElse)
{
    a->on["run"] = fail;
    startA();
    Logging::onLine = [](const std::string&)
    {
        failAgain();
    };

    manager.finalizeThread();
    EXPECT_THAT(takeJournal(), ElementsAre("*A threads.finalizeThread", "*A A.prepareRun", "*A A.run",
                                           "*A A.progress.setComplete", "*A thread A.sendFinishSignal(false)",
                                           " - failed(no power, A) [|]", " - finished [|]"));
    expectIdle();

    beSynchronous();
    manager.addThreadedCommand(a);
    EXPECT_EQ(takeJournal().back(), " - failed(no power, A) [|]");
    expectIdle();
}

TEST_F(WorkerSlotOrder, ASlotOfFailedThatThrowsIsAFurtherErrorLineInASynchronousRun)
{
    beSynchronous();
    a->on["run"] = fail;
    atSignal("failed", failAgain);
    manager.addThreadedCommand(a);
    EXPECT_EQ(takeJournal().back(), " - error: Execution of command 'A' failed with exception: stuck");
    expectIdle();
}

TEST_F(WorkerSlotOrder, ASlotOfFinishedThatThrowsIsReported)
{
    atSignal("finished", fail);
    startA();
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(), ElementsAreArray(work + told + queued + over +
                                                report("Thread finalization", "A", "[A|]") + over));
    expectIdle();
}

TEST_F(WorkerSlotOrder, AStrangeExceptionPassesThroughAndLeavesTheSlotEmptyInASynchronousRun)
{
    beSynchronous();
    Logging::traceEnabled = true;
    const auto reset = [this]
    {
        a = makeThread("A");
        modules->onAsk = nullptr;
        modules->onMark = nullptr;
        onSignal = nullptr;
        threads->onCall = nullptr;
        Logging::onLine = nullptr;
    };
    const std::vector<std::function<void()>> places = {
        [this] { a->on["prepareRun"] = failStrangely; },
        [this] { a->on["run"] = failStrangely; },
        [this] { a->on["finishRun"] = failStrangely; },
        [this] { a->on["isAddable"] = failStrangely; },
        [this] { noteEndOf(a, failStrangely); },
        [this] { modules->onAsk = failStrangely; },
        [this] { modules->onMark = failStrangely; },
        [this] { atSignal("queueChanged", failStrangely); },
        [this] { atSignal("executed", failStrangely); },
        [this]
        {
            threads->onCall = [](const std::string&)
            {
                failStrangely();
            };
        },
        []
        {
            Logging::onLine = [](const std::string&)
            {
                failStrangely();
            };
        },
        [this]
        {
            a->on["run"] = fail;
            atSignal("failed", failStrangely);
        },
    };
    for (std::size_t place = 0; place < places.size(); ++place)
    {
        reset();
        places[place]();
        EXPECT_THROW(manager.addThreadedCommand(a), Stranger) << place;
        expectIdle();
        if (place + 1 != places.size())
        {
            EXPECT_THAT(takeJournal(), Not(Contains(HasSubstr("failed")))) << place;
        }
    }
}

TEST_F(WorkerSlotOrder, AStrangeExceptionPassesThroughAndLeavesTheSlotEmptyInAFinalization)
{
    const auto reset = [this]
    {
        a = makeThread("A");
        modules->onAsk = nullptr;
        modules->onMark = nullptr;
        onSignal = nullptr;
        threads->onCall = nullptr;
        LegacyProgress::onCall = nullptr;
    };
    const auto failAt = [this](const std::string& operation)
    {
        a->on[operation] = failStrangely;
    };
    const std::vector<std::function<void()>> places = {
        [&] { failAt("prepareRun"); },
        [&] { failAt("run"); },
        [&] { failAt("finishRun"); },
        [&] { failAt("isAddable"); },
        [this] { noteEndOf(a, failStrangely); },
        [this] { modules->onAsk = failStrangely; },
        [this] { modules->onMark = failStrangely; },
        [this] { atSignal("queueChanged", failStrangely); },
        [this] { atSignal("executed", failStrangely); },
        [this] { atSignal("finished", failStrangely); },
        [this]
        {
            threads->onCall = [](const std::string& call)
            {
                if (call == "threads.finalizeThread")
                {
                    failStrangely();
                }
            };
        },
        [this]
        {
            a->on["run"] = [this]
            {
                threads->abortThreadExecution();
            };
            LegacyProgress::onCall = [](const std::string&)
            {
                failStrangely();
            };
        },
        // On top of another failure, in each step of its handling.
        [this]
        {
            a->on["run"] = fail;
            LegacyProgress::onCall = [](const std::string&)
            {
                failStrangely();
            };
        },
        [this]
        {
            a->on["run"] = fail;
            noteEndOf(a, failStrangely);
        },
        [this]
        {
            a->on["run"] = fail;
            atSignal("failed", failStrangely);
        },
        [this]
        {
            a->on["run"] = fail;
            atSignal("finished", failStrangely);
        },
    };
    for (std::size_t place = 0; place < places.size(); ++place)
    {
        reset();
        places[place]();
        manager.addThreadedCommand(a);
        EXPECT_THROW(manager.finalizeThread(), Stranger) << place;
        expectIdle();
        threads->onCall = nullptr;
        threads->finalizeThread();
    }
}

TEST_F(WorkerSlotOrder, AStrangeExceptionPassesThroughAtTheStart)
{
    atSignal("started", failStrangely);
    EXPECT_THROW(manager.addThreadedCommand(a), Stranger);
    expectIdle();
    manager.finalizeThread();
    threads->onCall = [](const std::string&)
    {
        failStrangely();
    };
    EXPECT_THROW(manager.addThreadedCommand(a), Stranger);
    expectIdle();
}

TEST_F(WorkerSlotOrder, WhatAbortRunThrowsReachesTheCallerAndTheRunIsStillUnderWay)
{
    startA();
    a->on["abortRun"] = fail;
    EXPECT_THROW(manager.abortThreadedCommand(), std::runtime_error);
    EXPECT_EQ(manager.getCurrentThreadedCommand(), a);
    EXPECT_TRUE(manager.isProcessingCommand());
    takeJournal();
    manager.finalizeThread();
    EXPECT_EQ(takeJournal().back(), " - finished [|]");
    expectIdle();
}

TEST_F(WorkerSlotOrder, ASlotOfRunFinishedMayStartAnotherCommandWhichThenStaysUnderWay)
{
    noteEndOf(a, [this] { manager.addThreadedCommand(b); });
    startA();

    manager.finalizeThread();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(work + told +
                                 Lines{"*A runFinished(true, A)", "*B threads.addThread(B)", "*B started [|]",
                                       "*B A.isAddable", "*B modules.modified", "*B modules.mark",
                                       "*B queueChanged 3 [A|]", "*B executed [A|]", "*B finished [A|]"}));
    EXPECT_EQ(manager.getCurrentThreadedCommand(), b);
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(),
                ElementsAre("*B threads.finalizeThread", "*B B.prepareRun", "*B B.run", "*B B.finishRun",
                            "*B thread B.sendFinishSignal(true)", " - B.isAddable", " - modules.modified",
                            " - modules.mark", " - queueChanged 3 [B A|]", " - executed [B A|]",
                            " - finished [B A|]"));
    expectIdle();
}

TEST_F(WorkerSlotOrder, ASlotOfRunFinishedMayRunAnotherCommandSynchronously)
{
    beSynchronous();
    noteEndOf(a, [this] { manager.addThreadedCommand(b); });

    manager.addThreadedCommand(a);

    EXPECT_THAT(takeJournal(), ElementsAreArray(Lines{"*A threads.addThread(A)",
                                                      "*A A.prepareRun",
                                                      "*A A.run",
                                                      "*A A.finishRun",
                                                      "*A thread A.sendFinishSignal(true)",
                                                      "*A runFinished(true, A)",
                                                      "*B threads.addThread(B)",
                                                      "*B B.prepareRun",
                                                      "*B B.run",
                                                      "*B B.finishRun",
                                                      "*B thread B.sendFinishSignal(true)",
                                                      " - B.isAddable",
                                                      " - modules.modified",
                                                      " - modules.mark",
                                                      " - queueChanged 3 [B|]",
                                                      " - executed [B|]",
                                                      " - A.isAddable",
                                                      " - modules.modified",
                                                      " - modules.mark",
                                                      " - queueChanged 3 [A B|]",
                                                      " - executed [A B|]"}));
    expectIdle();
}

TEST_F(WorkerSlotOrder, ASlotOfRunFinishedMayStartAnotherCommandInAFailedFinalization)
{
    a->on["run"] = fail;
    noteEndOf(a, [this] { manager.addThreadedCommand(b); });
    startA();

    manager.finalizeThread();

    EXPECT_THAT(takeJournal(),
                ElementsAre("*A threads.finalizeThread", "*A A.prepareRun", "*A A.run",
                            "*A A.progress.setComplete", "*A thread A.sendFinishSignal(false)",
                            "*A runFinished(false, A)", "*B threads.addThread(B)", "*B started [|]",
                            "*B error: Thread finalization of command 'A' failed with exception: no power",
                            "*B failed(no power, A) [|]", "*B finished [|]"));
}

TEST_F(WorkerSlotOrder, ACommandThatFailedMayBeStartedAgainByTheSlotThatIsToldSo)
{
    a->on["run"] = fail;
    noteEndOf(a,
              [this]
              {
                  a->on.clear();
                  manager.addThreadedCommand(a);
              });
    startA();

    manager.finalizeThread();

    EXPECT_THAT(takeJournal(),
                ElementsAre("*A threads.finalizeThread", "*A A.prepareRun", "*A A.run",
                            "*A A.progress.setComplete", "*A thread A.sendFinishSignal(false)",
                            "*A runFinished(false, A)", "*A threads.addThread(A)", "*A started [|]",
                            "*A error: Thread finalization of command 'A' failed with exception: no power",
                            "*A failed(no power, A) [|]", "*A finished [|]"));
    EXPECT_EQ(manager.getCurrentThreadedCommand(), a);
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(), ElementsAreArray(work + told + queued + over));
    expectIdle();
}

TEST_F(WorkerSlotOrder, ACommandThatWasAbortedMayBeStartedAgainByTheSlotThatIsToldSo)
{
    noteEndOf(a, [this] { manager.addThreadedCommand(a); });
    startA();
    manager.abortThreadedCommand();
    takeJournal();

    manager.finalizeThread();

    // Its progress belongs to the new run.
    EXPECT_THAT(
        takeJournal(),
        ElementsAreArray(work + Lines{"*A thread A.sendFinishSignal(false)", "*A runFinished(false, A)",
                                      "*A threads.addThread(A)", "*A started [|]", "*A finished [|]"}));
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(), ElementsAreArray(work + told + queued + over));
    expectIdle();
}

TEST_F(WorkerSlotOrder, FinalizingFromASlotOfRunFinishedIsNotFinalizingTwice)
{
    noteEndOf(a, [this] { manager.finalizeThread(); });
    startA();
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(work + told + Lines{"*A runFinished(true, A)"} + queued + over));

    noteEndOf(b, [this] { manager.finalizeThread(); });
    manager.addThreadedCommand(b);
    manager.abortThreadedCommand();
    manager.finalizeThread();
    EXPECT_EQ(queues(), "[A|]");
    takeJournal();

    beSynchronous();
    noteEndOf(b, [this] { manager.finalizeThread(); });
    manager.addThreadedCommand(b);
    EXPECT_THAT(takeJournal(),
                ElementsAre("*B threads.addThread(B)", "*B B.prepareRun", "*B B.run", "*B B.finishRun",
                            "*B thread B.sendFinishSignal(true)", "*B runFinished(true, B)", " - B.isAddable",
                            " - modules.modified", " - modules.mark", " - queueChanged 3 [B A|]",
                            " - executed [B A|]"));
    expectIdle();
}

TEST_F(WorkerSlotOrder, FinalizingFromWithinASynchronousRunDoesNothing)
{
    beSynchronous();
    a->on["run"] = [this]
    {
        manager.finalizeThread();
    };
    manager.addThreadedCommand(a);
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{"*A threads.addThread(A)", "*A A.prepareRun", "*A A.run",
                                       "*A A.finishRun", "*A thread A.sendFinishSignal(true)"} +
                                 queued));
}

TEST_F(WorkerSlotOrder, FinalizingWhileALineOfASynchronousRunIsWrittenDoesNothing)
{
    beSynchronous();
    Logging::traceEnabled = true;
    Logging::onLine = [this](const std::string&)
    {
        manager.finalizeThread();
    };
    manager.addThreadedCommand(a);
    EXPECT_THAT(
        takeJournal(),
        ElementsAreArray(Lines{"*A trace: Execute command 'A'...", "*A threads.addThread(A)",
                               "*A A.prepareRun", "*A A.run", "*A A.finishRun",
                               "*A thread A.sendFinishSignal(true)", "*A trace: Command 'A' executed."} +
                         queued));
}

TEST_F(WorkerSlotOrder, ASlotOfStartedMayFinalizeAtOnce)
{
    atSignal("started", [this] { manager.finalizeThread(); });
    manager.addThreadedCommand(a);
    EXPECT_THAT(takeJournal(), ElementsAreArray(start + work + told + queued + over));
    expectIdle();
}

TEST_F(WorkerSlotOrder, ASlotOfStartedMayAbort)
{
    atSignal("started", [this] { manager.abortThreadedCommand(); });
    manager.addThreadedCommand(a);
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(),
                ElementsAreArray(start + Lines{"*A threads.abortThreadExecution", "*A A.abortRun"} + work +
                                 Lines{"*A thread A.sendFinishSignal(false)", " - A.progress.setComplete",
                                       " - finished [|]"}));
}

TEST_F(WorkerSlotOrder, SlotsOfStartedAndFinishedAreCalledInTheOrderOfTheirConnections)
{
    const Signals::Connection secondStarted =
        manager.connectToSigThreadedCommandStarted([] { note("second started"); });
    const Signals::Connection secondFinished =
        manager.connectToSigThreadedCommandFinished([] { note("second finished"); });
    manager.addThreadedCommand(a);
    manager.finalizeThread();
    EXPECT_THAT(takeJournal(), ElementsAreArray(start + Lines{"*A second started"} + work + told + queued +
                                                over + Lines{" - second finished"}));
}

TEST_F(WorkerSlotOrder, SlotsOfTheManagersSignalsMayStartTheNextCommand)
{
    for (const std::string signal : {"queueChanged", "executed", "finished"})
    {
        atSignal(signal, [this] { manager.addThreadedCommand(b); });
        startA();
        manager.finalizeThread();
        EXPECT_EQ(takeJournal().back(), signal == "finished" ? "*B started [A|]" : "*B finished [A|]");
        EXPECT_EQ(manager.getCurrentThreadedCommand(), b) << signal;
        EXPECT_TRUE(manager.isProcessingCommand()) << signal;
        manager.finalizeThread();
        EXPECT_EQ(queues(), "[B A|]");
        expectIdle();
        manager.takeLastExecutedCommand();
        manager.takeLastExecutedCommand();
    }
}

TEST_F(WorkerSlotOrder, ASlotOfFailedMayStartTheNextCommand)
{
    a->on["run"] = fail;
    atSignal("failed", [this] { manager.addThreadedCommand(b); });
    startA();
    manager.finalizeThread();
    EXPECT_EQ(takeJournal().back(), "*B finished [|]");
    EXPECT_EQ(manager.getCurrentThreadedCommand(), b);
}

TEST_F(WorkerSlotOrder, TheModuleInterfaceMayStartTheNextCommandAndFailThen)
{
    modules->onAsk = [this]
    {
        manager.addThreadedCommand(b);
        fail();
    };
    startA();
    manager.finalizeThread();
    const Lines lines = takeJournal();
    EXPECT_THAT(lines, Not(Contains("*B B.progress.setComplete")));
    EXPECT_EQ(lines.back(), "*B finished [|]");
    EXPECT_EQ(manager.getCurrentThreadedCommand(), b);
    EXPECT_TRUE(manager.isProcessingCommand());
}

TEST_F(WorkerSlotOrder, OtherOperationsWorkWhileARunIsUnderWay)
{
    startA();
    add("C");
    EXPECT_EQ(manager.getCurrentThreadedCommand(), a);
    EXPECT_TRUE(manager.undo(1));
    takeJournal();
    manager.finalizeThread();
    EXPECT_EQ(queues(), "[A|]");
    expectIdle();
}

TEST_F(WorkerSlotOrder, WhatWaitsToBeMergedIsMergedIntoTheThreadedCommandThatIsQueued)
{
    manager.addCommandToMergeWithNextCommand(std::make_shared<RecordingCommand>("C"), true);
    startA();
    EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(std::make_shared<RecordingCommand>("D"), false));
    EXPECT_TRUE(manager.isProcessingCommand());
    manager.finalizeThread();
    takeJournal();

    const auto macro = std::dynamic_pointer_cast<MacroCommand>(manager.takeLastExecutedCommand());
    ASSERT_NE(macro, nullptr);
    EXPECT_EQ(macro->getDescription(), "A");
    EXPECT_TRUE(macro->getUseForwardUndoOrder());
    EXPECT_EQ(macro->getFirstCommand(), a);
    EXPECT_EQ(macro->size(), 3U);
}

TEST_F(WorkerSlotOrder, AQueuedThreadedCommandIsUndoneAndRedoneOnTheCallersThread)
{
    startA();
    manager.finalizeThread();
    takeJournal();

    EXPECT_TRUE(manager.undo(1));
    EXPECT_TRUE(manager.redo(1));

    EXPECT_THAT(takeJournal(), ElementsAre("*- progress.setSubProgress(A.progress, 100, 1)", "*- A.undo",
                                           " - modules.mark", " - undone [|A]", " - queueChanged 0 [|A]",
                                           "*- progress.setSubProgress(A.progress, 100, 1)",
                                           "*- A.prepareRun", "*- A.run", "*- A.finishRun", " - modules.mark",
                                           " - executed [A|]", " - queueChanged 1 [A|]"));
}

TEST_F(WorkerSlotOrder, ThreadedCommandsMoveFromACollectorToItsTarget)
{
    CommandCollector collector(manager);
    collector.connect(true);
    CommandManager& source = *collector.getCommandManager();
    source.addThreadedCommand(a);
    EXPECT_EQ(source.getCurrentThreadedCommand(), a);
    source.finalizeThread();
    EXPECT_EQ(queues(), "[A|]");
    EXPECT_FALSE(source.canUndo());

    const auto macro = std::make_shared<OpenMacro>("M");
    macro->addCommand(b);
    source.getThreadManager()->mode = 0;
    source.addThreadedCommand(macro);
    EXPECT_EQ(queues(), "[M A|]");
    EXPECT_EQ(collector.getExecutedCommands()->size(), 2U);
}

TEST_F(WorkerSlotOrder, ThePreviousContentOfTheSlotIsReleased)
{
    const std::weak_ptr<RecordingThread> previous = a;
    manager.addThreadedCommand(a);
    a.reset();
    manager.addThreadedCommand(b);
    EXPECT_FALSE(previous.expired());
    manager.finalizeThread();
    EXPECT_TRUE(previous.expired());
}

TEST_F(WorkerSlotOrder, TheThreadManagerIsTheSameForTheWholeLifeOfTheManager)
{
    EXPECT_NE(threads, nullptr);
    startA();
    EXPECT_EQ(manager.getThreadManager(), threads);
    manager.finalizeThread();
    EXPECT_EQ(manager.getThreadManager(), threads);
}

} // namespace
} // namespace Valdane

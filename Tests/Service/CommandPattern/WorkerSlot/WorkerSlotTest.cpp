#include "Service/CommandPattern/WorkerSlot.h"

#include "Tests/Support/Failures.h"
#include "Tests/Support/RecordingCommand.h"
#include "Tests/Support/ThreadJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <source_location>
#include <string>
#include <utility>

namespace Valdane
{
namespace
{

using testing::ElementsAre;
using testing::ElementsAreArray;

std::string nameOf(const CommandBase* command)
{
    return command == nullptr ? "nobody" : command->getDescription();
}

/// Notes what it is asked for, then does what the test has put in.
class RecordingOwner final : public WorkerSlot::Owner
{
public:
    void queue(std::shared_ptr<CommandBase> command) override
    {
        act("queue", " " + command->getDescription());
    }

    void setProcessing(bool processing) override
    {
        act(processing ? "processing" : "idle");
    }

    void tellStarted() override
    {
        act("started");
    }

    void tellExecuted() override
    {
        act("executed");
    }

    void tellFinished() override
    {
        act("finished");
    }

    void reportRunFailure(const std::exception& exception, const char* context,
                          const CommandBase* command) override
    {
        act("report", std::string(" ") + context + " of " + nameOf(command) + ": " + exception.what());
    }

    void logFurtherFailure(const std::exception& exception, const char* context,
                           const CommandBase* command) override
    {
        act("log", std::string(" ") + context + " of " + nameOf(command) + ": " + exception.what());
    }

    std::map<std::string, std::function<void()>> on;

private:
    void act(const std::string& operation, const std::string& what = "")
    {
        note(operation + what);
        if (const auto found = on.find(operation); found != on.end())
        {
            // A copy, since it may replace itself.
            const std::function<void()> action = found->second;
            action();
        }
    }
};

class WorkerSlotAlone : public testing::Test
{
protected:
    WorkerSlotAlone()
    {
        Logging::traceEnabled = false;
        takeJournal();
    }

    ~WorkerSlotAlone() override
    {
        takeJournal();
    }

    void start(const std::shared_ptr<RecordingThread>& command)
    {
        slot.start(command, std::source_location::current());
    }

    const Logging log{"Tests/WorkerSlot"};
    RecordingOwner owner;
    WorkerSlot slot{owner, log};
    std::shared_ptr<ThreadManager> threads = slot.getThreadManager();
    std::shared_ptr<RecordingThread> a = std::make_shared<RecordingThread>("A");
    std::shared_ptr<RecordingThread> b = std::make_shared<RecordingThread>("B");
    std::shared_ptr<OpenMacro> macro = std::make_shared<OpenMacro>("M");
};

TEST_F(WorkerSlotAlone, BeginsARunAndEndsItWithItsLastStep)
{
    EXPECT_TRUE(slot.isEmpty());
    EXPECT_EQ(slot.getCommand(), nullptr);

    start(a);

    EXPECT_THAT(takeJournal(), ElementsAre("processing", "threads.addThread(A)", "started"));
    EXPECT_FALSE(slot.isEmpty());
    EXPECT_EQ(slot.getCommand(), a);

    slot.finalize();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{"threads.finalizeThread", "A.prepareRun", "A.run", "A.finishRun",
                                       "thread A.sendFinishSignal(true)", "idle", "A.isAddable", "queue A",
                                       "executed", "finished"}));
    EXPECT_TRUE(slot.isEmpty());
}

TEST_F(WorkerSlotAlone, RunsSynchronouslyFromStartToEnd)
{
    threads->mode = 0;
    Logging::traceEnabled = true;

    start(a);

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{"processing", "trace: Execute command 'A'...", "threads.addThread(A)",
                                       "A.prepareRun", "A.run", "A.finishRun",
                                       "thread A.sendFinishSignal(true)", "trace: Command 'A' executed.",
                                       "idle", "A.isAddable", "queue A", "executed"}));
    EXPECT_TRUE(slot.isEmpty());
}

TEST_F(WorkerSlotAlone, EndsAMacroWithoutThreadsInItsStart)
{
    macro->addCommand(std::make_shared<RecordingCommand>("x"));

    slot.start(macro);

    EXPECT_THAT(takeJournal(), testing::Contains("x.execute"));
    EXPECT_TRUE(slot.isEmpty());
}

TEST_F(WorkerSlotAlone, TakesAMacroOneStepForEachThread)
{
    macro->addCommand(a);
    macro->addCommand(b);
    slot.start(macro);
    takeJournal();

    slot.finalize();
    EXPECT_EQ(slot.getCommand(), macro);
    EXPECT_THAT(takeJournal(), testing::Not(testing::Contains("queue M")));

    slot.finalize();
    EXPECT_TRUE(slot.isEmpty());
    EXPECT_THAT(takeJournal(), testing::IsSupersetOf({"idle", "queue M", "executed", "finished"}));
}

TEST_F(WorkerSlotAlone, ReportsARunThatCannotStartWithoutAnEnd)
{
    threads->addThread(b);
    takeJournal();

    start(a);

    EXPECT_THAT(takeJournal(),
                ElementsAre("processing", "threads.addThread(A)", "idle", "report Execution of A: busy"));
    EXPECT_TRUE(slot.isEmpty());
}

TEST_F(WorkerSlotAlone, RollsAMacroBackThatCannotStart)
{
    threads->addThread(b);
    macro->addCommand(std::make_shared<RecordingCommand>("x"));
    macro->addCommand(a);
    slot.start(macro);

    const Lines lines = takeJournal();
    EXPECT_THAT(lines, testing::Contains("x.undo"));
    EXPECT_THAT(Lines(lines.end() - 3, lines.end()),
                ElementsAre("idle", "report Threaded execution of M: busy", "finished"));
}

TEST_F(WorkerSlotAlone, EndsAStepThatFailsInOneWay)
{
    a->on["run"] = fail;
    start(a);
    takeJournal();

    slot.finalize();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{"threads.finalizeThread", "A.prepareRun", "A.run",
                                       "A.progress.setComplete", "thread A.sendFinishSignal(false)", "idle",
                                       "report Thread finalization of A: no power", "finished"}));
    EXPECT_TRUE(slot.isEmpty());
}

TEST_F(WorkerSlotAlone, LogsWhatFailsWhileAFailedRunEnds)
{
    a->on["run"] = fail;
    a->connectToRunFinishedSignal([](bool, const CommandBase*) { failAgain(); });
    owner.on["finished"] = failAgain;
    start(a);
    takeJournal();

    slot.finalize();

    const Lines lines = takeJournal();
    EXPECT_THAT(Lines(lines.end() - 5, lines.end()),
                ElementsAre("log Thread finalization of A: stuck", "idle",
                            "report Thread finalization of A: no power", "finished",
                            "log Thread finalization of A: stuck"));
}

TEST_F(WorkerSlotAlone, LetsStrangersThroughWithAnEmptySlot)
{
    owner.on["started"] = failStrangely;
    EXPECT_THROW(start(a), Stranger);
    EXPECT_TRUE(slot.isEmpty());
    EXPECT_EQ(takeJournal().back(), "idle");
    owner.on.clear();
    slot.finalize();

    b->on["run"] = failStrangely;
    start(b);
    EXPECT_THROW(slot.finalize(), Stranger);
    EXPECT_TRUE(slot.isEmpty());
}

TEST_F(WorkerSlotAlone, DoesNotCleanUpARunThatHasLeftIt)
{
    owner.on["queue"] = fail;
    start(a);
    takeJournal();

    slot.finalize();

    const Lines lines = takeJournal();
    EXPECT_THAT(lines, testing::Not(testing::Contains("thread A.sendFinishSignal(false)")));
    EXPECT_THAT(Lines(lines.end() - 4, lines.end()),
                ElementsAre("queue A", "idle", "report Thread finalization of A: no power", "finished"));
}

TEST_F(WorkerSlotAlone, KeepsARunThatBeginsWhileAnotherOneEnds)
{
    owner.on["executed"] = [this]
    {
        owner.on.clear();
        start(b);
    };
    start(a);

    slot.finalize();

    EXPECT_EQ(slot.getCommand(), b);
    EXPECT_EQ(threads->getCurrentThread(), b);
}

TEST_F(WorkerSlotAlone, KeepsTheNextRunOfTheSameCommandToo)
{
    a->on["run"] = fail;
    owner.on["report"] = [this]
    {
        owner.on.clear();
        start(a);
    };
    start(a);

    slot.finalize();

    EXPECT_EQ(slot.getCommand(), a);
}

TEST_F(WorkerSlotAlone, IgnoresAFinalizationFromWithinItsOwnStep)
{
    const auto x = std::make_shared<RecordingCommand>("x");
    x->onExecute = [this]
    {
        slot.finalize();
    };
    macro->addCommand(x);
    macro->addCommand(a);

    slot.start(macro);

    EXPECT_THAT(takeJournal(), testing::Not(testing::Contains("threads.finalizeThread")));
    EXPECT_EQ(slot.getCommand(), macro);
}

TEST_F(WorkerSlotAlone, FinalizesTheThreadOfARunThatLostItsPlace)
{
    start(a);
    start(b);
    takeJournal();
    EXPECT_TRUE(slot.isEmpty());

    slot.finalize();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{"threads.finalizeThread", "A.prepareRun", "A.run", "A.finishRun",
                                       "thread A.sendFinishSignal(true)", "idle"}));
}

TEST_F(WorkerSlotAlone, NamesTheCommandOfARunThatLostItsPlaceAndFails)
{
    a->on["run"] = fail;
    start(a);
    start(b);
    takeJournal();

    slot.finalize();

    EXPECT_THAT(takeJournal(),
                ElementsAreArray(Lines{"threads.finalizeThread", "A.prepareRun", "A.run", "idle",
                                       "report Thread finalization of A: no power", "finished"}));
}

TEST_F(WorkerSlotAlone, DestroysARunThatLosesItsPlaceWhenTheNextOneHasIt)
{
    class DyingMacro : public OpenMacro
    {
    public:
        DyingMacro(WorkerSlot& workerSlot) : OpenMacro("D"), slot(workerSlot) {}

        DyingMacro(const DyingMacro&) = delete;
        DyingMacro& operator=(const DyingMacro&) = delete;

        ~DyingMacro() override
        {
            note("D dies, " + nameOf(slot.getCommand().get()) + " has the slot");
            slot.finalize();
        }

    private:
        WorkerSlot& slot;
    };

    auto dying = std::make_shared<DyingMacro>(slot);
    dying->addCommand(a);
    slot.start(dying);
    dying.reset();
    takeJournal();

    start(b);

    // What it asks to finalize is its own thread, not that of the next run.
    EXPECT_THAT(takeJournal(), ElementsAreArray(Lines{"processing", "D dies, B has the slot",
                                                      "threads.finalizeThread", "A.prepareRun", "A.run",
                                                      "A.finishRun", "thread A.sendFinishSignal(true)",
                                                      "threads.addThread(B)", "started"}));
    EXPECT_EQ(slot.getCommand(), b);
}

TEST_F(WorkerSlotAlone, AFinalizationFromTheRollBackOfAMacroThatCannotStartIsThatOfTheOtherThread)
{
    threads->addThread(b);
    const auto finalizing = std::make_shared<RecordingCommand>("x");
    finalizing->onUndo = [this]
    {
        slot.finalize();
    };
    macro->addCommand(finalizing);
    macro->addCommand(a);
    slot.start(macro);

    const Lines lines = takeJournal();
    EXPECT_THAT(
        Lines(std::ranges::find(lines, "x.undo"), lines.end()),
        ElementsAreArray(Lines{"x.undo", "threads.finalizeThread", "B.prepareRun", "B.run", "B.finishRun",
                               "thread B.sendFinishSignal(true)", "M.progress.setComplete", "idle",
                               "report Threaded execution of M: busy", "finished"}));
}

TEST_F(WorkerSlotAlone, ForwardsAnAbort)
{
    start(a);
    takeJournal();

    slot.abort();
    EXPECT_THAT(takeJournal(), ElementsAre("threads.abortThreadExecution", "A.abortRun"));

    slot.finalize();
    EXPECT_THAT(takeJournal(), ElementsAreArray(Lines{"threads.finalizeThread", "A.prepareRun", "A.run",
                                                      "A.finishRun", "thread A.sendFinishSignal(false)",
                                                      "idle", "A.progress.setComplete", "finished"}));
}

TEST_F(WorkerSlotAlone, LetsGoOfTheThreadManagerWhenItShutsDown)
{
    const std::weak_ptr<ThreadManager> watched = threads;

    slot.shutDown();
    EXPECT_FALSE(watched.expired());

    threads.reset();
    EXPECT_TRUE(watched.expired());
}

} // namespace
} // namespace Valdane

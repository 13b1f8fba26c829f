#include "Service/CommandPattern/ThreadedCommand.h"

#include "Service/CommandPattern/CommandCollector.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ScriptedCommand.h"
#include "Tests/Support/ScriptedRun.h"
#include "Tests/Support/ThreadingTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;
using ValdaneTests::Gate;

class AThreadedCommand : public ThreadingTest
{
protected:
    /// Appends the name to the text in its run, and takes it away again in its undo.
    std::shared_ptr<ScriptedRun> makeAppending(const std::string& name)
    {
        auto command = std::make_shared<ScriptedRun>(name);
        command->onRun = [this, name]
        {
            text += name;
        };
        command->onUndo = [this]
        {
            text.pop_back();
        };
        return command;
    }

    std::string text;
};

TEST_F(AThreadedCommand, RunsOnTheWorkerAndIsToldOfItsEndOnTheCallersThread)
{
    const auto command = std::make_shared<HeldRun>("A");
    std::thread::id finisher;
    std::thread::id teller;
    command->onFinishRun = [&]
    {
        finisher = std::this_thread::get_id();
    };
    command->connectToRunFinishedSignal(
        [&](bool ok, const CommandBase* ended)
        {
            EXPECT_TRUE(ok);
            EXPECT_EQ(ended, command.get());
            teller = std::this_thread::get_id();
        });

    manager->addThreadedCommand(command);
    command->waitUntilHeld();
    EXPECT_TRUE(manager->isProcessingCommand());
    EXPECT_EQ(manager->getCurrentThreadedCommand(), command);
    EXPECT_FALSE(threads->isRunEnded());
    EXPECT_THAT(signals, ElementsAre("started"));

    command->release();
    manager->finalizeThread();
    EXPECT_NE(finisher, std::this_thread::get_id());
    EXPECT_EQ(teller, std::this_thread::get_id());
    EXPECT_EQ(command->endedRuns, 1);
    EXPECT_THAT(signals, ElementsAre("started", "executed", "finished"));
    EXPECT_EQ(manager->getUndoCommand(), command);
    expectIdle();
}

TEST_F(AThreadedCommand, LeavesTheCallersThreadFreeForOtherCommands)
{
    const auto command = std::make_shared<HeldRun>("A");
    manager->addThreadedCommand(command);
    command->waitUntilHeld();

    EXPECT_TRUE(manager->addCommand(std::make_shared<ScriptedCommand>("B")));
    EXPECT_TRUE(manager->undo(1));
    EXPECT_EQ(manager->getCurrentThreadedCommand(), command);

    command->release();
    manager->finalizeThread();
    EXPECT_THAT(manager->collectUndoCommandDescriptions(), ElementsAre("A"));
    EXPECT_FALSE(manager->canRedo());
}

TEST_F(AThreadedCommand, ThatIsAbortedIsNotQueuedNorUndone)
{
    const auto command = std::make_shared<HeldRun>("A");
    bool undone = false;
    command->onUndo = [&]
    {
        undone = true;
    };
    manager->addThreadedCommand(command);
    command->waitUntilHeld();

    manager->abortThreadedCommand();
    EXPECT_EQ(manager->getCurrentThreadedCommand(), command);
    manager->finalizeThread();

    EXPECT_EQ(command->endedRuns, 1);
    EXPECT_FALSE(undone);
    EXPECT_FALSE(manager->canUndo());
    EXPECT_EQ(command->getProgress()->fraction(), 1.0);
    EXPECT_THAT(signals, ElementsAre("started", "finished"));
    expectIdle();

    // Run again, it is not aborted any more.
    manager->addThreadedCommand(command);
    manager->finalizeThread();
    EXPECT_EQ(manager->getUndoCommand(), command);
}

TEST_F(AThreadedCommand, ThatFailsOnTheWorkerIsReportedOnTheCallersThread)
{
    const auto command = std::make_shared<ScriptedRun>("A");
    command->onRun = []
    {
        throw std::runtime_error("no power");
    };
    bool told = true;
    command->connectToRunFinishedSignal([&](bool ok, const CommandBase*) { told = ok; });
    manager->addThreadedCommand(command);
    manager->finalizeThread();
    EXPECT_THAT(signals, ElementsAre("started", "failed A: no power", "finished"));
    EXPECT_FALSE(told);
    EXPECT_EQ(command->getProgress()->fraction(), 1.0);
    EXPECT_FALSE(manager->canUndo());
    expectIdle();
}

TEST_F(AThreadedCommand, ThatFailsStrangelyPassesThroughItsFinalization)
{
    const auto command = std::make_shared<ScriptedRun>("A");
    command->onRun = []
    {
        throw 42;
    };
    manager->addThreadedCommand(command);
    EXPECT_THROW(manager->finalizeThread(), int);
    EXPECT_THAT(signals, ElementsAre("started"));
    expectIdle();
}

TEST_F(AThreadedCommand, InSynchronousModeRunsWithinTheCall)
{
    threads->setThreadingMode(0);
    const auto command = makeAppending("a");
    manager->addThreadedCommand(command);
    EXPECT_EQ(text, "a");
    EXPECT_THAT(signals, ElementsAre("executed"));
    expectIdle();
    command->onRun = []
    {
        throw std::runtime_error("no power");
    };
    manager->addThreadedCommand(command);
    EXPECT_THAT(signals, ElementsAre("executed", "failed a: no power"));
    expectIdle();
}

TEST_F(AThreadedCommand, IsUndoneAndRedone)
{
    for (const char* name : {"a", "b", "c"})
    {
        manager->addThreadedCommand(makeAppending(name));
        manager->finalizeThread();
    }
    EXPECT_TRUE(manager->undo(2));
    EXPECT_EQ(text, "a");
    EXPECT_TRUE(manager->redo(2));
    EXPECT_EQ(text, "abc");
}

TEST_F(AThreadedCommand, IsFinalizedByAnEventLoopThatTheRunEndedCallbackPostsTo)
{
    Gate posted;
    threads->setRunEndedCallback([&] { posted.open(); });
    manager->addThreadedCommand(makeAppending("a"));
    posted.waitUntilOpen();
    EXPECT_TRUE(threads->isRunEnded());
    manager->finalizeThread();
    EXPECT_EQ(text, "a");
    expectIdle();
}

TEST_F(AThreadedCommand, ShowsItsProgressWhileItRuns)
{
    const auto command = std::make_shared<HeldRun>("A");
    const std::shared_ptr<LegacyProgress> progress = command->getProgress();
    const auto wait = command->onRun;
    command->onRun = [progress, wait]
    {
        progress->moveTo(LegacyProgress::FullRange / 2);
        wait();
        progress->setComplete();
    };
    manager->addThreadedCommand(command);
    command->waitUntilHeld();
    EXPECT_EQ(progress->fraction(), 0.5);
    command->release();
    manager->finalizeThread();
    EXPECT_EQ(progress->fraction(), 1.0);
}

TEST_F(AThreadedCommand, CanStartTheNextOneFromItsEndInBothModes)
{
    for (const int mode : {0, 1})
    {
        threads->setThreadingMode(mode);
        text.clear();
        std::function<void(std::size_t)> startFrom;
        const std::vector<std::shared_ptr<ScriptedRun>> chain = {makeAppending("a"), makeAppending("b"),
                                                                 makeAppending("c")};
        startFrom = [&](std::size_t index)
        {
            if (index < chain.size())
            {
                chain[index]->connectToRunFinishedSignal([&, index](bool, const CommandBase*)
                                                         { startFrom(index + 1); });
                manager->addThreadedCommand(chain[index]);
            }
        };

        startFrom(0);
        while (manager->isProcessingCommand())
        {
            manager->finalizeThread();
        }

        EXPECT_EQ(text, "abc");
        EXPECT_EQ(manager->getQueueSize(), 3U);
        expectIdle();
        manager->clear();
    }
}

TEST_F(AThreadedCommand, MayBeStartedAgainByTheSlotThatIsToldOfItsEnd)
{
    int attempts = 0;
    const auto command = makeAppending("a");
    const auto append = command->onRun;
    command->onRun = [&]
    {
        if (++attempts < 3)
        {
            throw std::runtime_error("try again");
        }
        append();
    };
    std::function<void(bool)> retry = [&](bool ok)
    {
        if (!ok)
        {
            command->connectToRunFinishedSignal([&](bool again, const CommandBase*) { retry(again); });
            manager->addThreadedCommand(command);
        }
    };
    retry(false);

    while (manager->isProcessingCommand())
    {
        manager->finalizeThread();
    }

    EXPECT_EQ(attempts, 3);
    EXPECT_EQ(text, "a");
    EXPECT_EQ(manager->getQueueSize(), 1U);
    EXPECT_THAT(signals, ElementsAre("started", "started", "failed a: try again", "finished", "started",
                                     "failed a: try again", "finished", "executed", "finished"));
    expectIdle();
}

TEST_F(AThreadedCommand, IsNotFinalizedFromWithinItsOwnRun)
{
    threads->setThreadingMode(0);
    const auto command = makeAppending("a");
    command->connectToRunFinishedSignal([this](bool, const CommandBase*) { manager->finalizeThread(); });
    command->onFinishRun = [this]
    {
        manager->finalizeThread();
    };
    manager->addThreadedCommand(command);
    EXPECT_EQ(manager->getQueueSize(), 1U);
    EXPECT_THAT(signals, ElementsAre("executed"));
}

TEST_F(AThreadedCommand, KeepsItsThreadWhenASecondOneTakesItsSlot)
{
    const auto first = std::make_shared<HeldRun>("A");
    bool told = false;
    first->connectToRunFinishedSignal([&](bool ok, const CommandBase*) { told = ok; });
    manager->addThreadedCommand(first);
    first->waitUntilHeld();

    manager->addThreadedCommand(makeAppending("b"));
    EXPECT_EQ(signals.size(), 2U);
    EXPECT_EQ(threads->getCurrentThread(), first);
    EXPECT_FALSE(manager->isProcessingCommand());

    first->release();
    manager->finalizeThread();
    EXPECT_TRUE(told);
    EXPECT_FALSE(manager->canUndo());
    expectIdle();
    manager->addThreadedCommand(makeAppending("c"));
    manager->finalizeThread();
    EXPECT_EQ(text, "c");
}

TEST_F(AThreadedCommand, IsRecordedByACollector)
{
    CommandCollector collector(*manager);
    collector.connect(true);
    CommandManager& source = *collector.getCommandManager();
    source.addThreadedCommand(makeAppending("a"));
    source.finalizeThread();
    EXPECT_TRUE(source.addCommand(makeAppending("b")));
    const std::shared_ptr<MacroCommand> recorded = collector.getExecutedCommands();
    EXPECT_EQ(recorded->size(), 2U);
    recorded->undo();
    EXPECT_EQ(text, "");
    recorded->redo();
    EXPECT_EQ(text, "ab");
}

TEST_F(AThreadedCommand, IsWaitedForByItsFinalizationWithoutAnyOtherSign)
{
    const auto command = makeAppending("a");
    manager->addThreadedCommand(command);
    manager->finalizeThread();
    EXPECT_EQ(text, "a");
    manager->finalizeThread();
    manager->abortThreadedCommand();
    EXPECT_THAT(signals, ElementsAre("started", "executed", "finished"));
    EXPECT_EQ(manager->getQueueSize(), 1U);
}

} // namespace
} // namespace Valdane

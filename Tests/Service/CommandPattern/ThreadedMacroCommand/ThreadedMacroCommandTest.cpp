#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include "Service/CommandPattern/DelayedInitializedCommand.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Sanitizers.h"
#include "Tests/Support/ScriptedCommand.h"
#include "Tests/Support/ScriptedRun.h"
#include "Tests/Support/SmallStack.h"
#include "Tests/Support/ThreadingTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

class UnnamedMacro : public ThreadedMacroCommand
{
};

class AThreadedMacro : public ThreadingTest
{
protected:
    AThreadedMacro()
    {
        macro->connectToRunFinishedSignal([this](bool ok, const CommandBase*)
                                          { signals.emplace_back(ok ? "run finished" : "run failed"); });
    }

    /// Calls of the sub-commands, each with "worker: " before it if it is not on the caller's thread.
    void note(const std::string& call)
    {
        calls.push_back((std::this_thread::get_id() == caller ? "" : "worker: ") + call);
    }

    std::shared_ptr<ScriptedRun> makeThread(const std::string& name)
    {
        auto command = std::make_shared<ScriptedRun>(name);
        command->onRun = [this, name]
        {
            note(name + ".run");
        };
        command->onUndo = [this, name]
        {
            note(name + ".undo");
        };
        return command;
    }

    std::shared_ptr<ScriptedCommand> makeOrdinary(const std::string& name)
    {
        auto command = std::make_shared<ScriptedCommand>(name);
        command->onExecute = [this, name]
        {
            note(name + ".execute");
        };
        command->onUndo = [this, name]
        {
            note(name + ".undo");
        };
        return command;
    }

    void fill(const std::vector<std::shared_ptr<CommandBase>>& commands) const
    {
        for (const auto& command : commands)
        {
            macro->addCommand(command);
        }
    }

    void finalizeToTheEnd()
    {
        while (manager->isProcessingCommand())
        {
            manager->finalizeThread();
        }
    }

    const std::thread::id caller = std::this_thread::get_id();
    std::vector<std::string> calls;
    std::shared_ptr<ThreadedMacroCommand> macro = std::make_shared<ThreadedMacroCommand>("M");
};

TEST_F(AThreadedMacro, WithoutANameHasOneAndStopsAtTheFirstFailure)
{
    const UnnamedMacro unnamed;
    EXPECT_EQ(unnamed.getDescription(), "MacroCommand");
    EXPECT_FALSE(unnamed.continueOnException());
}

TEST_F(AThreadedMacro, RunsItsThreadsOnTheWorkerAndTheRestOnTheCallersThread)
{
    const auto nested = std::make_shared<ThreadedMacroCommand>("N");
    nested->addCommand(makeThread("b"));
    nested->addCommand(makeOrdinary("y"));
    fill({makeOrdinary("x"), makeThread("a"), nested,
          std::make_shared<DelayedInitializedCommand>([this] { return makeThread("c"); })});

    manager->addThreadedCommand(macro);
    finalizeToTheEnd();

    EXPECT_THAT(calls,
                ElementsAre("x.execute", "worker: a.run", "worker: b.run", "y.execute", "worker: c.run"));
    EXPECT_THAT(signals, ElementsAre("started", "run finished", "executed", "finished"));
    expectIdle();

    calls.clear();
    EXPECT_TRUE(manager->undo(1));
    EXPECT_THAT(calls, ElementsAre("c.undo", "y.undo", "b.undo", "a.undo", "x.undo"));
    calls.clear();
    EXPECT_TRUE(manager->redo(1));
    EXPECT_THAT(calls, ElementsAre("x.execute", "a.run", "b.run", "y.execute", "c.run"));
}

TEST_F(AThreadedMacro, InSynchronousModeRunsWithinTheCall)
{
    threads->setThreadingMode(0);
    fill({makeThread("a"), makeOrdinary("x"), makeThread("b")});
    manager->addThreadedCommand(macro);
    EXPECT_THAT(calls, ElementsAre("a.run", "x.execute", "b.run"));
    EXPECT_THAT(signals, ElementsAre("run finished", "executed"));
    expectIdle();
}

TEST_F(AThreadedMacro, AbortedInTheThirdOfFiveUndoesThreeAndForgetsTwo)
{
    const auto third = std::make_shared<HeldRun>("c");
    third->onUndo = [this]
    {
        note("c.undo");
    };
    fill({makeThread("a"), makeThread("b"), third, makeThread("d"), makeThread("e")});
    manager->addThreadedCommand(macro);
    manager->finalizeThread();
    manager->finalizeThread();
    third->waitUntilHeld();

    manager->abortThreadedCommand();
    manager->finalizeThread();

    EXPECT_THAT(calls, ElementsAre("worker: a.run", "worker: b.run", "c.undo", "b.undo", "a.undo"));
    EXPECT_THAT(signals, ElementsAre("started", "run failed", "finished"));
    EXPECT_FALSE(manager->canUndo());
    EXPECT_EQ(macro->getProgress()->fraction(), 1.0);
    expectIdle();

    calls.clear();
    manager->addThreadedCommand(macro);
    finalizeToTheEnd();
    EXPECT_EQ(manager->getUndoCommand(), macro);
}

TEST_F(AThreadedMacro, WhoseThreadFailsIsUndone)
{
    const auto failing = makeThread("c");
    failing->onRun = []
    {
        throw std::runtime_error("no power");
    };
    fill({makeThread("a"), makeOrdinary("x"), failing, makeThread("d")});
    manager->addThreadedCommand(macro);
    finalizeToTheEnd();
    EXPECT_THAT(calls, ElementsAre("worker: a.run", "x.execute", "x.undo", "a.undo"));
    EXPECT_THAT(signals, ElementsAre("started", "run failed", "failed M: no power", "finished"));
    expectIdle();
}

TEST_F(AThreadedMacro, MayPassOverFailuresOfItsThreads)
{
    const auto failing = makeThread("b");
    failing->onRun = []
    {
        throw std::runtime_error("no power");
    };
    fill({makeThread("a"), failing, makeThread("c")});
    macro->setContinueOnException(true);
    manager->addThreadedCommand(macro);
    finalizeToTheEnd();
    EXPECT_THAT(calls, ElementsAre("worker: a.run", "worker: c.run"));
    EXPECT_EQ(manager->getUndoCommand(), macro);
}

TEST_F(AThreadedMacro, FollowsTheProgressOfItsThreads)
{
    const auto first = std::make_shared<ScriptedRun>("a");
    first->onRun = [&]
    {
        first->getProgress()->setComplete();
    };
    const auto second = std::make_shared<HeldRun>("b");
    fill({first, second});
    manager->addThreadedCommand(macro);
    manager->finalizeThread();
    second->waitUntilHeld();
    EXPECT_EQ(macro->getProgress()->fraction(), 0.5);
    second->release();
    manager->finalizeThread();
    EXPECT_EQ(macro->getProgress()->fraction(), 1.0);
}

TEST_F(AThreadedMacro, GoesOnBehindANestedOneThatWasAborted)
{
    const auto held = std::make_shared<HeldRun>("b");
    const auto nested = std::make_shared<ThreadedMacroCommand>("N");
    nested->addCommand(makeOrdinary("y"));
    nested->addCommand(held);
    const auto last = makeThread("c");
    const auto run = last->onRun;
    last->onRun = [&, run]
    {
        run();
        last->getProgress()->setComplete();
    };
    fill({nested, last});
    manager->addThreadedCommand(macro);
    held->waitUntilHeld();
    manager->abortThreadedCommand();
    finalizeToTheEnd();
    EXPECT_THAT(calls, ElementsAre("y.execute", "y.undo", "worker: c.run"));
    EXPECT_EQ(manager->getUndoCommand(), macro);
}

// Depth: a million sub-commands on a stack that a few thousand nested calls would overflow. A tenth of them overflow it many
// times over as well, and the sanitizers are slow.

constexpr int aMillion = ValdaneTests::isSanitized ? 100'000 : 1'000'000;

class AThreadedMacroOfAMillion : public ThreadingTest
{
protected:
    AThreadedMacroOfAMillion()
    {
        threads->setThreadingMode(0);
    }

    void fillWith(const std::shared_ptr<CommandBase>& command) const
    {
        for (int i = 0; i < aMillion; ++i)
        {
            macro->addCommand(command);
        }
    }

    int runs = 0;
    int undos = 0;
    std::shared_ptr<ThreadedMacroCommand> macro = std::make_shared<ThreadedMacroCommand>("M", true);
};

TEST_F(AThreadedMacroOfAMillion, OrdinarySubCommandsNeedNoStack)
{
    const auto command = std::make_shared<ScriptedCommand>("x");
    command->onExecute = [this]
    {
        ++runs;
    };
    command->onUndo = [this]
    {
        ++undos;
    };
    fillWith(command);
    for (const int mode : {0, 1})
    {
        threads->setThreadingMode(mode);
        runOnSmallStack([this] { manager->addThreadedCommand(macro); });
    }
    EXPECT_EQ(runs, 2 * aMillion);
    EXPECT_EQ(manager->getQueueSize(), 2U);
    runOnSmallStack([this] { EXPECT_TRUE(manager->undo(1)); });
    EXPECT_EQ(undos, aMillion);
    runOnSmallStack([this] { macro->execute(); });
    EXPECT_EQ(runs, 3 * aMillion);
    expectIdle();
}

TEST_F(AThreadedMacroOfAMillion, SynchronousThreadsNeedNoStack)
{
    const auto command = std::make_shared<ScriptedRun>("a");
    command->onRun = [this]
    {
        ++runs;
    };
    fillWith(command);
    runOnSmallStack([this] { manager->addThreadedCommand(macro); });
    EXPECT_EQ(runs, aMillion);
    EXPECT_EQ(manager->getQueueSize(), 1U);
    expectIdle();
}

TEST_F(AThreadedMacroOfAMillion, PassedOverFailuresNeedNoStack)
{
    const auto command = std::make_shared<ScriptedCommand>("x");
    command->onExecute = [this]
    {
        ++runs;
        throw std::runtime_error("no power");
    };
    fillWith(command);
    macro->setFailCountToThrow(aMillion + 1);
    runOnSmallStack([this] { manager->addThreadedCommand(macro); });
    EXPECT_EQ(runs, aMillion);
    EXPECT_EQ(manager->getQueueSize(), 1U);
}

TEST_F(AThreadedMacroOfAMillion, ARollBackNeedsNoStack)
{
    const auto command = std::make_shared<ScriptedCommand>("x");
    command->onUndo = [this]
    {
        ++undos;
    };
    fillWith(command);
    const auto failing = std::make_shared<ScriptedCommand>("y");
    failing->onExecute = []
    {
        throw std::runtime_error("no power");
    };
    macro->addCommand(failing);
    macro->setContinueOnException(false);
    runOnSmallStack([this] { manager->addThreadedCommand(macro); });
    EXPECT_EQ(undos, aMillion);
    EXPECT_THAT(signals, ElementsAre("failed M: no power"));
    expectIdle();
}

} // namespace
} // namespace Valdane

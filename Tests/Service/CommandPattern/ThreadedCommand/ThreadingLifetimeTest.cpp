#include "Service/CommandPattern/CommandCollector.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ScriptedCommand.h"
#include "Tests/Support/ScriptedRun.h"
#include "Tests/Support/ThreadingTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <queue>
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
using ValdaneTests::Gate;

/// Who lives how long while a run is under way.
class ThreadingLifetime : public ThreadingTest
{
protected:
    ThreadingLifetime()
    {
        // The tests destroy the manager with its threads, unless they keep them.
        threads.reset();
    }

    /// A run that is under way in @p where, held by nobody else.
    static std::weak_ptr<HeldRun> startHeld(CommandManager& where)
    {
        const auto command = std::make_shared<HeldRun>("A");
        where.addThreadedCommand(command);
        command->waitUntilHeld();
        return command;
    }

    bool told = false;
};

TEST_F(ThreadingLifetime, TheManagerMayDieWhileARunGoesOn)
{
    const auto command = std::make_shared<HeldRun>("A");
    command->connectToRunFinishedSignal([this](bool, const CommandBase*) { told = true; });
    manager->addThreadedCommand(command);
    command->waitUntilHeld();

    manager.reset();

    // It was aborted and waited for, and nobody was told.
    EXPECT_EQ(command->endedRuns, 1);
    EXPECT_EQ(command.use_count(), 1);
    EXPECT_FALSE(told);
    EXPECT_THAT(signals, ElementsAre("started"));
}

TEST_F(ThreadingLifetime, TheManagerMayDieBeforeTheWorkerHasBegun)
{
    const auto command = std::make_shared<HeldRun>("A");
    manager->addThreadedCommand(command);
    manager.reset();
    EXPECT_EQ(command->endedRuns, 1);
}

TEST_F(ThreadingLifetime, TheManagerMayDieWhenARunHasEndedOrFailedAndWasNotFinalized)
{
    for (const bool fails : {false, true})
    {
        CommandManager other;
        Gate ended;
        other.getThreadManager()->setRunEndedCallback([&] { ended.open(); });
        const auto command = std::make_shared<ScriptedRun>("A");
        command->onRun = [fails]
        {
            if (fails)
            {
                throw std::runtime_error("no power");
            }
        };
        other.addThreadedCommand(command);
        ended.waitUntilOpen();
    }
}

TEST_F(ThreadingLifetime, TheManagerMayDieAfterAnAbortThatWasNotFinalized)
{
    const std::weak_ptr<HeldRun> command = startHeld(*manager);
    manager->abortThreadedCommand();
    manager.reset();
    EXPECT_TRUE(command.expired());
}

TEST_F(ThreadingLifetime, ARunMayUseWhatTheManagerOwnsUpToItsEndThoughTheManagerIsDying)
{
    const auto command = std::make_shared<HeldRun>("A");
    const auto release = command->onAbort;
    CommandManager& dying = *manager;
    command->onAbort = [&, release]
    {
        EXPECT_EQ(dying.getCurrentThreadedCommand(), command);
        EXPECT_TRUE(dying.isProcessingCommand());
        EXPECT_EQ(dying.collectUndoCommandDescriptions().size(), 1U);
        release();
    };
    manager->addCommand(std::make_shared<ScriptedCommand>("B"));
    manager->addThreadedCommand(command);
    command->waitUntilHeld();
    // Not by reset(), which would empty the pointer first; it is the same destructor.
    std::optional<std::unique_ptr<CommandManager>> owner(std::move(manager));
    owner.reset();
    EXPECT_EQ(command->endedRuns, 1);
}

TEST_F(ThreadingLifetime, WhoListensIsToldUpToTheEndOfARunThoughTheManagerIsDying)
{
    const auto command = std::make_shared<HeldRun>("A");
    const auto release = command->onAbort;
    CommandManager& dying = *manager;
    command->onAbort = [&, release]
    {
        dying.emitSigUndoRedoProcessCompleted();
        release();
    };
    const Signals::Connection listening =
        manager->connectToSigUndoRedoProcessCompleted([this] { told = true; });
    manager->addThreadedCommand(command);
    command->waitUntilHeld();
    std::optional<std::unique_ptr<CommandManager>> owner(std::move(manager));
    owner.reset();
    EXPECT_TRUE(told);
}

TEST_F(ThreadingLifetime, ARunGoesOnIfTheApplicationKeepsTheThreads)
{
    threads = manager->getThreadManager();
    const auto command = std::make_shared<HeldRun>("A");
    command->connectToRunFinishedSignal([this](bool ok, const CommandBase*) { told = ok; });
    manager->addThreadedCommand(command);
    command->waitUntilHeld();

    manager.reset();
    EXPECT_EQ(threads->getCurrentThread(), command);
    command->release();
    threads->finalizeThread();

    EXPECT_TRUE(told);
    EXPECT_EQ(command->endedRuns, 1);
    EXPECT_THAT(signals, ElementsAre("started"));
}

TEST_F(ThreadingLifetime, TheConnectionsMayOutliveTheManager)
{
    startHeld(*manager);
    manager.reset();
    EXPECT_FALSE(started.connected());
    started.disconnect();
    finished = Signals::Connection();
}

TEST_F(ThreadingLifetime, ACommandThatNobodyHoldsLivesUpToTheEndOfItsRun)
{
    const std::weak_ptr<HeldRun> command = startHeld(*manager);
    ASSERT_FALSE(command.expired());
    command.lock()->release();
    manager->finalizeThread();
    // The undo queue holds it now.
    EXPECT_FALSE(command.expired());
    manager->clear();
    EXPECT_TRUE(command.expired());
}

TEST_F(ThreadingLifetime, ACommandThatIsAbortedOrFailsDiesWithItsFinalization)
{
    const std::weak_ptr<HeldRun> aborted = startHeld(*manager);
    manager->abortThreadedCommand();
    manager->finalizeThread();
    EXPECT_TRUE(aborted.expired());

    const std::weak_ptr<HeldRun> failing = startHeld(*manager);
    failing.lock()->onFinishRun = []
    {
        throw std::runtime_error("no power");
    };
    failing.lock()->release();
    manager->finalizeThread();
    EXPECT_TRUE(failing.expired());
    EXPECT_EQ(signals.back(), "finished");
}

TEST_F(ThreadingLifetime, ACommandThatLostTheSlotDiesWithItsFinalization)
{
    const std::weak_ptr<HeldRun> first = startHeld(*manager);
    const auto second = std::make_shared<ScriptedRun>("B");
    manager->addThreadedCommand(second);
    EXPECT_EQ(second.use_count(), 1);
    ASSERT_FALSE(first.expired());
    first.lock()->release();
    manager->finalizeThread();
    EXPECT_TRUE(first.expired());
}

TEST_F(ThreadingLifetime, ADyingCommandMayUseTheManager)
{
    auto command = std::make_shared<HeldRun>("A");
    command->onDestroy = [this]
    {
        EXPECT_FALSE(manager->isProcessingCommand());
        EXPECT_EQ(manager->getCurrentThreadedCommand(), nullptr);
        EXPECT_TRUE(manager->addCommand(std::make_shared<ScriptedCommand>("B")));
        manager->finalizeThread();
    };
    manager->addThreadedCommand(command);
    command->waitUntilHeld();
    command.reset();
    manager->abortThreadedCommand();
    manager->finalizeThread();
    EXPECT_THAT(manager->collectUndoCommandDescriptions(), ElementsAre("B"));
}

TEST_F(ThreadingLifetime, AMacroThatLosesTheSlotMayUseTheManagerWhenItDies)
{
    const auto held = std::make_shared<HeldRun>("A");
    auto dying = std::make_shared<ScriptedCommand>("B");
    dying->onDestroy = [this]
    {
        signals.push_back("dies for " + manager->getCurrentThreadedCommand()->getDescription());
        manager->abortThreadedCommand();
    };
    auto macro = std::make_shared<ThreadedMacroCommand>("M");
    macro->addCommand(held);
    macro->addCommand(std::move(dying));
    manager->addThreadedCommand(std::move(macro));
    held->waitUntilHeld();

    manager->addThreadedCommand(std::make_shared<ScriptedRun>("C"));

    EXPECT_THAT(signals, ElementsAre("started", "dies for C", testing::StartsWith("failed C: ")));
    manager->finalizeThread();
    EXPECT_EQ(held->endedRuns, 1);
    EXPECT_EQ(signals.size(), 3U);
}

TEST_F(ThreadingLifetime, AMacroMayDieWithTheManagerWhileOneOfItsThreadsGoesOn)
{
    auto macro = std::make_shared<ThreadedMacroCommand>("M");
    const auto held = std::make_shared<HeldRun>("B");
    const auto last = std::make_shared<ScriptedCommand>("C");
    int calls = 0;
    last->onExecute = [&]
    {
        ++calls;
    };
    macro->addCommand(std::make_shared<ScriptedRun>("A"));
    macro->addCommand(held);
    macro->addCommand(last);
    macro->connectToRunFinishedSignal([this](bool, const CommandBase*) { told = true; });
    const std::weak_ptr<ThreadedMacroCommand> watch = macro;
    manager->addThreadedCommand(std::move(macro));
    manager->finalizeThread();
    held->waitUntilHeld();

    manager.reset();

    EXPECT_TRUE(watch.expired());
    EXPECT_EQ(held->endedRuns, 1);
    EXPECT_EQ(calls, 0);
    EXPECT_FALSE(told);
}

TEST_F(ThreadingLifetime, ACollectorMayDieWhileItsManagerHasARunUnderWay)
{
    std::optional<CommandCollector> collector(std::in_place, *manager);
    collector->connect(true);
    const std::weak_ptr<HeldRun> command = startHeld(*collector->getCommandManager());

    collector.reset();

    EXPECT_TRUE(command.expired());
    EXPECT_FALSE(manager->canUndo());
}

TEST_F(ThreadingLifetime, ACollectorMayBeDisconnectedWhileItsManagerHasARunUnderWay)
{
    CommandCollector collector(*manager);
    collector.connect(true);
    const std::weak_ptr<HeldRun> command = startHeld(*collector.getCommandManager());
    collector.connect(false);
    command.lock()->release();
    collector.getCommandManager()->finalizeThread();
    EXPECT_FALSE(manager->canUndo());
    EXPECT_TRUE(collector.getCommandManager()->canUndo());
}

TEST_F(ThreadingLifetime, AListenerMayGoWhileARunGoesOn)
{
    const std::weak_ptr<HeldRun> command = startHeld(*manager);
    finished = Signals::Connection();
    executed.disconnect();
    command.lock()->release();
    manager->finalizeThread();
    EXPECT_THAT(signals, ElementsAre("started"));
}

TEST_F(ThreadingLifetime, AListenerMayGoInItsOwnSlotAndTakeOthersWithIt)
{
    auto listener = std::make_unique<Signals::Connection>();
    *listener = manager->connectToSigThreadedCommandStarted(
        [&]
        {
            signals.emplace_back("going");
            finished.disconnect();
            listener.reset();
        });
    for (int i = 0; i < 2; ++i)
    {
        const std::weak_ptr<HeldRun> command = startHeld(*manager);
        command.lock()->release();
        manager->finalizeThread();
    }
    EXPECT_THAT(signals, ElementsAre("started", "going", "executed", "started", "executed"));
}

TEST_F(ThreadingLifetime, ATrackedListenerOfTheEndOfARunMayGoBeforeIt)
{
    auto listener = std::make_shared<int>();
    const auto command = std::make_shared<HeldRun>("A");
    Signals::Slot<void(bool, const CommandBase*)> slot([this](bool, const CommandBase*) { told = true; });
    slot.track(std::weak_ptr<int>(listener));
    command->connectToRunFinishedSignal(slot);
    manager->addThreadedCommand(command);
    listener.reset();
    command->release();
    manager->finalizeThread();
    EXPECT_FALSE(told);
}

TEST_F(ThreadingLifetime, TheEndOfARunMayDropEverythingButTheManager)
{
    auto command = std::make_shared<HeldRun>("A");
    command->connectToRunFinishedSignal(
        [&](bool, const CommandBase*)
        {
            command.reset();
            finished.disconnect();
            manager->clear();
        });
    manager->addThreadedCommand(command);
    command->release();
    manager->finalizeThread();
    EXPECT_THAT(manager->collectUndoCommandDescriptions(), ElementsAre("A"));
    EXPECT_EQ(command, nullptr);
}

TEST_F(ThreadingLifetime, WhatWasPostedToAnEventLoopMayComeAfterTheManager)
{
    Gate posted;
    std::queue<std::function<void()>> loop;
    CommandManager* alive = manager.get();
    manager->getThreadManager()->setRunEndedCallback(
        [&]
        {
            loop.push(
                [&]
                {
                    if (alive != nullptr)
                    {
                        alive->finalizeThread();
                    }
                });
            posted.open();
        });
    const std::weak_ptr<HeldRun> command = startHeld(*manager);
    command.lock()->release();
    posted.waitUntilOpen();

    manager.reset();
    alive = nullptr;
    loop.front()();

    EXPECT_TRUE(command.expired());
    EXPECT_THAT(signals, ElementsAre("started"));
}

TEST_F(ThreadingLifetime, AQueuedThreadedCommandDiesWithTheManager)
{
    const std::weak_ptr<HeldRun> command = startHeld(*manager);
    command.lock()->release();
    manager->finalizeThread();
    EXPECT_FALSE(command.expired());
    manager.reset();
    EXPECT_TRUE(command.expired());
}

} // namespace
} // namespace Valdane

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Logging/LogMessage.h"
#include "Service/CommandTesting/Allocations.h"
#include "Service/Editing/CommandGroup.h"
#include "Service/Editing/MergePolicy.h"
#include "Tests/Platform/Multitasking/RefusedThreadStart.h"
#include "Tests/Service/Editing/ThreadedRun/ThreadedRunFixture.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/MessageOf.h"
#include "Tests/Support/ScriptedThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstddef>
#include <functional>
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

using testing::IsEmpty;
using ValdaneTests::ElementsAre;
using ValdaneTests::Gate;
using Edits = ThreadedRun::Edits;
using Result = ThreadedRun::Result;

TEST_F(ThreadedRunTest, IsFinalizedByTheLoop)
{
    std::vector<std::string> order;
    const auto both =
        manager->connectToSigHistoryChanged([&](const auto&) { order.emplace_back("history"); });
    const auto ended = manager->connectToSigThreadedCommandFinished([&] { order.emplace_back("manager"); });
    onStarted = [&]
    {
        order.emplace_back("started");
    };
    onFinished = [&]
    {
        order.emplace_back("finished");
    };
    const auto command = heldWork("A");
    run->start(command);
    command->waitUntilHeld();
    EXPECT_TRUE(run->isRunning());
    EXPECT_EQ(loop.size(), 0U);
    EXPECT_THAT(order, ElementsAre("started"));
    command->release();
    loop.runOne();
    EXPECT_FALSE(run->isRunning());
    EXPECT_THAT(order, ElementsAre("started", "history", "manager", "finished"));
    EXPECT_THAT(notes, ElementsAre("started", "done"));
    EXPECT_THAT(model.done, ElementsAre("A"));
    EXPECT_EQ(history(), "A |");
    expectIdle();
}

TEST_F(ThreadedRunTest, RunsAllThreadsOfAMacro)
{
    run->start(macro("M", {edit("a"), work("B"), macro("N", {work("C"), edit("d")}), work("E")}));
    drive();
    EXPECT_THAT(model.done, ElementsAre("a", "B", "C", "d", "E"));
    EXPECT_THAT(notes, ElementsAre("started", "done"));
    EXPECT_THAT(signals, ElementsAre("started", "executed", "finished"));
    manager->undo(1);
    EXPECT_THAT(model.done, IsEmpty());
}

/// Each thread but the first one has ended when the step returns that has started it.
class MacroOfQuickThreads : public ThreadedMacroCommand
{
public:
    using ThreadedMacroCommand::ThreadedMacroCommand;

    bool continueExecution(std::shared_ptr<ThreadManager> threadManager) override
    {
        const bool hasEnded = ThreadedMacroCommand::continueExecution(threadManager);
        while (!hasEnded && !threadManager->waitForRunEnd(std::chrono::hours(1)))
        {
        }
        return hasEnded;
    }
};

TEST_F(ThreadedRunTest, LeavesTheLoopATurnBetweenThreadsThatAreQuick)
{
    const auto whole = std::make_shared<MacroOfQuickThreads>("M");
    whole->addCommands({work("A"), work("B"), work("C"), work("D")});
    run->start(whole);
    std::size_t finalized = 0;
    while (run->isRunning())
    {
        loop.runOne();
        EXPECT_LE(model.done.size(), finalized + 1);
        finalized = model.done.size();
    }
    EXPECT_THAT(model.done, ElementsAre("A", "B", "C", "D"));
}

TEST_F(ThreadedRunTest, AnAbortBetweenQuickThreadsTakesAllBack)
{
    const auto whole = std::make_shared<MacroOfQuickThreads>("M");
    whole->addCommands({work("A"), work("B"), work("C"), work("D")});
    run->start(whole);
    while (model.done.empty())
    {
        loop.runOne();
    }
    run->abort();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, AMacroWithoutAThreadIsDoneAtOnce)
{
    run->start(macro("M", {edit("a")}));
    EXPECT_THAT(notes, ElementsAre("started", "done"));
    EXPECT_EQ(history(), "M |");
}

TEST_F(ThreadedRunTest, ACommandThatIsNotAddableIsDone)
{
    const auto command = work("A");
    command->isAddable = false;
    run->start(command);
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "done"));
    EXPECT_EQ(history(), "|");
}

TEST_F(ThreadedRunTest, TellsWhyARunHasFailed)
{
    const auto command = work("A");
    command->onRun = []
    {
        throw std::runtime_error("no data");
    };
    run->start(command);
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "failed: no data"));
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, AFailureOfAnotherCommandIsNotItsOwn)
{
    const auto command = heldWork("A");
    run->start(command);
    const auto other = edit("x");
    other->onExecute = []
    {
        throw std::runtime_error("other");
    };
    EXPECT_FALSE(manager->addCommand(other));
    model.done.clear();
    command->release();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "done"));
}

TEST_F(ThreadedRunTest, AStrangeExceptionReachesTheLoopWhenFinishedIsTold)
{
    const auto command = work("A");
    command->onRun = []
    {
        throw Stranger();
    };
    run->start(command);
    EXPECT_THROW(drive(), Stranger);
    EXPECT_THAT(notes,
                ElementsAre("started", "failed: an exception that is not derived from std::exception"));
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, ARunThatIsAbortedWhileItRunsChangesNothing)
{
    manager->addCommand(edit("before"));
    manager->undo(1);
    const auto command = heldWork("A");
    run->start(command);
    command->waitUntilHeld();
    run->abort();
    run->abort();
    EXPECT_TRUE(run->isRunning());
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
    EXPECT_EQ(history(), "| before") << "what could be redone stays";
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, AnAbortBeforeTheLoopFinalizesCounts)
{
    const auto command = work("A");
    run->start(command);
    while (!threads->waitForRunEnd(std::chrono::hours(1)))
    {
    }
    run->abort();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, AbortedInASlotOfStartedItIsNotRun)
{
    onStarted = [this]
    {
        run->abort();
    };
    run->start(work("A"));
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
    EXPECT_THAT(signals, IsEmpty());
}

class AbortOfAThread : public AbortTest, public testing::WithParamInterface<std::size_t>
{
};

TEST_P(AbortOfAThread, WhileItRunsTakesAllBack)
{
    works[GetParam()]->isHeld = true;
    run->start(whole);
    driveTo(*works[GetParam()]);
    run->abort();
    drive();
    expectAborted();
}

TEST_P(AbortOfAThread, ThatHasEndedTakesAllBack)
{
    works[GetParam()]->isHeld = true;
    run->start(whole);
    driveTo(*works[GetParam()]);
    works[GetParam()]->release();
    while (!threads->waitForRunEnd(std::chrono::hours(1)))
    {
    }
    run->abort();
    drive();
    expectAborted();
}

TEST_P(AbortOfAThread, InItsFinishSignalTakesAllBack)
{
    works[GetParam()]->onFinish = [this]
    {
        run->abort();
    };
    run->start(whole);
    drive();
    expectAborted();
}

TEST_P(AbortOfAThread, WhoseAbortFinalizesItTakesAllBack)
{
    works[GetParam()]->isHeld = true;
    works[GetParam()]->onAbort = [this]
    {
        manager->finalizeThread();
    };
    run->start(whole);
    driveTo(*works[GetParam()]);
    run->abort();
    drive();
    expectAborted();
}

TEST_P(AbortOfAThread, WhoseAbortThrowsTakesAllBack)
{
    works[GetParam()]->isHeld = true;
    works[GetParam()]->onAbort = []
    {
        throw std::runtime_error("abort");
    };
    run->start(whole);
    driveTo(*works[GetParam()]);
    EXPECT_THROW(run->abort(), std::runtime_error);
    drive();
    works[GetParam()]->onAbort = nullptr;
    expectAborted();
}

TEST_P(AbortOfAThread, InSynchronousModeTakesAllBack)
{
    threads->setThreadingMode(0);
    works[GetParam()]->onRun = [this]
    {
        run->abort();
    };
    run->start(whole);
    works[GetParam()]->onRun = nullptr;
    expectAborted();
}

TEST_P(AbortOfAThread, ByTheDestructorTakesAllBack)
{
    works[GetParam()]->isHeld = true;
    run->start(whole);
    driveTo(*works[GetParam()]);
    run.reset();
    EXPECT_THAT(notes, ElementsAre("started"));
    expectNothingChanged();
    loop.runAll();
}

TEST_P(AbortOfAThread, ByTheDestructorInItsFinishSignalTakesAllBack)
{
    works[GetParam()]->onFinish = [this]
    {
        run.reset();
    };
    run->start(whole);
    drive();
    EXPECT_THAT(notes, ElementsAre("started"));
    expectNothingChanged();
}

TEST_P(AbortOfAThread, ThatAlsoFailsTakesAllBack)
{
    works[GetParam()]->isHeld = true;
    works[GetParam()]->onRun = []
    {
        throw std::runtime_error("stopped");
    };
    run->start(whole);
    driveTo(*works[GetParam()]);
    run->abort();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "failed: stopped"));
    expectNothingChanged();
}

INSTANTIATE_TEST_SUITE_P(Threads, AbortOfAThread, testing::Range(std::size_t{0}, std::size_t{5}));

class AbortInAnEdit : public AbortTest, public testing::WithParamInterface<std::size_t>
{
};

TEST_P(AbortInAnEdit, TakesAllBack)
{
    edits[GetParam()]->onExecute = [this]
    {
        run->abort();
    };
    run->start(whole);
    drive();
    expectAborted();
}

TEST_P(AbortInAnEdit, InSynchronousModeTakesAllBack)
{
    threads->setThreadingMode(0);
    edits[GetParam()]->onExecute = [this]
    {
        run->abort();
    };
    run->start(whole);
    expectAborted();
}

TEST_P(AbortInAnEdit, ByTheDestructorTakesAllBack)
{
    edits[GetParam()]->onExecute = [this]
    {
        run.reset();
    };
    run->start(whole);
    drive();
    expectNothingChanged();
}

TEST_P(AbortInAnEdit, ByOthersWhoDriveTheRunTakesAllBack)
{
    edits[GetParam()]->onExecute = [this]
    {
        run->abort();
    };
    run->start(whole);
    while (manager->getCurrentThreadedCommand() != nullptr)
    {
        manager->finalizeThread();
    }
    drive();
    EXPECT_EQ(notes.front(), "started");
    EXPECT_THAT(model.wrong, IsEmpty());
    EXPECT_THAT(model.done, IsEmpty());
    EXPECT_EQ(notes.back(), "aborted");
}

INSTANTIATE_TEST_SUITE_P(Edits, AbortInAnEdit, testing::Range(std::size_t{0}, std::size_t{8}));

TEST_F(AbortTest, OfAThreadInTwoMacrosWaitsForTheEnd)
{
    const auto shared = heldWork("S");
    shared->onRun = [&]
    {
        shared->isHeld = false;
    };
    whole = macro("whole", {macro("left", {edit("a"), shared}), macro("right", {edit("b"), work("T")})});
    std::static_pointer_cast<MacroCommand>(whole->getLastCommand())->addCommand(shared);
    run->start(whole);
    shared->waitUntilHeld();
    run->abort();
    EXPECT_FALSE(shared->isAborted());
    shared->onUndo = [&]
    {
        model.remove("S");
    };
    shared->release();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
    EXPECT_THAT(model.done, IsEmpty());
    EXPECT_THAT(model.wrong, IsEmpty());
    expectIdle();
}

TEST_F(AbortTest, ThatCannotBeUndoneIsNotTakenBack)
{
    works[1]->isHeld = true;
    edits[2]->onUndo = []
    {
        throw std::runtime_error("stuck");
    };
    run->start(whole);
    driveTo(*works[1]);
    run->abort();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "not taken back: stuck"));
    EXPECT_THAT(model.done, ElementsAre("e0", "T0", "e1", "e2"));
    EXPECT_THAT(model.wrong, ElementsAre("e1", "T0", "e0")) << "the rest is tried all the same";
    expectIdle();
}

TEST_F(AbortTest, OfANestedThreadIsFinishedForTheManagerOnce)
{
    works[1]->isHeld = true;
    run->start(whole);
    driveTo(*works[1]);
    signals.clear();
    run->abort();
    EXPECT_EQ(manager->getCurrentThreadedCommand()->getDescription(), "whole");
    drive();
    EXPECT_THAT(signals, ElementsAre("started", "finished"));
}

TEST_F(AbortTest, OfANestedThreadTellsTheMacrosFromTheInside)
{
    std::vector<std::string> told;
    const auto listen = [&](ThreadedMacroCommand& one)
    {
        one.connectToRunFinishedSignal(
            [&told](bool ok, const CommandBase* command)
            { told.push_back(command->getDescription() + (ok ? " true" : " false")); });
    };
    const auto innermost = macro("innermost", {work("T")});
    const auto inner = macro("inner", {innermost, edit("a")});
    whole = macro("whole", {inner, edit("b")});
    listen(*whole);
    listen(*innermost);
    listen(*inner);
    run->start(whole);
    run->abort();
    drive();
    EXPECT_THAT(told, ElementsAre("innermost false", "inner false", "whole false"));
    expectNothingChanged();
}

TEST_F(AbortTest, WithAFinalizationInASlotOfTheManagerTakesAllBack)
{
    works[1]->isHeld = true;
    run->start(whole);
    driveTo(*works[1]);
    // The stand-in is told as started; this waits for the thread before it is aborted.
    const auto impatient = manager->connectToSigThreadedCommandStarted([this] { manager->finalizeThread(); });
    run->abort();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
    expectNothingChanged();
    EXPECT_EQ(manager->getQueueSize(), 0U);
}

TEST_F(AbortTest, WhoseThreadIsFinalizedWithoutTheManagerIsUndoneAndFails)
{
    works[1]->isHeld = true;
    works[1]->onAbort = [this]
    {
        threads->finalizeThread();
    };
    run->start(whole);
    driveTo(*works[1]);
    run->abort();
    drive();
    EXPECT_THAT(
        notes,
        ElementsAre("started", "failed: The thread 'T1' was finalized without the manager; all is undone"));
    expectNothingChanged();
    EXPECT_EQ(manager->getQueueSize(), 0U);
}

TEST_F(ThreadedRunTest, AnAbortAfterTheCommandWasBuriedIsTooLate)
{
    const auto listener = manager->connectToSigCommandExecuted(
        [this]
        {
            if (manager->getQueueSize() == 1)
            {
                manager->addCommand(edit("above"));
                run->abort();
            }
        });
    run->start(work("A"));
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "done"));
    EXPECT_EQ(history(), "above A |");
}

TEST_F(ThreadedRunTest, ACommandThatWasRunBeforeIsNotTakenBackForALaterRun)
{
    const auto command = work("A");
    run->start(command);
    drive();
    notes.clear();
    command->isHeld = true;
    run->start(command);
    run->abort();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
    EXPECT_EQ(history(), "A |");
}

// Synchronous mode

TEST_F(ThreadedRunTest, InSynchronousModeTheRunIsOverAtOnce)
{
    threads->setThreadingMode(0);
    run->start(macro("M", {edit("a"), work("B")}));
    EXPECT_THAT(notes, ElementsAre("started", "done"));
    EXPECT_EQ(loop.size(), 1U) << "the progress";
    loop.runAll();
    EXPECT_THAT(progresses, IsEmpty());
}

TEST_F(ThreadedRunTest, InSynchronousModeFailuresAreToldToo)
{
    threads->setThreadingMode(0);
    const auto command = work("A");
    command->onRun = []
    {
        throw std::runtime_error("no data");
    };
    run->start(command);
    EXPECT_THAT(notes, ElementsAre("started", "failed: no data"));
    command->onRun = []
    {
        throw Stranger();
    };
    EXPECT_THROW(run->start(command), Stranger);
    EXPECT_EQ(notes.size(), 4U);
    expectNothingChanged();
}

// Edits

TEST_F(ThreadedRunTest, EditsAreRefusedWithAReasonWhileItRuns)
{
    const auto command = heldWork("Load");
    run->start(command);
    EXPECT_EQ(messageOf([&] { run->addCommand(edit("a")); }),
              "'a' is refused while 'Load' is running: wait until it has finished, or abort it");
    EXPECT_EQ(messageOf([&] { run->undo(1); }),
              "An undo is refused while 'Load' is running: wait until it has finished, or abort it");
    EXPECT_EQ(messageOf([&] { run->redo(1); }),
              "A redo is refused while 'Load' is running: wait until it has finished, or abort it");
    command->release();
    drive();
    EXPECT_THAT(model.done, ElementsAre("Load"));
    EXPECT_TRUE(run->addCommand(edit("a")));
    EXPECT_TRUE(run->undo(1));
    EXPECT_EQ(history(), "Load | a");
    EXPECT_TRUE(run->redo(1));
    EXPECT_EQ(history(), "a Load |");
    EXPECT_FALSE(run->addCommand(nullptr));
}

TEST_F(ThreadedRunTest, EditsWaitForTheEndAndAreDoneInOrder)
{
    makeRun(Edits::Queued);
    const auto command = heldWork("Load");
    run->start(command);
    EXPECT_TRUE(run->addCommand(edit("a")));
    EXPECT_TRUE(run->undo(2));
    EXPECT_TRUE(run->redo(1));
    EXPECT_TRUE(run->addCommand(edit("b")));
    EXPECT_FALSE(run->addCommand(nullptr));
    EXPECT_THAT(model.done, IsEmpty());
    onFinished = [this]
    {
        EXPECT_THAT(model.done, ElementsAre("Load")) << "they come behind finished";
        run->addCommand(edit("c"));
    };
    command->release();
    drive();
    EXPECT_THAT(model.done, ElementsAre("Load", "b", "c"));
    EXPECT_EQ(history(), "c b Load |");
}

TEST_F(ThreadedRunTest, EditsAreDoneAfterAnAbortToo)
{
    makeRun(Edits::Queued);
    run->start(heldWork("Load"));
    run->addCommand(edit("a"));
    run->abort();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
    EXPECT_THAT(model.done, ElementsAre("a"));
}

TEST_F(ThreadedRunTest, EditsWaitForARunThatASlotOrAnEditStarts)
{
    makeRun(Edits::Queued);
    const auto first = heldWork("1");
    const auto second = heldWork("2");
    const auto third = heldWork("3");
    run->start(first);
    const auto starter = edit("a");
    starter->onExecute = [&]
    {
        run->start(third);
    };
    run->addCommand(starter);
    run->addCommand(edit("b"));
    onFinished = [&]
    {
        onFinished = nullptr;
        run->start(second);
    };
    first->release();
    loop.runOne();
    EXPECT_THAT(model.done, ElementsAre("1"));
    second->release();
    loop.runOne();
    EXPECT_THAT(model.done, ElementsAre("1", "2", "a"));
    third->release();
    drive();
    EXPECT_THAT(model.done, ElementsAre("1", "2", "a", "3", "b"));
    EXPECT_THAT(notes, ElementsAre("started", "done", "started", "done", "started", "done"));
}

TEST_F(ThreadedRunTest, AnEditThatThrowsDoesNotKeepTheOthersFromBeingDone)
{
    makeRun(Edits::Queued);
    const auto command = heldWork("Load");
    run->start(command);
    const auto strange = edit("a");
    strange->onExecute = []
    {
        throw Stranger();
    };
    run->addCommand(strange);
    run->addCommand(edit("b"));
    command->release();
    EXPECT_THROW(drive(), Stranger);
    EXPECT_EQ(history(), "Load |");
    drive();
    EXPECT_EQ(history(), "b Load |");
}

TEST_F(ThreadedRunTest, EditsThatWaitAreDroppedWithIt)
{
    makeRun(Edits::Queued);
    run->start(heldWork("Load"));
    run->addCommand(edit("a"));
    run.reset();
    loop.runAll();
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, InSynchronousModeEditsOfTheRunWaitForItsEnd)
{
    makeRun(Edits::Queued);
    threads->setThreadingMode(0);
    const auto command = work("A");
    command->onRun = [this]
    {
        EXPECT_TRUE(run->addCommand(edit("b")));
        EXPECT_TRUE(run->undo(1));
        EXPECT_TRUE(run->redo(1));
    };
    onFinished = [this]
    {
        EXPECT_EQ(history(), "A |");
        EXPECT_TRUE(run->addCommand(edit("c")));
    };
    run->start(command);
    EXPECT_EQ(history(), "c b A |");
}

TEST_F(ThreadedRunTest, ASlotOfFinishedMayEditAtOnceIfNothingWaits)
{
    for (const auto edits : {Edits::Refused, Edits::Queued})
    {
        makeRun(edits);
        onFinished = [this]
        {
            EXPECT_TRUE(run->addCommand(edit("b")));
            EXPECT_THAT(model.done, ElementsAre("A", "b"));
            EXPECT_TRUE(run->undo(1));
        };
        run->start(work("A"));
        drive();
        EXPECT_EQ(history(), "A | b");
        manager->undoAll();
        manager->clear();
    }
}

TEST_F(ThreadedRunTest, ARunThatIsStartedInASlotOfFinishedIsBeforeTheEditsThatWait)
{
    makeRun(Edits::Queued);
    threads->setThreadingMode(0);
    const auto first = work("A");
    first->onRun = [this]
    {
        run->addCommand(edit("c"));
    };
    onFinished = [this]
    {
        onFinished = nullptr;
        run->addCommand(edit("d"));
        run->start(work("B"));
    };
    run->start(first);
    EXPECT_THAT(model.done, ElementsAre("A", "B", "c", "d"));
    EXPECT_EQ(history(), "d c B A |");
}

TEST_F(ThreadedRunTest, WhatIsTypedWaitsAndIsOneStep)
{
    makeRun(Edits::Queued);
    MergePolicy policy(*manager, {}, [this] { return now; });
    const auto type = [&](const std::string& letter)
    {
        return run->edit("Type", [&, letter] { return policy.add(edit(letter), "title"); });
    };
    EXPECT_TRUE(type("w"));
    const auto command = heldWork("Load");
    run->start(command);
    EXPECT_TRUE(type("p"));
    now += std::chrono::hours(1);
    EXPECT_TRUE(type("u"));
    EXPECT_THAT(model.done, ElementsAre("w"));
    command->release();
    drive();
    EXPECT_THAT(model.done, ElementsAre("w", "Load", "p", "u"));
    EXPECT_EQ(history(), "p Load w |");
    EXPECT_TRUE(type("m"));
    EXPECT_EQ(history(), "p Load w |");
    EXPECT_TRUE(run->undo(1));
    EXPECT_THAT(model.done, ElementsAre("w", "Load"));
    EXPECT_THAT(model.wrong, IsEmpty());
}

TEST_F(ThreadedRunTest, WhatIsTypedIsRefusedWithAReasonWhileItRuns)
{
    MergePolicy policy(*manager);
    const auto type = [&]
    {
        return run->edit("Type", [&] { return policy.add(edit("p"), "title"); });
    };
    const auto command = heldWork("Load");
    run->start(command);
    EXPECT_EQ(messageOf([&] { type(); }),
              "'Type' is refused while 'Load' is running: wait until it has finished, or abort it");
    command->release();
    drive();
    EXPECT_THAT(model.done, ElementsAre("Load"));
    EXPECT_TRUE(type());
    EXPECT_EQ(history(), "p Load |");
    EXPECT_FALSE(run->edit("Nothing", [] { return false; }));
}

TEST_F(ThreadedRunTest, AGroupWaitsForTheEnd)
{
    makeRun(Edits::Queued);
    const auto command = heldWork("Load");
    run->start(command);
    EXPECT_THROW(CommandGroup(*manager, "Align"), VdException);
    run->edit("Align",
              [this]
              {
                  CommandGroup group(*manager, "Align");
                  run->addCommand(edit("a"));
                  run->addCommand(edit("b"));
                  manager->addCommand(edit("c"));
                  group.commit();
                  return true;
              });
    run->addCommand(edit("d"));
    command->release();
    drive();
    EXPECT_EQ(history(), "d Align Load |");
    EXPECT_THAT(model.done, ElementsAre("Load", "a", "b", "c", "d"));
}

// Progress

TEST_F(ThreadedRunTest, ProgressThatNobodyListensToIsNotPosted)
{
    runProgress.disconnect();
    const auto command = work("A");
    Gate moved;
    Gate listened;
    Gate seen;
    command->onRun = [&]
    {
        command->getProgress()->moveTo(1);
        moved.open();
        listened.waitUntilOpen();
        command->getProgress()->moveTo(0.5 * LegacyProgress::FullRange);
        seen.open();
    };
    run->start(command);
    moved.waitUntilOpen();
    EXPECT_EQ(loop.size(), 0U);
    std::vector<double> shares;
    {
        // The next change is told, although nobody listened to the first one.
        const auto late = run->connectToSigProgress([&](const ThreadedRun::Progress& progress)
                                                    { shares.push_back(progress.share); });
        listened.open();
        seen.waitUntilOpen();
        loop.runOne();
    }
    drive();
    EXPECT_THAT(shares, testing::ElementsAre(0.5));
    EXPECT_THAT(notes, ElementsAre("started", "done"));
}

TEST_F(ThreadedRunTest, ProgressIsNotPostedAfterTheLastSlotIsDisconnected)
{
    auto second = run->connectToSigProgress([](const ThreadedRun::Progress&) {});
    runProgress.disconnect();
    const auto command = work("A");
    Gate moved;
    Gate disconnected;
    Gate movedOn;
    Gate seen;
    command->onRun = [&]
    {
        command->getProgress()->moveTo(1);
        moved.open();
        disconnected.waitUntilOpen();
        command->getProgress()->setComplete();
        movedOn.open();
        seen.waitUntilOpen();
    };
    run->start(command);
    moved.waitUntilOpen();
    EXPECT_EQ(loop.size(), 1U);
    loop.runOne();
    second.disconnect();
    disconnected.open();
    movedOn.waitUntilOpen();
    EXPECT_EQ(loop.size(), 0U);
    seen.open();
    drive();
    EXPECT_THAT(progresses, IsEmpty());
}

TEST_F(ThreadedRunTest, TellsTheProgressFromTheLoopOneAtATime)
{
    const auto command = heldWork("A");
    EXPECT_FALSE(run->getProgress());
    run->start(command);
    command->waitUntilHeld();
    EXPECT_FALSE(run->getProgress()->remaining) << "nothing is known yet";
    Gate moved;
    Gate seen;
    command->onRun = [&]
    {
        command->getProgress()->sendMessage(LogMessage("reading", LogMessage::Type::Info, ""));
        command->getProgress()->moveTo(0.25 * LegacyProgress::FullRange);
        moved.open();
        seen.waitUntilOpen();
        command->getProgress()->setComplete();
    };
    command->release();
    moved.waitUntilOpen();
    EXPECT_EQ(loop.size(), 1U) << "two changes, one function";
    now += std::chrono::seconds(10);
    loop.runOne();
    ASSERT_EQ(progresses.size(), 1U);
    EXPECT_EQ(progresses[0].share, 0.25);
    EXPECT_EQ(progresses[0].message, "reading");
    EXPECT_EQ(progresses[0].elapsed, std::chrono::seconds(10));
    EXPECT_EQ(progresses[0].remaining, std::chrono::seconds(30));
    EXPECT_EQ(run->getProgress()->remaining, std::chrono::seconds(30));
    seen.open();
    drive();
    ASSERT_EQ(progresses.size(), 2U);
    EXPECT_EQ(progresses[1].share, 1);
    EXPECT_EQ(progresses[1].remaining, std::chrono::seconds(0));
    EXPECT_FALSE(run->getProgress());
}

TEST_F(ThreadedRunTest, AClockThatGoesBackAndAFirstStepTooSmallDoNoHarm)
{
    const auto command = heldWork("A");
    run->start(command);
    now -= std::chrono::seconds(1);
    EXPECT_EQ(run->getProgress()->elapsed, std::chrono::seconds(0));
    command->onRun = [&]
    {
        command->getProgress()->moveTo(1e-9);
    };
    command->release();
    while (!threads->waitForRunEnd(std::chrono::hours(1)))
    {
    }
    now += std::chrono::hours(1000);
    EXPECT_FALSE(run->getProgress()->remaining) << "longer than a duration can be";
    drive();
}

TEST_F(ThreadedRunTest, ProgressIsNotToldAfterTheEnd)
{
    const auto command = work("A");
    run->start(command);
    drive();
    progresses.clear();
    command->getProgress()->reset();
    command->getProgress()->setComplete();
    EXPECT_EQ(loop.size(), 0U);
}

/// A run whose last progress comes, with its end, while a slot is told of the one before.
class LastProgressTest : public ThreadedRunTest
{
protected:
    LastProgressTest()
    {
        command->onRun = [this]
        {
            command->getProgress()->moveTo(0.5 * LegacyProgress::FullRange);
            goOn.waitUntilOpen();
            command->getProgress()->setComplete();
        };
        onProgress = [this]
        {
            notes.push_back(std::to_string(std::lround(100 * progresses.back().share)) + " %");
            if (progresses.size() == 1)
            {
                goOn.open();
                threads->waitForRunEnd(std::chrono::hours(1));
            }
            else
            {
                act(onLast);
            }
        };
    }

    ~LastProgressTest() override
    {
        run.reset();
        command->onRun = {};
    }

    std::function<void()> onLast;
    std::shared_ptr<Work> command = work("A");

private:
    Gate goOn;
};

TEST_F(LastProgressTest, IsToldBeforeTheEnd)
{
    run->start(command);
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "50 %", "100 %", "done"));
    EXPECT_EQ(history(), "A |");
}

TEST_F(LastProgressTest, IsNotToldOfARunThatIsAborted)
{
    const auto tell = onProgress;
    onProgress = [&]
    {
        tell();
        run->abort();
    };
    run->start(command);
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "50 %", "aborted"));
    expectNothingChanged();
}

TEST_F(LastProgressTest, IsNotToldOfARunThatFails)
{
    const auto work = command->onRun;
    command->onRun = [&]
    {
        work();
        throw std::runtime_error("no");
    };
    run->start(command);
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "50 %", "failed: no"));
    expectNothingChanged();
}

TEST_F(LastProgressTest, MayAbortTheRun)
{
    onLast = [this]
    {
        run->abort();
    };
    run->start(command);
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "50 %", "100 %", "aborted"));
    expectNothingChanged();
}

TEST_F(LastProgressTest, MayDestroyTheRun)
{
    onLast = [this]
    {
        run.reset();
    };
    run->start(command);
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "50 %", "100 %"));
    expectNothingChanged();
}

TEST_F(LastProgressTest, MayRunTheLoopUntilTheNextRunIsStarted)
{
    onLast = [this]
    {
        loop.runAll();
        run->start(heldWork("B"));
    };
    run->start(command);
    while (notes.back() != "started" || notes.size() == 1)
    {
        loop.runOne();
    }
    EXPECT_THAT(notes, ElementsAre("started", "50 %", "100 %", "done", "started"));
    EXPECT_TRUE(run->isRunning());
    run->abort();
    drive();
    EXPECT_EQ(history(), "A |");
}

TEST_F(LastProgressTest, WhoseSlotThrowsDoesNotMakeTheRunFail)
{
    onLast = []
    {
        throw std::runtime_error("no bar");
    };
    run->start(command);
    EXPECT_THROW(drive(), std::runtime_error);
    EXPECT_THAT(notes, ElementsAre("started", "50 %", "100 %", "done"));
    EXPECT_EQ(history(), "A |");
    drive();
}

TEST_F(ThreadedRunTest, ProgressOfARunThatIsOverIsNotToldAsThatOfTheNext)
{
    const auto command = work("A");
    command->onFinish = [&]
    {
        command->getProgress()->setComplete();
    };
    run->start(command);
    while (run->isRunning())
    {
        loop.runOne();
    }
    ASSERT_EQ(loop.size(), 1U) << "the progress of A, which was told before the end";
    progresses.clear();
    const auto next = heldWork("B");
    run->start(next);
    next->waitUntilHeld();
    loop.runAll();
    EXPECT_TRUE(progresses.empty());
    next->release();
    drive();
}

// Slots that throw

TEST_F(ThreadedRunTest, ASlotOfStartedThatThrowsKeepsTheCommandFromBeingRun)
{
    onStarted = []
    {
        throw std::runtime_error("slot");
    };
    EXPECT_THROW(run->start(work("A")), std::runtime_error);
    onStarted = []
    {
        throw Stranger();
    };
    EXPECT_THROW(run->start(work("A")), Stranger);
    EXPECT_THAT(notes, ElementsAre("started", "failed: slot", "started",
                                   "failed: an exception that is not derived from std::exception"));
    EXPECT_FALSE(run->isRunning());
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, ASlotOfFinishedThatThrowsReachesTheLoopWhenAllIsSettled)
{
    makeRun(Edits::Queued);
    onFinished = []
    {
        throw Stranger();
    };
    const auto command = heldWork("A");
    run->start(command);
    run->addCommand(edit("b"));
    command->release();
    EXPECT_THROW(loop.runOne(), Stranger);
    EXPECT_FALSE(run->isRunning());
    loop.runAll();
    EXPECT_EQ(history(), "b A |");
    EXPECT_THAT(notes, ElementsAre("started", "done"));
}

TEST_F(ThreadedRunTest, ASlotOfProgressThatThrowsDoesNotEndTheRun)
{
    onProgress = []
    {
        throw Stranger();
    };
    const auto command = work("A");
    command->onRun = [&]
    {
        command->getProgress()->moveTo(1);
    };
    run->start(command);
    EXPECT_THROW(loop.runOne(), Stranger);
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "done"));
}

TEST_F(ThreadedRunTest, ASlotOfTheManagerThatThrowsWhenItIsQueuedDoesNotMakeItFail)
{
    const auto bad = manager->connectToSigCommandQueueChanged([](auto) { throw std::runtime_error("slot"); });
    run->start(work("A"));
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "done")) << "it is in the history";
    EXPECT_EQ(history(), "A |");
}

TEST_F(ThreadedRunTest, ASlotOfTheManagerThatThrowsAtTheStartMakesItFail)
{
    const auto bad = manager->connectToSigThreadedCommandStarted([] { throw std::runtime_error("slot"); });
    run->start(work("A"));
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "failed: slot"));
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, AStrangerOutOfASlotOfTheManagerAtTheStartLeavesNothingBehind)
{
    {
        const auto bad = manager->connectToSigThreadedCommandStarted([] { throw Stranger(); });
        EXPECT_THROW(run->start(work("A")), Stranger);
        drive();
        EXPECT_THROW(run->start(macro("M", {edit("a"), macro("N", {edit("b"), work("C")})})), Stranger);
        drive();
    }
    EXPECT_THAT(notes,
                ElementsAre("started", "failed: an exception that is not derived from std::exception",
                            "started", "failed: an exception that is not derived from std::exception"));
    expectNothingChanged();
    run->start(work("A"));
    drive();
    EXPECT_EQ(notes.back(), "done");
}

TEST_F(AbortTest, WithAStrangerOutOfASlotOfTheManagerTakesAllBack)
{
    works[1]->isHeld = true;
    run->start(whole);
    driveTo(*works[1]);
    const auto bad = manager->connectToSigThreadedCommandStarted([] { throw Stranger(); });
    EXPECT_THROW(run->abort(), Stranger);
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, AMacroWithoutItsPlaceInTheManagerIsTakenBack)
{
    const auto command = heldWork("C");
    command->onRun = []
    {
        throw std::runtime_error("no data");
    };
    run->start(macro("M", {edit("a"), macro("N", {edit("b"), command})}));
    manager->addThreadedCommand(work("B"));
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "failed: no data"));
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, DestroyedInASlotOfTheManagerAtTheStartItTakesTheRunBack)
{
    const auto bad = manager->connectToSigThreadedCommandStarted([this] { run.reset(); });
    run->start(macro("M", {edit("a"), heldWork("A")}));
    expectNothingChanged();
    loop.runAll();
    EXPECT_THAT(notes, ElementsAre("started"));
}

TEST_F(ThreadedRunTest, WhatASlotOfStartedDoesMayKeepTheCommandFromBeingRun)
{
    const std::string group = "'A' cannot be started while the group 'G' is open: end or abandon it first";
    onStarted = [this]
    {
        manager->beginGroup("G");
    };
    EXPECT_EQ(messageOf([&] { run->start(work("A")); }), group);
    manager->endGroup();
    const std::string other =
        "'A' cannot be started while another threaded command is running: finalize it first";
    onStarted = [this]
    {
        manager->addThreadedCommand(work("B"));
    };
    EXPECT_EQ(messageOf([&] { run->start(work("A")); }), other);
    manager->finalizeThread();
    EXPECT_THAT(notes, ElementsAre("started", "failed: " + group, "started", "failed: " + other));
    EXPECT_EQ(history(), "B |");
}

// Destruction

TEST_F(ThreadedRunTest, DestroyedInASlotOfStartedItRunsNothing)
{
    onStarted = [this]
    {
        run.reset();
    };
    run->start(work("A"));
    EXPECT_THAT(notes, ElementsAre("started"));
    EXPECT_THAT(signals, IsEmpty());
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, DestroyedInASlotOfProgressItTakesTheRunBack)
{
    const auto command = heldWork("A");
    onProgress = [this]
    {
        run.reset();
    };
    const auto first = edit("a");
    first->onExecute = [&]
    {
        first->getProgress()->setComplete();
    };
    run->start(macro("M", {first, command}));
    command->waitUntilHeld();
    loop.runAll();
    EXPECT_EQ(run, nullptr);
    EXPECT_THAT(notes, ElementsAre("started"));
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, AProgressThatCouldNotBePostedIsToldWithTheNextOne)
{
    const auto command = heldWork("A");
    Gate first;
    Gate moved;
    Gate end;
    command->isHeld = false;
    command->onRun = [&]
    {
        first.waitUntilOpen();
        command->getProgress()->moveTo(0.25 * LegacyProgress::FullRange);
        command->getProgress()->moveTo(0.5 * LegacyProgress::FullRange);
        moved.open();
        end.waitUntilOpen();
    };
    run->start(command);
    loop.runAll();
    progresses.clear();
    loop.refuse(1);
    first.open();
    moved.waitUntilOpen();
    EXPECT_EQ(loop.size(), 1U);
    loop.runAll();
    ASSERT_EQ(progresses.size(), 1U);
    EXPECT_DOUBLE_EQ(progresses.front().share, 0.5);
    end.open();
    drive();
}

TEST_F(ThreadedRunTest, WhatOthersAddMeanwhileIsNotItsOwn)
{
    const auto command = heldWork("A");
    command->onRun = []
    {
        throw std::runtime_error("no");
    };
    run->start(command);
    command->waitUntilHeld();
    manager->addCommand(edit("x"));
    command->release();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "failed: no"));
    EXPECT_EQ(history(), "x |");
}

TEST_F(ThreadedRunTest, ASlotOfStartedMayCloseTheDocument)
{
    onStarted = [this]
    {
        run.reset();
        manager.reset();
    };
    run->start(work("A"));
    EXPECT_THAT(notes, ElementsAre("started"));
    EXPECT_THAT(model.done, IsEmpty());
}

TEST_F(ThreadedRunTest, ASlotOfProgressMayCloseTheDocument)
{
    const auto command = heldWork("A");
    onProgress = [this]
    {
        run.reset();
        manager.reset();
    };
    const auto first = edit("a");
    first->onExecute = [&]
    {
        first->getProgress()->setComplete();
    };
    run->start(macro("M", {first, command}));
    command->waitUntilHeld();
    loop.runAll();
    EXPECT_EQ(manager, nullptr);
    EXPECT_THAT(notes, ElementsAre("started"));
    EXPECT_THAT(model.done, IsEmpty());
}

TEST_F(ThreadedRunTest, ASlotOfFinishedMayCloseTheDocument)
{
    makeRun(Edits::Queued);
    const auto command = heldWork("A");
    onFinished = [this]
    {
        run.reset();
        manager.reset();
    };
    run->start(command);
    run->addCommand(edit("b"));
    command->release();
    drive();
    EXPECT_EQ(manager, nullptr);
    EXPECT_THAT(notes, ElementsAre("started", "done"));
}

TEST_F(ThreadedRunTest, DestroyedInASlotOfFinishedItLeavesTheCommandInTheHistory)
{
    makeRun(Edits::Queued);
    const auto command = heldWork("A");
    onFinished = [this]
    {
        run.reset();
    };
    run->start(command);
    run->addCommand(edit("b"));
    command->release();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "done"));
    EXPECT_EQ(history(), "A |");
}

TEST_F(ThreadedRunTest, DestroyedItIsNotCalledByWhatIsInTheLoop)
{
    const auto command = work("A");
    command->onRun = [&]
    {
        command->getProgress()->moveTo(1);
    };
    run->start(command);
    while (!threads->waitForRunEnd(std::chrono::hours(1)))
    {
    }
    run.reset();
    expectNothingChanged();
    EXPECT_GT(loop.size(), 0U);
    manager->addCommand(edit("later"));
    loop.runAll();
    EXPECT_EQ(history(), "later |");
    // The callback is still there, but has nobody to post for.
    manager->addThreadedCommand(work("B"));
    manager->finalizeThread();
    EXPECT_EQ(loop.size(), 0U);
}

TEST_F(ThreadedRunTest, DestroyedByAnEditThatOthersFinalizeItLeavesTheRestToThem)
{
    const auto last = edit("c");
    const auto middle = edit("b");
    middle->onExecute = [this]
    {
        run.reset();
    };
    run->start(macro("M", {work("A"), middle, last}));
    manager->finalizeThread();
    loop.runAll();
    EXPECT_THAT(notes, ElementsAre("started"));
    EXPECT_EQ(history(), "M |");
    expectIdle();
}

TEST_F(ThreadedRunTest, DestroyedInAnEditThatWaitedItDropsTheOthers)
{
    makeRun(Edits::Queued);
    const auto command = heldWork("A");
    run->start(command);
    const auto destroyer = edit("b");
    destroyer->onExecute = [this]
    {
        run.reset();
    };
    run->addCommand(destroyer);
    run->addCommand(edit("c"));
    command->release();
    drive();
    EXPECT_EQ(history(), "b A |");
}

// Others use the manager

TEST_F(ThreadedRunTest, FinalizedByOthersItIsToldFromTheLoop)
{
    run->start(macro("M", {work("A"), work("B")}));
    manager->finalizeThread();
    manager->finalizeThread();
    EXPECT_THAT(notes, ElementsAre("started")) << "not inside the manager";
    EXPECT_TRUE(run->isRunning());
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "done"));
}

TEST_F(ThreadedRunTest, AFunctionOfAnEarlierRunDoesNotWaitForALaterOne)
{
    run->start(work("A"));
    manager->finalizeThread();
    const auto later = heldWork("B");
    loop.runOne();
    run->start(later);
    later->waitUntilHeld();
    loop.runAll();
    EXPECT_THAT(notes, ElementsAre("started", "done", "started"));
    later->release();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "done", "started", "done"));
}

TEST_F(ThreadedRunTest, AbortedByOthersItIsToldAsAborted)
{
    run->start(heldWork("A"));
    manager->abortThreadedCommand();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
    expectNothingChanged();
}

TEST_F(ThreadedRunTest, WithoutItsPlaceInTheManagerItFailsAndHandsNothingOver)
{
    const auto command = heldWork("A");
    run->start(command);
    manager->addThreadedCommand(work("B"));
    command->release();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "failed: another threaded command has taken its place"));
    expectNothingChanged();
}

// What is not started, and what is not told

TEST_F(ThreadedRunTest, RefusesWhatItCannotStart)
{
    EXPECT_EQ(messageOf([&] { run->start(std::shared_ptr<ThreadedCommand>()); }),
              "There is no command to start: give one that is not empty");
    manager->beginGroup("G");
    EXPECT_EQ(messageOf([&] { run->start(work("A")); }),
              "'A' cannot be started while the group 'G' is open: end or abandon it first");
    manager->endGroup();
    const auto own = heldWork("own");
    run->start(own);
    EXPECT_EQ(messageOf([&] { run->start(work("A")); }),
              "'A' cannot be started while 'own' is running: wait until it has finished, or abort it");
    own->release();
    drive();
    const auto other = heldWork("other");
    manager->addThreadedCommand(other);
    EXPECT_EQ(messageOf([&] { run->start(work("A")); }),
              "'A' cannot be started while another threaded command is running: finalize it first");
    other->release();
    manager->finalizeThread();
    EXPECT_THAT(notes, ElementsAre("started", "done"));
    EXPECT_EQ(messageOf([&] { const ThreadedRun without(*manager, {}, Edits::Queued); }),
              "A ThreadedRun needs a function that posts to the event loop");
    run->abort();
    loop.runAll();
}

TEST_F(ThreadedRunTest, TheApplicationMaySayHowItLearnsOfTheEnd)
{
    std::vector<std::function<void()>> ended;
    makeRun(Edits::Refused,
            [&](ThreadManager& ofManager, std::function<void()> callback)
            {
                EXPECT_EQ(&ofManager, threads.get());
                ended.push_back(std::move(callback));
            });
    run->start(work("A"));
    while (!threads->waitForRunEnd(std::chrono::hours(1)))
    {
    }
    EXPECT_EQ(loop.size(), 0U);
    ASSERT_EQ(ended.size(), 1U);
    ended[0]();
    EXPECT_TRUE(run->isRunning());
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "done"));
}

TEST_F(ThreadedRunTest, AnEndThatTheLoopDidNotTakeIsFoundByTheNextFunction)
{
    const auto command = heldWork("A");
    run->start(command);
    loop.refuse(1);
    command->release();
    manager->getThreadManager()->waitForRunEnd(std::chrono::hours(1));
    run->abort();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
}

#ifndef _WIN32

TEST_F(ThreadedRunTest, ThreadsThatCannotBeStartedDoNotStopTheMacro)
{
    const auto whole = macro("M", {edit("a"), work("B"), work("C"), edit("d")});
    whole->setContinueOnException(true);
    {
        const ValdaneTests::RefusedThreadStart refused;
        run->start(whole);
        drive();
    }
    EXPECT_THAT(notes, ElementsAre("started", "done"));
    EXPECT_THAT(model.done, ElementsAre("a", "d"));
}

TEST_F(ThreadedRunTest, DestroyedWhileThreadsCannotBeStartedItTakesTheMacroBack)
{
    const auto first = work("A");
    const auto whole = macro("M", {first, work("B"), work("C"), edit("d")});
    whole->setContinueOnException(true);
    first->onFinish = [this]
    {
        run.reset();
    };
    run->start(whole);
    while (!threads->waitForRunEnd(std::chrono::hours(1)))
    {
    }
    const ValdaneTests::RefusedThreadStart refused;
    drive();
    expectNothingChanged();
    EXPECT_EQ(history(), "|");
}

#endif

// Memory

TEST_F(ThreadedRunTest, WithoutMemoryForTheStartItTellsBothOrNothing)
{
    bool hasFailed = true;
    for (std::size_t successes = 0; hasFailed; ++successes)
    {
        notes.clear();
        notes.reserve(4);
        const auto command =
            macro("A macro whose name is too long to be kept in place", {edit("a"), work("B")});
        try
        {
            const FailingAllocation failing(successes);
            try
            {
                run->start(command);
            }
            catch (...)
            {
                hasFailed = failing.hasFailed();
                throw;
            }
            hasFailed = failing.hasFailed();
        }
        catch (const std::bad_alloc&)
        {
        }
        drive();
        EXPECT_THAT(notes, testing::SizeIs(testing::AnyOf(0, 2))) << successes;
        EXPECT_FALSE(run->isRunning());
        expectIdle();
        manager->undo(1);
        EXPECT_THAT(model.done, IsEmpty()) << successes;
    }
    EXPECT_THAT(notes, ElementsAre("started", "done"));
}

/// In which operation memory is missing.
enum class Missing
{
    InAbort,
    InTheLoopAfterAnAbort,
    InTheLoop,
};

class WithoutMemory : public AbortTest, public testing::WithParamInterface<Missing>
{
protected:
    /// Brings a run to the operation. @return its thread
    std::shared_ptr<Work> prepare()
    {
        model = {};
        notes.clear();
        notes.reserve(4);
        const auto held = heldWork("T");
        run->start(macro("M", {edit("a"), macro("N", {edit("b"), held}), edit("c")}));
        held->waitUntilHeld();
        if (GetParam() == Missing::InTheLoopAfterAnAbort)
        {
            run->abort();
        }
        if (GetParam() != Missing::InAbort)
        {
            held->release();
            threads->waitForRunEnd(std::chrono::hours(1));
        }
        return held;
    }

    /// @return whether memory was missing.
    bool operateWith(std::size_t allocations)
    {
        const FailingAllocation failing(allocations);
        try
        {
            GetParam() == Missing::InAbort ? run->abort() : loop.runAll();
        }
        catch (const std::bad_alloc&)
        {
            EXPECT_TRUE(failing.hasFailed());
        }
        return failing.hasFailed();
    }
};

TEST_P(WithoutMemory, TheEndIsToldOnceAndAnAbortTakesAllBack)
{
    const bool isAborted = GetParam() != Missing::InTheLoop;
    bool hasFailed = true;
    for (std::size_t allocations = 0; hasFailed; ++allocations)
    {
        const auto held = prepare();
        hasFailed = operateWith(allocations);
        held->release();
        drive();
        EXPECT_THAT(notes, testing::SizeIs(2)) << allocations;
        EXPECT_FALSE(run->isRunning());
        expectIdle();
        // A nested macro that fails for want of memory keeps what it has done.
        if (isAborted)
        {
            expectNothingChanged();
        }
        manager->clear();
    }
    EXPECT_THAT(notes, ElementsAre("started", isAborted ? "aborted" : "done"));
}

INSTANTIATE_TEST_SUITE_P(Operations, WithoutMemory,
                         testing::Values(Missing::InAbort, Missing::InTheLoopAfterAnAbort,
                                         Missing::InTheLoop));

} // namespace
} // namespace Valdane

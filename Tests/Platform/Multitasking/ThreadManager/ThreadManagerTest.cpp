#include "Platform/Multitasking/ThreadManager.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Tests/Platform/Multitasking/RefusedThreadStart.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ScriptedThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using namespace std::chrono_literals;

using testing::IsEmpty;
using Valdane::Thread;
using Valdane::ThreadManager;
using Valdane::VdException;
using ValdaneTests::ElementsAre;
using ValdaneTests::Gate;
using ValdaneTests::HoldPoint;
using ValdaneTests::Journal;
using ValdaneTests::Script;
using ValdaneTests::ScriptedThread;

static_assert(!std::is_copy_constructible_v<ThreadManager> && !std::is_copy_assignable_v<ThreadManager>);
static_assert(!std::is_move_constructible_v<ThreadManager> && !std::is_move_assignable_v<ThreadManager>);

class ThreadManagerInWorkerMode : public testing::Test
{
protected:
    std::shared_ptr<ScriptedThread> makeThread(Script script = {}) const
    {
        return std::make_shared<ScriptedThread>(journal, std::move(script));
    }

    // A run that stops in its body until the test releases it.
    std::shared_ptr<ScriptedThread> makeHeldThread(Script script = {})
    {
        script.run = [this](const Thread&)
        {
            point.hold();
        };
        return makeThread(std::move(script));
    }

    void addAndWaitUntilHeld(const std::shared_ptr<Thread>& thread)
    {
        manager->addThread(thread);
        point.waitUntilHeld();
    }

    void addAndWaitUntilEnded(const std::shared_ptr<Thread>& thread) const
    {
        manager->addThread(thread);
        EXPECT_TRUE(manager->waitForRunEnd(std::chrono::milliseconds::max()));
    }

    void expectIdle() const
    {
        EXPECT_EQ(manager->getCurrentThread(), nullptr);
        EXPECT_FALSE(manager->isRunEnded());
        EXPECT_TRUE(manager->waitForRunEnd(0ms));
    }

    std::shared_ptr<Journal> journal = std::make_shared<Journal>();
    HoldPoint point;
    std::shared_ptr<ThreadManager> manager = std::make_shared<ThreadManager>();
};

TEST_F(ThreadManagerInWorkerMode, IsTheDefaultAndStartsIdle)
{
    EXPECT_EQ(manager->getThreadingMode(), 1);
    expectIdle();
}

TEST_F(ThreadManagerInWorkerMode, RunsTheStepsInOrderOnTheWorkerAndSignalsTheEndOnTheCaller)
{
    const auto thread = makeThread();
    manager->addThread(thread);
    manager->finalizeThread();
    EXPECT_THAT(journal->lines(), ElementsAre("worker: prepareRun", "worker: run", "worker: finishRun",
                                              "caller: sendFinishSignal(true)"));
    expectIdle();
}

TEST_F(ThreadManagerInWorkerMode, IsEveryModeButZero)
{
    for (const std::int32_t mode : {-1, 2, std::numeric_limits<std::int32_t>::min()})
    {
        manager->setThreadingMode(mode);
        EXPECT_EQ(manager->getThreadingMode(), mode);
        addAndWaitUntilEnded(makeThread());
        EXPECT_TRUE(manager->isRunEnded());
        manager->finalizeThread();
    }
}

TEST_F(ThreadManagerInWorkerMode, AddThreadReturnsWhileTheRunGoesOn)
{
    const auto thread = makeHeldThread();
    addAndWaitUntilHeld(thread);
    EXPECT_EQ(manager->getCurrentThread(), thread);
    EXPECT_FALSE(manager->isRunEnded());
    EXPECT_THAT(journal->lines(), ElementsAre("worker: prepareRun", "worker: run"));
    point.release();
    manager->finalizeThread();
}

TEST_F(ThreadManagerInWorkerMode, AnEndedRunKeepsItsThreadUntilItIsFinalized)
{
    const auto thread = makeThread();
    addAndWaitUntilEnded(thread);
    EXPECT_TRUE(manager->isRunEnded());
    EXPECT_EQ(manager->getCurrentThread(), thread);
    EXPECT_THAT(journal->lines(), ElementsAre("worker: prepareRun", "worker: run", "worker: finishRun"));
    manager->finalizeThread();
    expectIdle();
}

TEST_F(ThreadManagerInWorkerMode, FinalizingTwiceSignalsOnce)
{
    manager->addThread(makeThread());
    manager->finalizeThread();
    const auto before = journal->lines();
    manager->finalizeThread();
    EXPECT_EQ(journal->lines(), before);
}

TEST_F(ThreadManagerInWorkerMode, OperationsWithNothingUnderWayDoNothing)
{
    const auto thread = makeThread();
    manager->finalizeThread();
    manager->abortThreadExecution();
    expectIdle();
    manager->addThread(thread);
    manager->finalizeThread();
    const auto before = journal->lines();
    manager->abortThreadExecution();
    EXPECT_FALSE(thread->isAborted());
    EXPECT_EQ(journal->lines(), before);
}

TEST_F(ThreadManagerInWorkerMode, TheSameThreadCanBeAddedAgain)
{
    const auto thread = makeThread();
    manager->addThread(thread);
    manager->abortThreadExecution();
    manager->finalizeThread();
    EXPECT_TRUE(thread->isAborted());
    manager->addThread(thread);
    EXPECT_FALSE(thread->isAborted());
    manager->finalizeThread();
    EXPECT_EQ(journal->lines().back(), "caller: sendFinishSignal(true)");
}

TEST_F(ThreadManagerInWorkerMode, LetsGoOfTheThreadOnTheCaller)
{
    addAndWaitUntilEnded(makeThread());
    EXPECT_EQ(journal->lines().back(), "worker: finishRun");
    manager->finalizeThread();
    EXPECT_EQ(journal->lines().back(), "caller: destroyed");
    addAndWaitUntilEnded(makeThread({.finishRun = []
                                     {
                                         throw std::runtime_error("late");
                                     }}));
    EXPECT_EQ(journal->lines().back(), "worker: finishRun");
    EXPECT_THROW(manager->finalizeThread(), std::runtime_error);
    EXPECT_EQ(journal->lines().back(), "caller: destroyed");
}

// Exceptions.

TEST_F(ThreadManagerInWorkerMode, AnExceptionOfAStepEndsTheRunAndIsRethrownByFinalizeThread)
{
    const std::function<void()> fail = []
    {
        throw std::runtime_error("no more memory for the mesh");
    };
    const std::vector<Script> scripts = {{.prepareRun = fail},
                                         {.run =
                                              [fail](const Thread&)
                                          {
                                              fail();
                                          }},
                                         {.finishRun = fail}};
    for (std::size_t failing = 0; failing < scripts.size(); ++failing)
    {
        journal = std::make_shared<Journal>();
        const auto thread = makeThread(scripts[failing]);
        addAndWaitUntilEnded(thread);
        EXPECT_EQ(manager->getCurrentThread(), thread);
        EXPECT_THROW(manager->finalizeThread(), std::runtime_error);
        expectIdle();
        EXPECT_FALSE(thread->isAborted());
        manager->finalizeThread();
        std::vector<std::string> stepsUpToTheFailing = {"worker: prepareRun", "worker: run",
                                                        "worker: finishRun"};
        stepsUpToTheFailing.resize(failing + 1);
        EXPECT_EQ(journal->lines(), stepsUpToTheFailing);
    }
}

struct Code
{
    int code = 0;
};

TEST_F(ThreadManagerInWorkerMode, RethrowsTheSameObjectOfWhateverType)
{
    const void* thrown = nullptr;
    manager->addThread(makeThread({.run = [&thrown](const Thread&)
                                   {
                                       try
                                       {
                                           throw Code{.code = 7};
                                       }
                                       catch (const Code& exception)
                                       {
                                           thrown = &exception;
                                           throw;
                                       }
                                   }}));
    try
    {
        manager->finalizeThread();
        FAIL() << "nothing was thrown";
    }
    catch (const Code& exception)
    {
        EXPECT_EQ(exception.code, 7);
        EXPECT_EQ(&exception, thrown);
    }
    expectIdle();
}

TEST_F(ThreadManagerInWorkerMode, KeepsNoExceptionItHasRethrown)
{
    auto held = std::make_shared<int>(7);
    const std::weak_ptr<int> observer = held;
    manager->addThread(makeThread({.run = [&held](const Thread&)
                                   {
                                       throw std::exchange(held, nullptr);
                                   }}));
    EXPECT_THROW(manager->finalizeThread(), std::shared_ptr<int>);
    EXPECT_TRUE(observer.expired());
}

TEST_F(ThreadManagerInWorkerMode, ARunAfterOneThatThrewIsJudgedOnItsOwn)
{
    manager->addThread(makeThread({.prepareRun = []
                                   {
                                       throw 1;
                                   }}));
    EXPECT_THROW(manager->finalizeThread(), int);
    manager->addThread(makeThread());
    EXPECT_NO_THROW(manager->finalizeThread());
}

TEST_F(ThreadManagerInWorkerMode, AnAbortedRunThatThrowsStaysAborted)
{
    const auto thread = makeHeldThread({.finishRun = []
                                        {
                                            throw std::runtime_error("cut short");
                                        }});
    addAndWaitUntilHeld(thread);
    manager->abortThreadExecution();
    point.release();
    EXPECT_THROW(manager->finalizeThread(), std::runtime_error);
    EXPECT_TRUE(thread->isAborted());
    EXPECT_EQ(journal->lines().back(), "worker: finishRun");
}

#ifndef _WIN32

TEST_F(ThreadManagerInWorkerMode, FailureToStartAWorkerLeavesTheManagerIdle)
{
    const auto thread = makeThread();
    {
        const ValdaneTests::RefusedThreadStart refused;
        EXPECT_THROW(manager->addThread(thread), std::system_error);
    }
    expectIdle();
    EXPECT_THAT(journal->lines(), IsEmpty());
    manager->addThread(thread);
    manager->finalizeThread();
    EXPECT_EQ(journal->lines().back(), "caller: sendFinishSignal(true)");
}

#endif

TEST_F(ThreadManagerInWorkerMode, AnEmptyThreadIsRefused)
{
    EXPECT_THROW(manager->addThread(nullptr), VdException);
    expectIdle();
}

// While a run is under way.

TEST_F(ThreadManagerInWorkerMode, ASecondThreadIsRefusedWhileARunGoesOnOrIsNotFinalized)
{
    const auto first = makeHeldThread();
    addAndWaitUntilHeld(first);
    const auto refusedJournal = std::make_shared<Journal>();
    const auto second = std::make_shared<ScriptedThread>(refusedJournal);
    EXPECT_THROW(manager->addThread(second), VdException);
    point.release();
    EXPECT_TRUE(manager->waitForRunEnd(std::chrono::milliseconds::max()));
    EXPECT_THROW(manager->addThread(second), VdException);
    EXPECT_TRUE(manager->isRunEnded());
    EXPECT_EQ(manager->getCurrentThread(), first);
    manager->finalizeThread();
    EXPECT_THAT(refusedJournal->lines(), IsEmpty());
    EXPECT_THAT(journal->lines(), ElementsAre("worker: prepareRun", "worker: run", "worker: finishRun",
                                              "caller: sendFinishSignal(true)"));
}

TEST_F(ThreadManagerInWorkerMode, ARefusedThreadKeepsItsAbortedState)
{
    const auto thread = makeHeldThread();
    addAndWaitUntilHeld(thread);
    manager->abortThreadExecution();
    EXPECT_THROW(manager->addThread(thread), VdException);
    EXPECT_TRUE(thread->isAborted());
    point.release();
    manager->finalizeThread();
    EXPECT_EQ(journal->lines().back(), "caller: sendFinishSignal(false)");
}

TEST_F(ThreadManagerInWorkerMode, TheModeIsFixedWhileARunIsUnderWay)
{
    addAndWaitUntilHeld(makeHeldThread());
    EXPECT_THROW(manager->setThreadingMode(0), VdException);
    point.release();
    EXPECT_TRUE(manager->waitForRunEnd(std::chrono::milliseconds::max()));
    EXPECT_THROW(manager->setThreadingMode(0), VdException);
    EXPECT_EQ(manager->getThreadingMode(), 1);
    manager->finalizeThread();
    manager->setThreadingMode(0);
    EXPECT_EQ(manager->getThreadingMode(), 0);
}

TEST_F(ThreadManagerInWorkerMode, ARunCannotFinalizeOrWaitForItself)
{
    bool ended = true;
    const auto thread = makeThread({.run = [this, &ended](const Thread&)
                                    {
                                        EXPECT_THROW(manager->finalizeThread(), VdException);
                                        ended = manager->waitForRunEnd(std::chrono::milliseconds::max());
                                    }});
    addAndWaitUntilEnded(thread);
    EXPECT_FALSE(ended);
    EXPECT_EQ(manager->getCurrentThread(), thread);
    manager->finalizeThread();
    EXPECT_EQ(journal->lines().back(), "caller: sendFinishSignal(true)");
}

// Aborts.

TEST_F(ThreadManagerInWorkerMode, AnAbortBeforeTheRunIsSeenByTheRunThatIsCalledAllTheSame)
{
    const auto thread = makeThread({.prepareRun = [this]
                                    {
                                        point.hold();
                                    }});
    addAndWaitUntilHeld(thread);
    manager->abortThreadExecution();
    point.release();
    manager->finalizeThread();
    EXPECT_THAT(journal->lines(),
                ElementsAre("worker: prepareRun", "caller: abortRun", "worker: run, aborted",
                            "worker: finishRun", "caller: sendFinishSignal(false)"));
}

TEST_F(ThreadManagerInWorkerMode, AnAbortDuringTheRunCallsAbortRunOnTheCaller)
{
    const auto thread = makeHeldThread({.abortRun = [this]
                                        {
                                            point.release();
                                        }});
    addAndWaitUntilHeld(thread);
    EXPECT_FALSE(thread->isAborted());
    manager->abortThreadExecution();
    EXPECT_TRUE(thread->isAborted());
    EXPECT_EQ(manager->getCurrentThread(), thread);
    manager->finalizeThread();
    auto lines = journal->lines();
    EXPECT_EQ(std::erase(lines, "caller: abortRun"), 1U);
    EXPECT_THAT(lines, ElementsAre("worker: prepareRun", "worker: run", "worker: finishRun",
                                   "caller: sendFinishSignal(false)"));
}

TEST_F(ThreadManagerInWorkerMode, AnAbortAfterTheRunStillReportsFalse)
{
    const auto thread = makeThread();
    addAndWaitUntilEnded(thread);
    manager->abortThreadExecution();
    EXPECT_TRUE(manager->isRunEnded());
    manager->finalizeThread();
    EXPECT_THAT(journal->lines(), ElementsAre("worker: prepareRun", "worker: run", "worker: finishRun",
                                              "caller: abortRun", "caller: sendFinishSignal(false)"));
    EXPECT_TRUE(thread->isAborted());
}

TEST_F(ThreadManagerInWorkerMode, AnExceptionOfAbortRunReachesTheAborterAndTheAbortHolds)
{
    const auto thread = makeHeldThread({.abortRun = []
                                        {
                                            throw std::runtime_error("cannot stop");
                                        }});
    addAndWaitUntilHeld(thread);
    EXPECT_THROW(manager->abortThreadExecution(), std::runtime_error);
    EXPECT_TRUE(thread->isAborted());
    EXPECT_EQ(manager->getCurrentThread(), thread);
    point.release();
    EXPECT_NO_THROW(manager->finalizeThread());
    EXPECT_EQ(journal->lines().back(), "caller: sendFinishSignal(false)");
}

TEST_F(ThreadManagerInWorkerMode, AbortRunMayFinalizeTheRun)
{
    addAndWaitUntilHeld(makeHeldThread({.abortRun = [this]
                                        {
                                            point.release();
                                            manager->finalizeThread();
                                            journal->add("finalized");
                                        }}));
    manager->abortThreadExecution();
    auto lines = journal->lines();
    EXPECT_EQ(lines.back(), "caller: destroyed");
    lines.pop_back();
    EXPECT_EQ(lines.back(), "caller: finalized");
    expectIdle();
}

// What sendFinishSignal may do.

TEST_F(ThreadManagerInWorkerMode, IsIdleWhenTheFinishIsSignalled)
{
    manager->addThread(makeThread({.sendFinishSignal = [this](bool)
                                   {
                                       expectIdle();
                                       manager->finalizeThread();
                                       manager->setThreadingMode(3);
                                   }}));
    manager->finalizeThread();
    EXPECT_EQ(manager->getThreadingMode(), 3);
}

TEST_F(ThreadManagerInWorkerMode, SendFinishSignalMayAddTheNextThread)
{
    const auto next = makeHeldThread();
    manager->addThread(makeThread({.sendFinishSignal = [this, next](bool)
                                   {
                                       addAndWaitUntilHeld(next);
                                   }}));
    manager->finalizeThread();
    EXPECT_EQ(manager->getCurrentThread(), next);
    point.release();
    manager->finalizeThread();
    expectIdle();
}

TEST_F(ThreadManagerInWorkerMode, SendFinishSignalMayDestroyTheManager)
{
    const std::weak_ptr<ThreadManager> observer = manager;
    manager->addThread(makeThread({.sendFinishSignal = [this](bool)
                                   {
                                       manager.reset();
                                   }}));
    manager->finalizeThread();
    EXPECT_TRUE(observer.expired());
    EXPECT_EQ(journal->lines().back(), "caller: destroyed");
}

TEST_F(ThreadManagerInWorkerMode, AnExceptionOfSendFinishSignalPassesThroughAndLeavesTheManagerIdle)
{
    manager->addThread(makeThread({.sendFinishSignal = [](bool)
                                   {
                                       throw std::runtime_error("not now");
                                   }}));
    EXPECT_THROW(manager->finalizeThread(), std::runtime_error);
    expectIdle();
    EXPECT_NO_THROW(manager->finalizeThread());
}

// Learning of the end.

TEST_F(ThreadManagerInWorkerMode, WaitingHasATimeLimit)
{
    addAndWaitUntilHeld(makeHeldThread());
    EXPECT_FALSE(manager->waitForRunEnd(0ms));
    EXPECT_FALSE(manager->waitForRunEnd(1ms));
    EXPECT_FALSE(manager->waitForRunEnd(std::chrono::milliseconds::min()));
    point.release();
    EXPECT_TRUE(manager->waitForRunEnd(std::chrono::milliseconds::max()));
    EXPECT_TRUE(manager->waitForRunEnd(0ms));
    EXPECT_TRUE(manager->isRunEnded());
    manager->finalizeThread();
}

TEST_F(ThreadManagerInWorkerMode, TheCallbackIsCalledOnTheWorkerAfterTheEnd)
{
    bool ended = false;
    manager->setRunEndedCallback(
        [this, &ended]
        {
            ended = manager->isRunEnded();
            journal->add("callback");
        });
    const auto thread = makeThread();
    manager->addThread(thread);
    manager->finalizeThread();
    EXPECT_TRUE(ended);
    EXPECT_THAT(journal->lines(), ElementsAre("worker: prepareRun", "worker: run", "worker: finishRun",
                                              "worker: callback", "caller: sendFinishSignal(true)"));
}

TEST_F(ThreadManagerInWorkerMode, TheCallbackIsCalledAfterARunThatThrew)
{
    manager->setRunEndedCallback([this] { journal->add("callback"); });
    const auto thread = makeThread({.prepareRun = []
                                    {
                                        throw 1;
                                    }});
    manager->addThread(thread);
    EXPECT_THROW(manager->finalizeThread(), int);
    EXPECT_THAT(journal->lines(), ElementsAre("worker: prepareRun", "worker: callback"));
}

TEST_F(ThreadManagerInWorkerMode, FinalizeThreadWaitsForACallbackThatHasBegun)
{
    Gate begun;
    manager->setRunEndedCallback(
        [this, &begun]
        {
            begun.open();
            journal->add("callback");
        });
    const auto thread = makeThread({.sendFinishSignal = [this](bool)
                                    {
                                        journal->add("signalled");
                                    }});
    manager->addThread(thread);
    begun.waitUntilOpen();
    manager->finalizeThread();
    EXPECT_EQ(journal->lines().at(3), "worker: callback");
    EXPECT_EQ(journal->lines().back(), "caller: signalled");
}

TEST_F(ThreadManagerInWorkerMode, ACallbackSetDuringARunServesTheNextRun)
{
    manager->setRunEndedCallback([this] { journal->add("first"); });
    const auto thread = makeHeldThread();
    addAndWaitUntilHeld(thread);
    manager->setRunEndedCallback([this] { journal->add("second"); });
    point.release();
    manager->finalizeThread();
    EXPECT_EQ(journal->lines().at(3), "worker: first");
    manager->addThread(thread);
    manager->finalizeThread();
    EXPECT_EQ(journal->lines().at(8), "worker: second");
    manager->setRunEndedCallback({});
    manager->addThread(thread);
    manager->finalizeThread();
    EXPECT_EQ(journal->lines().size(), 14U);
}

TEST_F(ThreadManagerInWorkerMode, ACallbackCannotFinalizeButMayWait)
{
    bool ended = false;
    manager->setRunEndedCallback(
        [this, &ended]
        {
            EXPECT_THROW(manager->finalizeThread(), VdException);
            ended = manager->waitForRunEnd(std::chrono::milliseconds::max());
        });
    manager->addThread(makeThread());
    manager->finalizeThread();
    EXPECT_TRUE(ended);
    EXPECT_EQ(journal->lines().at(3), "caller: sendFinishSignal(true)");
}

TEST_F(ThreadManagerInWorkerMode, ACallbackThatOwnsTheManagerMayBeItsLastOwner)
{
    const std::weak_ptr<ThreadManager> observer = manager;
    manager->setRunEndedCallback([owner = manager] {});
    manager->addThread(makeThread());
    manager->setRunEndedCallback({});
    ThreadManager* const owned = manager.get();
    manager.reset();
    EXPECT_FALSE(observer.expired());
    owned->finalizeThread();
    EXPECT_TRUE(observer.expired());
}

// A child process starts over in this style, so that it has no threads of its parent.
TEST(ThreadManagerDeathTest, AnExceptionOutOfTheCallbackTerminates)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            ThreadManager manager;
            manager.setRunEndedCallback([] { throw std::runtime_error("the event loop is gone"); });
            manager.addThread(std::make_shared<ScriptedThread>(std::make_shared<Journal>()));
            manager.finalizeThread();
        },
        "the event loop is gone");
}

// Destruction.

TEST_F(ThreadManagerInWorkerMode, DestroyingAnIdleManagerLeavesItsLastThreadAlone)
{
    const auto thread = makeThread();
    manager->addThread(thread);
    manager->finalizeThread();
    const auto before = journal->lines();
    manager.reset();
    EXPECT_EQ(journal->lines(), before);
    EXPECT_FALSE(thread->isAborted());
}

TEST_F(ThreadManagerInWorkerMode, DestroyingTheManagerAbortsTheRunAndWaitsForItsEnd)
{
    manager->setRunEndedCallback([this] { journal->add("callback"); });
    addAndWaitUntilHeld(makeHeldThread({.abortRun = [this]
                                        {
                                            point.release();
                                        }}));
    manager.reset();
    auto lines = journal->lines();
    EXPECT_EQ(std::erase(lines, "caller: abortRun"), 1U);
    EXPECT_THAT(lines,
                ElementsAre("worker: prepareRun", "worker: run", "worker: finishRun", "caller: destroyed"));
}

TEST_F(ThreadManagerInWorkerMode, DestroyingTheManagerDiscardsAnEndedRun)
{
    const auto thread = makeThread();
    addAndWaitUntilEnded(thread);
    manager.reset();
    EXPECT_TRUE(thread->isAborted());
    EXPECT_THAT(journal->lines(),
                ElementsAre("worker: prepareRun", "worker: run", "worker: finishRun", "caller: abortRun"));
}

TEST_F(ThreadManagerInWorkerMode, DestroyingTheManagerLetsNothingEscape)
{
    addAndWaitUntilHeld(makeHeldThread({.finishRun = [] { throw std::runtime_error("from the run"); },
                                        .abortRun =
                                            [this]
                                        {
                                            point.release();
                                            throw std::runtime_error("from the abort");
                                        }}));
    EXPECT_NO_THROW(manager.reset());
    EXPECT_EQ(journal->lines().back(), "caller: destroyed");
}

TEST_F(ThreadManagerInWorkerMode, TheLastReferenceMayBeDroppedByTheRun)
{
    Gate destroyed;
    const std::weak_ptr<ThreadManager> observer = manager;
    auto inside = manager;
    manager->setRunEndedCallback([this] { journal->add("callback"); });
    manager->addThread(makeThread({.run =
                                       [this, &inside, &observer](const Thread& thread)
                                   {
                                       point.hold();
                                       inside.reset();
                                       EXPECT_TRUE(observer.expired());
                                       EXPECT_TRUE(thread.isAborted());
                                   },
                                   .destroyed =
                                       [&destroyed]
                                   {
                                       destroyed.open();
                                   }}));
    point.waitUntilHeld();
    manager.reset();
    point.release();
    destroyed.waitUntilOpen();
    EXPECT_THAT(journal->lines(), ElementsAre("worker: prepareRun", "worker: run", "worker: abortRun",
                                              "worker: finishRun", "worker: destroyed"));
}

TEST_F(ThreadManagerInWorkerMode, TheLastReferenceMayBeDroppedByTheCallback)
{
    Gate destroyed;
    auto inside = manager;
    manager->setRunEndedCallback(
        [this, &inside]
        {
            point.hold();
            inside.reset();
            journal->add("callback");
        });
    manager->addThread(makeThread({.destroyed = [&destroyed]
                                   {
                                       destroyed.open();
                                   }}));
    point.waitUntilHeld();
    manager.reset();
    point.release();
    destroyed.waitUntilOpen();
    EXPECT_THAT(journal->lines(), ElementsAre("worker: prepareRun", "worker: run", "worker: finishRun",
                                              "worker: abortRun", "worker: callback", "worker: destroyed"));
}

} // namespace

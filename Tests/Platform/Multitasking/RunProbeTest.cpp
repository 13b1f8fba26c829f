#include "Platform/Multitasking/RunProbe.h"

#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Tests/Support/ScriptedThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using Valdane::RunProbe;
using Valdane::Thread;
using Valdane::ThreadManager;
using ValdaneTests::HoldPoint;
using ValdaneTests::Journal;
using ValdaneTests::Script;
using ValdaneTests::ScriptedThread;

// Writes down what it is told, and then does what the test says.
class NotingProbe final : public RunProbe
{
public:
    explicit NotingProbe(std::shared_ptr<Journal> noted) : journal(std::move(noted)), before(install(this)) {}

    NotingProbe(const NotingProbe&) = delete;
    NotingProbe& operator=(const NotingProbe&) = delete;

    ~NotingProbe() override
    {
        EXPECT_EQ(install(before), this);
    }

    void runBegins(const Thread& /*thread*/) override
    {
        journal->add("probe: begin");
        call(onBegin);
    }

    void abortIsAsked(const Thread& /*thread*/) override
    {
        journal->add("probe: question");
        call(onAsk);
    }

    void abortWasSet(const Thread& thread) override
    {
        journal->add(thread.isAborted() ? "probe: aborted" : "probe: not aborted yet");
        call(onAbort);
    }

    std::function<void()> onBegin = nullptr;
    std::function<void()> onAsk = nullptr;
    std::function<void()> onAbort = nullptr;

private:
    static void call(const std::function<void()>& action)
    {
        if (action)
        {
            action();
        }
    }

    std::shared_ptr<Journal> journal;
    RunProbe* before;
};

class RunProbeTest : public testing::Test
{
protected:
    // The run of the script asks once, before it writes "run" down.
    std::shared_ptr<ScriptedThread> makeThread() const
    {
        return std::make_shared<ScriptedThread>(journal, script);
    }

    void runOnce()
    {
        manager.addThread(makeThread());
        manager.finalizeThread();
    }

    std::shared_ptr<Journal> journal = std::make_shared<Journal>();
    Script script;
    ThreadManager manager;
};

TEST_F(RunProbeTest, IsToldOnTheWorkerOfTheBeginAndOfEachQuestion)
{
    const NotingProbe probe(journal);
    script.run = [](const Thread& run)
    {
        EXPECT_FALSE(run.isAborted());
    };
    runOnce();
    EXPECT_THAT(journal->lines(),
                ElementsAre("worker: probe: begin", "worker: prepareRun", "worker: probe: question",
                            "worker: run", "worker: probe: question", "worker: finishRun",
                            "caller: sendFinishSignal(true)", "caller: destroyed"));
}

TEST_F(RunProbeTest, IsToldOnTheCallersThreadInSynchronousMode)
{
    const NotingProbe probe(journal);
    manager.setThreadingMode(0);
    runOnce();
    EXPECT_THAT(journal->lines(), ElementsAre("caller: probe: begin", "caller: prepareRun",
                                              "caller: probe: question", "caller: run", "caller: finishRun",
                                              "caller: sendFinishSignal(true)", "caller: destroyed"));
}

TEST_F(RunProbeTest, AnAbortAtAQuestionIsItsAnswer)
{
    NotingProbe probe(journal);
    HoldPoint point;
    HoldPoint* held = &point;
    probe.onAsk = [&]
    {
        if (auto* const here = std::exchange(held, nullptr))
        {
            here->hold();
        }
    };
    probe.onAbort = [&]
    {
        point.release();
    };
    manager.addThread(makeThread());
    point.waitUntilHeld();
    manager.abortThreadExecution();
    manager.finalizeThread();
    EXPECT_THAT(journal->lines(), Contains("worker: run, aborted"));
    EXPECT_THAT(journal->lines(), Contains("caller: probe: aborted"));
    EXPECT_THAT(journal->lines(), Contains("caller: sendFinishSignal(false)"));
}

TEST_F(RunProbeTest, IsToldOfAnAbortBeforeAbortRunIsCalled)
{
    NotingProbe probe(journal);
    manager.setThreadingMode(0);
    probe.onBegin = [this]
    {
        manager.abortThreadExecution();
    };
    runOnce();
    EXPECT_THAT(journal->lines(),
                ElementsAre("caller: probe: begin", "caller: probe: aborted", "caller: abortRun",
                            "caller: prepareRun", "caller: probe: question", "caller: run, aborted",
                            "caller: finishRun", "caller: sendFinishSignal(false)", "caller: destroyed"));
}

TEST_F(RunProbeTest, IsToldOfNoQuestionsButThoseOfTheRunItself)
{
    const NotingProbe probe(journal);
    const auto other = makeThread();
    HoldPoint point;
    script.run = [&](const Thread&)
    {
        EXPECT_FALSE(other->isAborted());
        point.hold();
    };
    const auto thread = makeThread();
    manager.addThread(thread);
    point.waitUntilHeld();
    EXPECT_FALSE(thread->isAborted()) << "the caller asks";
    point.release();
    manager.finalizeThread();
    EXPECT_THAT(journal->lines(),
                ElementsAre("worker: probe: begin", "worker: prepareRun", "worker: probe: question",
                            "worker: run", "worker: finishRun", "caller: sendFinishSignal(true)"));
}

TEST_F(RunProbeTest, IsNotToldWhatTheProbeItselfAsks)
{
    NotingProbe probe(journal);
    const auto thread = makeThread();
    probe.onAsk = [&]
    {
        EXPECT_FALSE(thread->isAborted());
    };
    manager.addThread(thread);
    manager.finalizeThread();
    EXPECT_THAT(journal->lines(), Contains("worker: probe: question").Times(1));
}

TEST_F(RunProbeTest, ARunWithinARunIsToldByItself)
{
    const NotingProbe probe(journal);
    script.run = [this](const Thread& run)
    {
        ThreadManager inner;
        inner.setThreadingMode(0);
        inner.addThread(std::make_shared<ScriptedThread>(journal));
        EXPECT_FALSE(run.isAborted());
    };
    manager.setThreadingMode(0);
    runOnce();
    EXPECT_THAT(journal->lines(),
                ElementsAre("caller: probe: begin", "caller: prepareRun", "caller: probe: question",
                            "caller: run", "caller: probe: begin", "caller: prepareRun",
                            "caller: probe: question", "caller: run", "caller: finishRun",
                            "caller: sendFinishSignal(true)", "caller: destroyed", "caller: probe: question",
                            "caller: finishRun", "caller: sendFinishSignal(true)", "caller: destroyed"));
}

TEST_F(RunProbeTest, WhatItThrowsIsAFailureOfTheRun)
{
    NotingProbe probe(journal);
    probe.onBegin = []
    {
        throw std::runtime_error("from the probe");
    };
    EXPECT_THROW(runOnce(), std::runtime_error);
    EXPECT_THAT(journal->lines(), ElementsAre("worker: probe: begin", "caller: destroyed"));
    probe.onBegin = nullptr;
    probe.onAsk = []
    {
        throw 1;
    };
    EXPECT_THROW(runOnce(), int);
}

TEST_F(RunProbeTest, ARunThatFailedIsNotTakenForARunningOne)
{
    const NotingProbe probe(journal);
    script.run = [](const Thread&)
    {
        throw std::runtime_error("from the run");
    };
    manager.setThreadingMode(0);
    const auto thread = makeThread();
    EXPECT_THROW(manager.addThread(thread), std::runtime_error);
    EXPECT_FALSE(thread->isAborted());
    EXPECT_THAT(journal->lines(), Contains("caller: probe: question").Times(1));
}

TEST_F(RunProbeTest, OneThatIsTakenOutIsToldNothing)
{
    {
        const NotingProbe probe(journal);
    }
    runOnce();
    manager.addThread(makeThread());
    manager.abortThreadExecution();
    manager.finalizeThread();
    EXPECT_THAT(journal->lines(), testing::Not(Contains(testing::HasSubstr("probe"))));
}

} // namespace

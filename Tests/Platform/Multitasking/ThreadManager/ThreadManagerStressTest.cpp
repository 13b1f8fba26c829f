#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Tests/Support/Poller.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>

namespace
{

using Valdane::Thread;
using Valdane::ThreadManager;

// What is not atomic here is handed over by the manager alone: the thread sanitizer watches it.
class CountingThread : public Thread
{
public:
    explicit CountingThread(bool throwingRun) : Thread("counting"), throwing(throwingRun) {}

    void run() override
    {
        ++steps;
        sawAbort = isAborted();
    }

    void finishRun() override
    {
        ++steps;
        if (throwing)
        {
            throw std::runtime_error("counted");
        }
    }

    void sendFinishSignal(bool ok) override
    {
        ++signals;
        lastSignal = ok;
    }

    bool throwing;
    bool sawAbort = false;
    bool lastSignal = false;
    int steps = 0;
    int signals = 0;
    std::atomic<int> aborts = 0;

protected:
    void prepareRun() override
    {
        ++steps;
    }

    void abortRun() override
    {
        ++aborts;
    }
};

struct Outcome
{
    bool aborted = false;
    bool thrown = false;
};

Outcome finalize(ThreadManager& manager, const CountingThread& thread)
{
    try
    {
        manager.finalizeThread();
        return {.aborted = thread.isAborted()};
    }
    catch (const std::runtime_error&)
    {
        return {.aborted = thread.isAborted(), .thrown = true};
    }
}

void expectConcluded(const CountingThread& thread, const Outcome& outcome, bool abortRequested)
{
    EXPECT_EQ(thread.steps, 3);
    EXPECT_EQ(thread.aborts, abortRequested ? 1 : 0);
    EXPECT_EQ(outcome.aborted, abortRequested);
    EXPECT_EQ(outcome.thrown, thread.throwing);
    EXPECT_EQ(thread.signals, thread.throwing ? 0 : 1);
    EXPECT_EQ(thread.lastSignal, !thread.throwing && !abortRequested);
    EXPECT_TRUE(abortRequested || !thread.sawAbort);
}

TEST(ThreadManagerStress, ThousandsOfShortRunsWithRacingAbortsAreAllConcluded)
{
    constexpr int runs = 3000;
    ThreadManager manager;
    std::atomic<int> callbacks = 0;
    manager.setRunEndedCallback([&callbacks] { ++callbacks; });
    const ValdaneTests::Poller display([&manager]
                                       { return manager.isRunEnded() && manager.getThreadingMode() == 1; });
    for (int i = 0; i < runs; ++i)
    {
        const auto thread = std::make_shared<CountingThread>(i % 5 == 0);
        manager.addThread(thread);
        const bool aborting = i % 3 != 0;
        // From an abort that mostly comes before the worker to one that mostly meets its end.
        for (int turn = 0; turn < i % 7; ++turn)
        {
            std::this_thread::yield();
        }
        if (aborting)
        {
            manager.abortThreadExecution();
        }
        if (i % 2 == 0)
        {
            EXPECT_TRUE(manager.waitForRunEnd(std::chrono::milliseconds::max()));
        }
        const Outcome outcome = finalize(manager, *thread);
        expectConcluded(*thread, outcome, aborting);
        EXPECT_EQ(manager.getCurrentThread(), nullptr);
        EXPECT_EQ(callbacks, i + 1);
    }
}

TEST(ThreadManagerStress, ManagersDestroyedAtAnyMomentJoinTheirRuns)
{
    constexpr int runs = 2000;
    for (int i = 0; i < runs; ++i)
    {
        const auto thread = std::make_shared<CountingThread>(i % 5 == 0);
        bool calledBack = false;
        {
            ThreadManager manager;
            manager.setRunEndedCallback([&calledBack] { calledBack = true; });
            manager.addThread(thread);
            for (int turn = 0; turn < i % 7; ++turn)
            {
                std::this_thread::yield();
            }
        }
        EXPECT_EQ(thread->steps, 3);
        EXPECT_EQ(thread->signals, 0);
        EXPECT_EQ(thread->aborts, 1);
        EXPECT_EQ(thread.use_count(), 1);
    }
}

} // namespace

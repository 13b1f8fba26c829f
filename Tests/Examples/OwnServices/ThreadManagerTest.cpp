#include "Platform/Multitasking/ThreadManager.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Multitasking/Thread.h"
#include "Workshop/JobQueue.h"
#include "Workshop/Worker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

using testing::ElementsAre;
using Valdane::Thread;
using Valdane::ThreadManager;
using Valdane::VdException;
using Workshop::JobQueue;
using Workshop::Worker;

/// Notes what it is told; its work can be set.
class NotingThread : public Thread
{
public:
    NotingThread() : Thread("noting") {}

    void run() override
    {
        notes.emplace_back("run");
        runner = std::this_thread::get_id();
        work();
    }

    void finishRun() override
    {
        notes.emplace_back("finishRun");
    }

    void sendFinishSignal(bool ok) override
    {
        notes.emplace_back(ok ? "true" : "false");
        teller = std::this_thread::get_id();
    }

    std::vector<std::string> notes;
    std::thread::id runner;
    std::thread::id teller;
    std::function<void()> work = [] {
    };
    bool isTold = false;

protected:
    void prepareRun() override
    {
        notes.emplace_back("prepareRun");
    }

    // Not among the notes, as the run goes on meanwhile.
    void abortRun() override
    {
        isTold = true;
    }
};

class OwnThreadManagerTest : public testing::Test
{
protected:
    OwnThreadManagerTest()
    {
        manager->runOn(worker, [this] { ended.post([] {}); });
    }

    /// Work that goes on until an abort.
    std::function<void()> untilAborted() const
    {
        return [thread = thread.get()]
        {
            while (!thread->isAborted())
            {
                std::this_thread::yield();
            }
        };
    }

    std::shared_ptr<NotingThread> thread = std::make_shared<NotingThread>();
    JobQueue ended;
    Worker worker;
    std::unique_ptr<ThreadManager> manager = std::make_unique<ThreadManager>();
};

TEST_F(OwnThreadManagerTest, TheStepsAreDoneOnTheWorkerAndTheirEndIsToldByFinalizing)
{
    EXPECT_EQ(manager->getThreadingMode(), 1);
    manager->addThread(thread);
    EXPECT_EQ(manager->getCurrentThread(), thread);
    manager->finalizeThread();
    EXPECT_EQ(manager->getCurrentThread(), nullptr);
    EXPECT_THAT(thread->notes, ElementsAre("prepareRun", "run", "finishRun", "true"));
    EXPECT_NE(thread->runner, std::this_thread::get_id());
    EXPECT_EQ(thread->teller, std::this_thread::get_id());
}

TEST_F(OwnThreadManagerTest, WhatTheRunThrowsComesOutOfFinalizingAsTheSameObject)
{
    const std::logic_error* thrown = nullptr;
    thread->work = [&]
    {
        try
        {
            throw std::logic_error("broken");
        }
        catch (const std::logic_error& exception)
        {
            thrown = &exception;
            throw;
        }
    };
    manager->addThread(thread);
    const std::logic_error* caught = nullptr;
    try
    {
        manager->finalizeThread();
    }
    catch (const std::logic_error& exception)
    {
        caught = &exception;
    }
    EXPECT_NE(caught, nullptr);
    EXPECT_EQ(caught, thrown);
    EXPECT_EQ(manager->getCurrentThread(), nullptr);
    EXPECT_THAT(thread->notes, ElementsAre("prepareRun", "run"));
}

TEST_F(OwnThreadManagerTest, TheEndOfARunIsToldOnTheWorkerAndCanBeAskedFor)
{
    EXPECT_FALSE(manager->isRunEnded());
    thread->work = untilAborted();
    manager->addThread(thread);
    EXPECT_FALSE(manager->isRunEnded());
    manager->abortThreadExecution();
    ended.runNext();
    EXPECT_TRUE(manager->isRunEnded());
    manager->finalizeThread();
    EXPECT_FALSE(manager->isRunEnded());
}

TEST_F(OwnThreadManagerTest, ASecondThreadIsRefusedAndTheFirstGoesOn)
{
    thread->work = untilAborted();
    manager->addThread(thread);
    EXPECT_THROW(manager->addThread(std::make_shared<NotingThread>()), VdException);
    EXPECT_THROW(manager->addThread(thread), VdException);
    EXPECT_EQ(manager->getCurrentThread(), thread);
    manager->abortThreadExecution();
    EXPECT_THROW(manager->addThread(thread), VdException);
    EXPECT_TRUE(thread->isAborted());
    manager->finalizeThread();
    EXPECT_THAT(thread->notes, ElementsAre("prepareRun", "run", "finishRun", "false"));
}

TEST_F(OwnThreadManagerTest, AnAbortIsToldAndCountsUntilTheThreadIsAddedAgain)
{
    manager->addThread(thread);
    manager->abortThreadExecution();
    EXPECT_TRUE(thread->isTold);
    EXPECT_TRUE(thread->isAborted());
    manager->finalizeThread();
    EXPECT_EQ(thread->notes.back(), "false");
    EXPECT_TRUE(thread->isAborted());
    manager->addThread(thread);
    EXPECT_FALSE(thread->isAborted());
    manager->finalizeThread();
    EXPECT_EQ(thread->notes.back(), "true");
}

TEST_F(OwnThreadManagerTest, WithNothingUnderWayThereIsNothingToFinalizeOrAbort)
{
    manager->finalizeThread();
    manager->abortThreadExecution();
    EXPECT_EQ(manager->getCurrentThread(), nullptr);
}

TEST_F(OwnThreadManagerTest, DestroyingItAbortsTheRunAndWaitsForItsEnd)
{
    thread->work = untilAborted();
    manager->addThread(thread);
    manager.reset();
    EXPECT_THAT(thread->notes, ElementsAre("prepareRun", "run", "finishRun"));
    EXPECT_TRUE(thread->isTold);
}

TEST_F(OwnThreadManagerTest, TwoManagersTakeTurnsOnOneWorker)
{
    ThreadManager other;
    const auto otherThread = std::make_shared<NotingThread>();
    other.runOn(worker, [] {});
    manager->addThread(thread);
    other.addThread(otherThread);
    other.finalizeThread();
    manager->finalizeThread();
    EXPECT_EQ(thread->runner, otherThread->runner);
}

TEST(ThreadManagerWithoutAWorkerTest, TheStepsAreDoneAndTheirEndIsToldAtOnce)
{
    ThreadManager manager;
    EXPECT_EQ(manager.getThreadingMode(), 0);
    const auto thread = std::make_shared<NotingThread>();
    thread->work = [&]
    {
        EXPECT_EQ(manager.getCurrentThread(), thread);
        EXPECT_THROW(manager.addThread(thread), VdException);
        manager.finalizeThread();
        EXPECT_EQ(manager.getCurrentThread(), thread);
    };
    manager.addThread(thread);
    EXPECT_THAT(thread->notes, ElementsAre("prepareRun", "run", "finishRun", "true"));
    EXPECT_EQ(thread->runner, std::this_thread::get_id());
    EXPECT_EQ(manager.getCurrentThread(), nullptr);
}

TEST(ThreadManagerWithoutAWorkerTest, AnAbortFromWithinTheRunIsTold)
{
    ThreadManager manager;
    const auto thread = std::make_shared<NotingThread>();
    thread->work = [&]
    {
        manager.abortThreadExecution();
    };
    manager.addThread(thread);
    EXPECT_TRUE(thread->isTold);
    EXPECT_EQ(thread->notes.back(), "false");
}

TEST(ThreadManagerWithoutAWorkerTest, AFailureIsToldBeforeItComesOut)
{
    ThreadManager manager;
    const auto thread = std::make_shared<NotingThread>();
    thread->work = []
    {
        throw std::logic_error("broken");
    };
    EXPECT_THROW(manager.addThread(thread), std::logic_error);
    EXPECT_THAT(thread->notes, ElementsAre("prepareRun", "run", "false"));
    EXPECT_EQ(manager.getCurrentThread(), nullptr);
}

} // namespace

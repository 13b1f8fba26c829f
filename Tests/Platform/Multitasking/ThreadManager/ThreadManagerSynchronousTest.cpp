#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ScriptedThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
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
using ValdaneTests::Journal;
using ValdaneTests::Script;
using ValdaneTests::ScriptedThread;

class ThreadManagerInSynchronousMode : public testing::Test
{
protected:
    void SetUp() override
    {
        manager->setThreadingMode(0);
    }

    std::shared_ptr<ScriptedThread> makeThread(Script script = {}) const
    {
        return std::make_shared<ScriptedThread>(journal, std::move(script));
    }

    void expectIdle() const
    {
        EXPECT_EQ(manager->getCurrentThread(), nullptr);
        EXPECT_FALSE(manager->isRunEnded());
        EXPECT_TRUE(manager->waitForRunEnd(0ms));
    }

    std::shared_ptr<Journal> journal = std::make_shared<Journal>();
    std::shared_ptr<ThreadManager> manager = std::make_shared<ThreadManager>();
};

TEST_F(ThreadManagerInSynchronousMode, RunsEverythingInsideAddThread)
{
    manager->addThread(makeThread());
    EXPECT_THAT(journal->lines(), ElementsAre("caller: prepareRun", "caller: run", "caller: finishRun",
                                              "caller: sendFinishSignal(true)", "caller: destroyed"));
    expectIdle();
}

TEST_F(ThreadManagerInSynchronousMode, FinalizeThreadAfterTheRunDoesNothing)
{
    manager->addThread(makeThread());
    const auto before = journal->lines();
    manager->finalizeThread();
    EXPECT_EQ(journal->lines(), before);
}

TEST_F(ThreadManagerInSynchronousMode, TheRunSeesItselfUnderWay)
{
    std::shared_ptr<Thread> current;
    const auto thread =
        makeThread({.run = [this, &current](const Thread&)
                    {
                        current = manager->getCurrentThread();
                        EXPECT_FALSE(manager->isRunEnded());
                        EXPECT_FALSE(manager->waitForRunEnd(std::chrono::milliseconds::max()));
                    }});
    manager->addThread(thread);
    EXPECT_EQ(current, thread);
}

TEST_F(ThreadManagerInSynchronousMode, TheRunEndedCallbackIsNotCalled)
{
    manager->setRunEndedCallback([this] { journal->add("callback"); });
    const auto thread = makeThread();
    manager->addThread(thread);
    EXPECT_THAT(journal->lines(), ElementsAre("caller: prepareRun", "caller: run", "caller: finishRun",
                                              "caller: sendFinishSignal(true)"));
}

TEST_F(ThreadManagerInSynchronousMode, ARunMayAbortItself)
{
    const auto thread = makeThread({.prepareRun = [this]
                                    {
                                        manager->abortThreadExecution();
                                    }});
    manager->addThread(thread);
    EXPECT_THAT(journal->lines(),
                ElementsAre("caller: prepareRun", "caller: abortRun", "caller: run, aborted",
                            "caller: finishRun", "caller: sendFinishSignal(false)"));
    EXPECT_TRUE(thread->isAborted());
}

TEST_F(ThreadManagerInSynchronousMode, AddingAThreadClearsItsAbortedState)
{
    bool aborting = true;
    const auto thread = makeThread({.prepareRun = [this, &aborting]
                                    {
                                        if (aborting)
                                        {
                                            manager->abortThreadExecution();
                                        }
                                    }});
    manager->addThread(thread);
    aborting = false;
    manager->addThread(thread);
    EXPECT_FALSE(thread->isAborted());
    EXPECT_EQ(journal->lines().back(), "caller: sendFinishSignal(true)");
}

TEST_F(ThreadManagerInSynchronousMode, AnEmptyThreadIsRefused)
{
    EXPECT_THROW(manager->addThread(nullptr), VdException);
    expectIdle();
}

TEST_F(ThreadManagerInSynchronousMode, ARunIsRefusedWhatNeedsAnIdleManager)
{
    const auto refusedJournal = std::make_shared<Journal>();
    const auto second = std::make_shared<ScriptedThread>(refusedJournal);
    const auto thread = makeThread({.run = [this, second](const Thread&)
                                    {
                                        EXPECT_THROW(manager->addThread(second), VdException);
                                        EXPECT_THROW(manager->setThreadingMode(1), VdException);
                                        EXPECT_THROW(manager->finalizeThread(), VdException);
                                    }});
    manager->addThread(thread);
    EXPECT_THAT(refusedJournal->lines(), IsEmpty());
    EXPECT_EQ(manager->getThreadingMode(), 0);
    EXPECT_THAT(journal->lines(), ElementsAre("caller: prepareRun", "caller: run", "caller: finishRun",
                                              "caller: sendFinishSignal(true)"));
    expectIdle();
}

// Exceptions.

TEST_F(ThreadManagerInSynchronousMode, AnExceptionOfAStepSignalsFalseBeforeItIsLetOut)
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
        EXPECT_THROW(manager->addThread(thread), std::runtime_error);
        std::vector<std::string> expected = {"caller: prepareRun", "caller: run", "caller: finishRun"};
        expected.resize(failing + 1);
        expected.emplace_back("caller: sendFinishSignal(false)");
        EXPECT_EQ(journal->lines(), expected);
        EXPECT_FALSE(thread->isAborted());
        expectIdle();
    }
}

struct NotAStandardException
{
    int code = 0;
};

TEST_F(ThreadManagerInSynchronousMode, LetsOutTheSameObjectOfWhateverTypeEvenIfTheSignalThrowsToo)
{
    const void* thrown = nullptr;
    const auto thread = makeThread({.run =
                                        [&thrown](const Thread&)
                                    {
                                        try
                                        {
                                            throw NotAStandardException{.code = 7};
                                        }
                                        catch (const NotAStandardException& exception)
                                        {
                                            thrown = &exception;
                                            throw;
                                        }
                                    },
                                    .sendFinishSignal =
                                        [](bool)
                                    {
                                        throw std::runtime_error("me too");
                                    }});
    try
    {
        manager->addThread(thread);
        FAIL() << "nothing was thrown";
    }
    catch (const NotAStandardException& exception)
    {
        EXPECT_EQ(exception.code, 7);
        EXPECT_EQ(&exception, thrown);
    }
    EXPECT_EQ(journal->lines().back(), "caller: sendFinishSignal(false)");
    expectIdle();
}

TEST_F(ThreadManagerInSynchronousMode, AnExceptionOfSendFinishSignalPassesThrough)
{
    EXPECT_THROW(manager->addThread(makeThread({.sendFinishSignal =
                                                    [](bool)
                                                {
                                                    throw std::runtime_error("no");
                                                }})),
                 std::runtime_error);
    expectIdle();
}

// What sendFinishSignal may do.

TEST_F(ThreadManagerInSynchronousMode, IsIdleWhenTheFinishIsSignalledAndMayRunTheNextThread)
{
    const auto nextJournal = std::make_shared<Journal>();
    const auto next = std::make_shared<ScriptedThread>(nextJournal);
    manager->addThread(makeThread({.sendFinishSignal = [this, next](bool)
                                   {
                                       expectIdle();
                                       manager->addThread(next);
                                   }}));
    EXPECT_EQ(nextJournal->lines().back(), "caller: sendFinishSignal(true)");
    expectIdle();
}

TEST_F(ThreadManagerInSynchronousMode, SendFinishSignalMayDestroyTheManager)
{
    manager->addThread(makeThread({.sendFinishSignal = [this](bool)
                                   {
                                       manager.reset();
                                   }}));
    EXPECT_EQ(journal->lines().back(), "caller: destroyed");
    manager = std::make_shared<ThreadManager>();
    SetUp();
    EXPECT_THROW(manager->addThread(makeThread({.prepareRun = [] { throw 1; },
                                                .sendFinishSignal =
                                                    [this](bool)
                                                {
                                                    manager.reset();
                                                }})),
                 int);
    EXPECT_EQ(manager, nullptr);
}

TEST_F(ThreadManagerInSynchronousMode, ARunMayDestroyTheManagerAndGoesOnWithoutASignal)
{
    const std::weak_ptr<ThreadManager> observer = manager;
    manager->addThread(makeThread({.run = [this, &observer](const Thread& thread)
                                   {
                                       manager.reset();
                                       EXPECT_TRUE(observer.expired());
                                       EXPECT_TRUE(thread.isAborted());
                                   }}));
    EXPECT_THAT(journal->lines(), ElementsAre("caller: prepareRun", "caller: run", "caller: abortRun",
                                              "caller: finishRun", "caller: destroyed"));
}

TEST_F(ThreadManagerInSynchronousMode, ARunThatDestroysTheManagerAndThrowsIsHeard)
{
    EXPECT_THROW(manager->addThread(makeThread({.prepareRun =
                                                    [this]
                                                {
                                                    manager.reset();
                                                    throw std::runtime_error("and more");
                                                }})),
                 std::runtime_error);
    EXPECT_THAT(journal->lines(), ElementsAre("caller: prepareRun", "caller: abortRun", "caller: destroyed"));
}

} // namespace

#include "Service/Editing/ThreadedRun.h"

#include "Platform/Logging/LogMessage.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Support/Allocations.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/MessageOf.h"
#include "Tests/Support/ScriptedCommand.h"
#include "Tests/Support/ScriptedThread.h"
#include "Tests/Support/ThreadingTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
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
using ValdaneTests::FailingAllocation;
using ValdaneTests::Gate;
using Edits = ThreadedRun::Edits;
using Result = ThreadedRun::Result;

/// Not derived from std::exception.
struct Stranger
{
};

/// An event loop that the test drives by hand.
class HandDrivenLoop
{
public:
    void post(std::function<void()> work)
    {
        const std::scoped_lock lock(mutex);
        if (refusals > 0)
        {
            --refusals;
            throw std::runtime_error("the loop is full");
        }
        queue.push_back(std::move(work));
        posted.notify_all();
    }

    void refuse(int posts)
    {
        const std::scoped_lock lock(mutex);
        refusals = posts;
    }

    /// Waits for a function, and runs it.
    void runOne()
    {
        std::function<void()> work;
        {
            std::unique_lock lock(mutex);
            posted.wait(lock, [this] { return !queue.empty(); });
            work = std::move(queue.front());
            queue.pop_front();
        }
        work();
    }

    void runAll()
    {
        while (size() > 0)
        {
            runOne();
        }
    }

    std::size_t size() const
    {
        const std::scoped_lock lock(mutex);
        return queue.size();
    }

private:
    mutable std::mutex mutex;
    std::condition_variable posted;
    std::deque<std::function<void()>> queue;
    int refusals = 0;
};

/// What is done, in order. A command that undoes what is not its own is noted.
struct Model
{
    void add(const std::string& name)
    {
        done.push_back(name);
    }

    void remove(const std::string& name)
    {
        if (done.empty() || done.back() != name)
        {
            wrong.push_back(name);
            return;
        }
        done.pop_back();
    }

    std::vector<std::string> done;
    std::vector<std::string> wrong;
};

void act(const std::function<void()>& action)
{
    if (action)
    {
        action();
    }
}

/// A command that does not ask whether there is something to undo.
class Edit : public CommandBase
{
public:
    Edit(Model& target, const std::string& name) : CommandBase(name), model(target) {}

    void execute() override
    {
        model.add(getDescription());
        act(onExecute);
    }

    void undo() override
    {
        act(onUndo);
        model.remove(getDescription());
    }

    std::function<void()> onExecute;
    std::function<void()> onUndo;

private:
    Model& model;
};

/// Hands its work over on the caller's thread. It is held on the worker if the test says so, until it is released
/// or aborted.
class Work : public ThreadedCommand
{
public:
    Work(Model& target, const std::string& name) : ThreadedCommand(name), model(target) {}

    void run() override
    {
        held.open();
        if (isHeld)
        {
            released.waitUntilOpen();
        }
        act(onRun);
    }

    void finishRun() override {}

    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            model.add(getDescription());
            isDone = true;
        }
        else
        {
            undo();
        }
        act(onFinish);
        ThreadedCommand::sendFinishSignal(ok);
    }

    void undo() override
    {
        if (isDone)
        {
            model.remove(getDescription());
            isDone = false;
        }
    }

    void redo() override
    {
        model.add(getDescription());
        isDone = true;
    }

    bool isAddableToCommandManager() const override
    {
        return isAddable;
    }

    void waitUntilHeld()
    {
        held.waitUntilOpen();
    }

    void release()
    {
        released.open();
    }

    std::function<void()> onRun;
    std::function<void()> onFinish;
    std::function<void()> onAbort;
    bool isHeld = false;
    bool isAddable = true;

protected:
    void abortRun() override
    {
        released.open();
        act(onAbort);
    }

private:
    Model& model;
    Gate held;
    Gate released;
    bool isDone = false;
};

std::string nameOf(Result result)
{
    switch (result)
    {
    case Result::Done:
        return "done";
    case Result::Failed:
        return "failed";
    case Result::Aborted:
        return "aborted";
    }
    return "unknown";
}

class ThreadedRunTest : public ThreadingTest
{
protected:
    ThreadedRunTest()
    {
        makeRun(Edits::Refused);
        notes.clear();
    }

    ~ThreadedRunTest() override
    {
        run.reset();
    }

    void makeRun(Edits edits, ThreadedRun::RunEndFunction onRunEnd = {})
    {
        run = std::make_unique<ThreadedRun>(
            *manager, [this](std::function<void()> work) { loop.post(std::move(work)); }, edits,
            [this] { return now; }, std::move(onRunEnd));
        runStarted = run->connectToSigStarted(
            [this]
            {
                notes.emplace_back("started");
                act(onStarted);
            });
        runProgress = run->connectToSigProgress(
            [this](const ThreadedRun::Progress& progress)
            {
                progresses.push_back(progress);
                act(onProgress);
            });
        runFinished = run->connectToSigFinished(
            [this](Result result, const std::string& text)
            {
                notes.push_back(nameOf(result) + (text.empty() ? "" : ": " + text));
                act(onFinished);
            });
    }

    std::shared_ptr<Work> work(const std::string& name)
    {
        return std::make_shared<Work>(model, name);
    }

    std::shared_ptr<Work> heldWork(const std::string& name)
    {
        auto made = work(name);
        made->isHeld = true;
        return made;
    }

    std::shared_ptr<Edit> edit(const std::string& name)
    {
        return std::make_shared<Edit>(model, name);
    }

    static std::shared_ptr<ThreadedMacroCommand> macro(const std::string& name,
                                                       const MacroCommand::CommandList& parts)
    {
        auto made = std::make_shared<ThreadedMacroCommand>(name);
        made->addCommands(parts);
        return made;
    }

    /// Runs the loop until the run is over.
    void drive()
    {
        while (run != nullptr && run->isRunning())
        {
            loop.runOne();
        }
        loop.runAll();
    }

    std::string history() const
    {
        std::string text;
        for (const std::string& description : manager->collectUndoCommandDescriptions())
        {
            text += description + " ";
        }
        text += "|";
        for (const std::string& description : manager->collectRedoCommandDescriptions())
        {
            text += " " + description;
        }
        return text;
    }

    void expectNothingChanged() const
    {
        EXPECT_THAT(model.done, IsEmpty());
        EXPECT_THAT(model.wrong, IsEmpty());
        EXPECT_EQ(manager->getPosition(), 0U);
        expectIdle();
    }

    std::chrono::steady_clock::time_point now{};
    HandDrivenLoop loop;
    Model model;
    std::vector<std::string> notes;
    std::vector<ThreadedRun::Progress> progresses;
    std::function<void()> onStarted;
    std::function<void()> onProgress;
    std::function<void()> onFinished;
    std::unique_ptr<ThreadedRun> run;
    Signals::Connection runStarted;
    Signals::Connection runProgress;
    Signals::Connection runFinished;
};

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

/// A macro with threads and edits on three levels.
class AbortTest : public ThreadedRunTest
{
protected:
    AbortTest()
    {
        for (std::size_t i = 0; i < 5; ++i)
        {
            works.push_back(work("T" + std::to_string(i)));
        }
        for (std::size_t i = 0; i < 9; ++i)
        {
            edits.push_back(edit("e" + std::to_string(i)));
        }
        const auto innermost = macro("innermost", {edits[3], works[2], edits[4]});
        const auto inner = macro("inner", {edits[2], works[1], innermost, edits[5], works[3]});
        whole = macro("whole", {edits[0], works[0], edits[1], inner, edits[6], works[4], edits[7]});
    }

    void expectAborted()
    {
        EXPECT_THAT(notes, ElementsAre("started", "aborted"));
        expectNothingChanged();
        EXPECT_EQ(history(), "|");
        // Nothing is left that would keep it from being run again.
        for (const auto& thread : works)
        {
            thread->isHeld = false;
            thread->onFinish = nullptr;
        }
        for (const auto& one : edits)
        {
            one->onExecute = nullptr;
        }
        notes.clear();
        run->start(whole);
        drive();
        EXPECT_THAT(notes, ElementsAre("started", "done"));
        EXPECT_EQ(model.done.size(), 13U);
        manager->undo(1);
        EXPECT_THAT(model.done, IsEmpty());
        EXPECT_THAT(model.wrong, IsEmpty());
    }

    /// Runs the loop until that thread is held.
    void driveTo(Work& thread)
    {
        while (threads->getCurrentThread().get() != static_cast<Thread*>(&thread))
        {
            loop.runOne();
        }
        thread.waitUntilHeld();
    }

    std::vector<std::shared_ptr<Work>> works;
    std::vector<std::shared_ptr<Edit>> edits;
    std::shared_ptr<ThreadedMacroCommand> whole;
};

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

} // namespace
} // namespace Valdane

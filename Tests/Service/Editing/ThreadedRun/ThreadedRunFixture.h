#pragma once

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/Editing/ThreadedRun.h"
#include "Tests/Support/ElementsAre.h"
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
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{

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

inline void act(const std::function<void()>& action)
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
        if (onUndo)
        {
            onUndo();
        }
        else if (isDone)
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
    /// In place of what undo() does.
    std::function<void()> onUndo;
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
    ValdaneTests::Gate held;
    ValdaneTests::Gate released;
    bool isDone = false;
};

inline std::string nameOf(ThreadedRun::Result result)
{
    switch (result)
    {
    case ThreadedRun::Result::Done:
        return "done";
    case ThreadedRun::Result::Failed:
        return "failed";
    case ThreadedRun::Result::Aborted:
        return "aborted";
    case ThreadedRun::Result::NotTakenBack:
        return "not taken back";
    }
    return "unknown";
}

class ThreadedRunTest : public ThreadingTest
{
protected:
    ThreadedRunTest()
    {
        makeRun(ThreadedRun::Edits::Refused);
        notes.clear();
    }

    ~ThreadedRunTest() override
    {
        run.reset();
    }

    void makeRun(ThreadedRun::Edits edits, ThreadedRun::RunEndFunction onRunEnd = {})
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
            [this](ThreadedRun::Result result, const std::string& text)
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
        EXPECT_THAT(model.done, testing::IsEmpty());
        EXPECT_THAT(model.wrong, testing::IsEmpty());
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
        EXPECT_THAT(notes, ValdaneTests::ElementsAre("started", "aborted"));
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
        EXPECT_THAT(notes, ValdaneTests::ElementsAre("started", "done"));
        EXPECT_EQ(model.done.size(), 13U);
        manager->undo(1);
        EXPECT_THAT(model.done, testing::IsEmpty());
        EXPECT_THAT(model.wrong, testing::IsEmpty());
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

} // namespace Valdane

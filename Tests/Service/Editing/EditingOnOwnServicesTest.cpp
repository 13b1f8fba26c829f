// The library on services that offer what the core needs, and nothing that is for Editing alone.

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/Editing/CommandGroup.h"
#include "Service/Editing/History.h"
#include "Service/Editing/MergePolicy.h"
#include "Service/Editing/SaveState.h"
#include "Service/Editing/ThreadedRun.h"
#include "Service/Editing/UndoAction.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/MessageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;
using Texts = std::vector<std::string>;

class Append : public CommandBase
{
public:
    Append(Texts& target, const std::string& line) : CommandBase(line), texts(target) {}

    void execute() override
    {
        texts.push_back(getDescription());
    }

    void undo() override
    {
        texts.pop_back();
    }

private:
    Texts& texts;
};

class AppendOnWorker : public ThreadedCommand
{
public:
    AppendOnWorker(Texts& target, const std::string& line) : ThreadedCommand(line), texts(target) {}

    void run() override {}

    void finishRun() override {}

    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            texts.push_back(getDescription());
            isDone = true;
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    void undo() override
    {
        if (std::exchange(isDone, false))
        {
            texts.pop_back();
        }
    }

private:
    Texts& texts;
    bool isDone = false;
};

class EditingOnOwnServicesTest : public testing::Test
{
protected:
    std::shared_ptr<Append> append(const std::string& line)
    {
        return std::make_shared<Append>(texts, line);
    }

    std::shared_ptr<AppendOnWorker> appendOnWorker(const std::string& line)
    {
        return std::make_shared<AppendOnWorker>(texts, line);
    }

    Texts texts;
    CommandManager manager;
};

TEST_F(EditingOnOwnServicesTest, HistoryActionsMergingGroupsAndSaveStateWork)
{
    History history(manager);
    UndoAction undo(manager);
    SaveState saveState(manager);
    MergePolicy policy(manager, {.pause = std::chrono::hours(1)});
    policy.add(append("a"), "type");
    policy.add(append("b"), "type");
    saveState.saved(0);
    {
        CommandGroup group(manager, "group");
        manager.addCommand(append("c"));
        group.commit();
    }
    EXPECT_EQ(history.getRowCount(), 2U);
    EXPECT_EQ(history.getText(1), "group");
    EXPECT_EQ(undo.getText(), "Undo group");
    EXPECT_TRUE(saveState.isModified(0));
    undo.trigger();
    EXPECT_FALSE(saveState.isModified(0));
    EXPECT_EQ(history.moveTo(0), History::MoveResult::Reached);
    EXPECT_THAT(texts, IsEmpty());
}

/// The thread manager has no worker: a thread is running until the test ends it.
class RunOnOwnServicesTest : public EditingOnOwnServicesTest
{
protected:
    void post(std::function<void()> work)
    {
        loop.push_back(std::move(work));
    }

    void runLoop()
    {
        while (!loop.empty())
        {
            const auto work = std::move(loop.front());
            loop.pop_front();
            work();
        }
    }

    /// As the worker would.
    void endThread()
    {
        manager.getThreadManager()->work();
        runEnded();
    }

    bool isThreadRunning() const
    {
        return manager.getThreadManager()->getCurrentThread() != nullptr;
    }

    std::deque<std::function<void()>> loop;
    std::function<void()> runEnded;
    Texts told;
    ThreadedRun run{manager,
                    [this](std::function<void()> work) { post(std::move(work)); },
                    ThreadedRun::Edits::Queued,
                    {},
                    [this](ThreadManager& /*threads*/, std::function<void()> callback)
                    {
                        runEnded = std::move(callback);
                    }};
    Signals::Connection progressed =
        run.connectToSigProgress([this](const ThreadedRun::Progress&) { told.emplace_back("progress"); });
    Signals::Connection finished =
        run.connectToSigFinished([this](ThreadedRun::Result result, const std::string& text)
                                 { told.push_back(std::to_string(static_cast<int>(result)) + text); });
};

TEST_F(RunOnOwnServicesTest, IsFinalizedWhenTheApplicationTellsItsEnd)
{
    run.start(appendOnWorker("A"));
    run.addCommand(append("b"));
    EXPECT_EQ(run.getProgress()->share, 0) << "this progress gives none";
    EXPECT_EQ(run.getProgress()->message, "");
    EXPECT_THAT(texts, IsEmpty());
    endThread();
    runLoop();
    EXPECT_THAT(texts, ElementsAre("A", "b"));
    EXPECT_THAT(told, ElementsAre("0"));
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(RunOnOwnServicesTest, IsNotWaitedForBeforeItsEndIsTold)
{
    auto macro = std::make_shared<ThreadedMacroCommand>("M");
    auto nested = std::make_shared<ThreadedMacroCommand>("N");
    nested->addCommand(append("b"));
    nested->addCommand(appendOnWorker("C"));
    macro->addCommand(appendOnWorker("A"));
    macro->addCommand(nested);
    run.start(macro);
    endThread();
    runLoop();
    EXPECT_THAT(texts, ElementsAre("A", "b"));
    EXPECT_TRUE(isThreadRunning());
    run.abort();
    runLoop();
    EXPECT_TRUE(isThreadRunning()) << "the loop would wait for it";
    endThread();
    runLoop();
    EXPECT_FALSE(isThreadRunning());
    EXPECT_THAT(texts, IsEmpty());
    EXPECT_THAT(told, ElementsAre("2"));
}

TEST_F(EditingOnOwnServicesTest, ARunThatCannotLearnOfItsEndIsNotMade)
{
    const auto post = [](const std::function<void()>&) {
    };
    EXPECT_EQ(messageOf([&] { const ThreadedRun run(manager, post, ThreadedRun::Edits::Refused); }),
              "A ThreadedRun needs a function that tells the end of a run, because the thread manager has no "
              "setRunEndedCallback()");
}

} // namespace
} // namespace Valdane

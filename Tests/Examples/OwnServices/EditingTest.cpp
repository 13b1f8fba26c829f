#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/Editing/History.h"
#include "Service/Editing/ThreadedRun.h"
#include "Workshop/JobQueue.h"
#include "Workshop/Worker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using Valdane::ThreadedRun;
using Result = ThreadedRun::Result;

/// Measures on the worker, until it is aborted if it is to wait.
class Measure : public Valdane::ThreadedCommand
{
public:
    Measure(std::vector<int>& target, int value) : ThreadedCommand("Measure"), values(target), measured(value)
    {
    }

    void run() override
    {
        getProgress()->moveTo(0.5 * Valdane::LegacyProgress::FullRange);
        while (measured < 0 && !isAborted())
        {
            std::this_thread::yield();
        }
        if (measured == 0)
        {
            throw std::runtime_error("no sensor");
        }
    }

    void finishRun() override {}

    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            values.push_back(measured);
            isDone = true;
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    void undo() override
    {
        if (std::exchange(isDone, false))
        {
            values.pop_back();
        }
    }

private:
    std::vector<int>& values;
    int measured;
    bool isDone = false;
};

/// History and ThreadedRun of the library on the worker of the application.
class EditingOfWorkshopTest : public testing::Test
{
protected:
    template <typename Command>
    void play(const std::shared_ptr<Command>& command)
    {
        run.start(command);
        finish();
    }

    void finish()
    {
        while (run.isRunning())
        {
            mainThread.runNext();
        }
    }

    std::vector<int> values;
    std::vector<Result> results;
    std::vector<double> shares;
    Workshop::JobQueue mainThread;
    Workshop::Worker worker;
    Valdane::CommandManager manager;
    Valdane::History history{manager};
    ThreadedRun run{manager,
                    [this](std::function<void()> work) { mainThread.post(std::move(work)); },
                    ThreadedRun::Edits::Queued,
                    {},
                    [this](Valdane::ThreadManager& threads, std::function<void()> ended)
                    {
                        threads.runOn(worker, std::move(ended));
                    }};
    Valdane::Signals::Connection progressed = run.connectToSigProgress(
        [this](const ThreadedRun::Progress& progress) { shares.push_back(progress.share); });
    Valdane::Signals::Connection finished = run.connectToSigFinished(
        [this](Result result, const std::string& /*text*/) { results.push_back(result); });
};

TEST_F(EditingOfWorkshopTest, ARunOnTheWorkerIsARowOfTheHistory)
{
    play(std::make_shared<Measure>(values, 7));
    EXPECT_THAT(results, ElementsAre(Result::Done));
    EXPECT_THAT(values, ElementsAre(7));
    EXPECT_EQ(shares.front(), 0.5);
    ASSERT_EQ(history.getRowCount(), 1U);
    EXPECT_EQ(history.getText(0), "Measure");
    run.undo(1);
    EXPECT_THAT(values, IsEmpty());
    EXPECT_FALSE(history.isDone(0));
}

TEST_F(EditingOfWorkshopTest, AMacroThatIsAbortedIsTakenBack)
{
    const auto macro = std::make_shared<Valdane::ThreadedMacroCommand>("Measure all");
    const auto nested = std::make_shared<Valdane::ThreadedMacroCommand>("Measure the rest");
    macro->addCommand(std::make_shared<Measure>(values, 7));
    nested->addCommand(std::make_shared<Measure>(values, -1));
    macro->addCommand(nested);
    run.start(macro);
    while (values.empty())
    {
        mainThread.runNext();
    }
    run.abort();
    finish();
    EXPECT_THAT(results, ElementsAre(Result::Aborted));
    EXPECT_THAT(values, IsEmpty());
    EXPECT_EQ(history.getRowCount(), 0U);
}

TEST_F(EditingOfWorkshopTest, AFailureIsTold)
{
    play(std::make_shared<Measure>(values, 0));
    EXPECT_THAT(results, ElementsAre(Result::Failed));
    EXPECT_EQ(history.getRowCount(), 0U);
}

} // namespace

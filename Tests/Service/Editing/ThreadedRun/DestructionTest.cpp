// A ThreadedRun that is destroyed by whatever it calls, and by whatever the manager calls for it.

#include "Tests/Service/Editing/ThreadedRun/ThreadedRunFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using testing::IsEmpty;

/// Who destroys it.
enum class Place
{
    Started,
    Progress,
    Finished,
    ManagerStarted,
    ManagerFinished,
    ManagerFailed,
    Executed,
    QueueChanged,
    HistoryChanged,
    RunFinished,
    FinishSignal,
    FirstEdit,
    NestedEdit,
    LastEdit,
    UndoOfAnEdit,
    WaitingEdit,
    FunctionAfterTheEnd, ///< what is in the loop when the run is over
};

/// What comes of the run if it is not destroyed.
enum class Outcome
{
    Done,
    Failed,
    Aborted,
};

using Case = std::tuple<Place, Outcome, std::int32_t>;

class DestroyedRunTest : public ThreadedRunTest, public testing::WithParamInterface<Case>
{
protected:
    DestroyedRunTest()
    {
        threads->setThreadingMode(mode);
        makeRun(ThreadedRun::Edits::Queued);
        middle->onRun = [this]
        {
            middle->getProgress()->moveTo(1);
            middleOfRun();
        };
        prepare();
    }

    ~DestroyedRunTest() override
    {
        connections.clear();
        run.reset();
    }

    std::function<void()> destroyHere(Place here)
    {
        return [this, here]
        {
            if (place == here && run != nullptr)
            {
                notes.emplace_back("destroyed");
                run.reset();
            }
        };
    }

    void prepare()
    {
        onStarted = destroyHere(Place::Started);
        onProgress = destroyHere(Place::Progress);
        onFinished = [this, inSlot = destroyHere(Place::Finished)]
        {
            // One function more is in the loop behind the end.
            loop.post(destroyHere(Place::FunctionAfterTheEnd));
            inSlot();
        };
        const auto keep = [this](Signals::Connection connection)
        {
            connections.push_back(std::move(connection));
        };
        // Called behind the slots that destroy it.
        const auto tooLate = [this](const auto&...)
        {
            if (run == nullptr)
            {
                notes.emplace_back("told too late");
            }
        };
        keep(run->connectToSigStarted(tooLate));
        keep(run->connectToSigProgress(tooLate));
        keep(run->connectToSigFinished(tooLate));
        keep(manager->connectToSigThreadedCommandStarted(destroyHere(Place::ManagerStarted)));
        keep(manager->connectToSigThreadedCommandFinished(destroyHere(Place::ManagerFinished)));
        keep(manager->connectToSigCommandFailed(
            [destroy = destroyHere(Place::ManagerFailed)](const char*, const std::string&) { destroy(); }));
        keep(manager->connectToSigCommandExecuted(destroyHere(Place::Executed)));
        keep(manager->connectToSigCommandQueueChanged([destroy = destroyHere(Place::QueueChanged)](auto)
                                                      { destroy(); }));
        keep(manager->connectToSigHistoryChanged([destroy = destroyHere(Place::HistoryChanged)](const auto&)
                                                 { destroy(); }));
        whole->connectToRunFinishedSignal([destroy = destroyHere(Place::RunFinished)](bool, const auto*)
                                          { destroy(); });
        middle->onFinish = destroyHere(Place::FinishSignal);
        first->onExecute = destroyHere(Place::FirstEdit);
        first->onUndo = destroyHere(Place::UndoOfAnEdit);
        nested->onExecute = destroyHere(Place::NestedEdit);
        last->onExecute = destroyHere(Place::LastEdit);
        waiting->onExecute = destroyHere(Place::WaitingEdit);
    }

    /// On the worker, or in start().
    void middleOfRun()
    {
        if (outcome == Outcome::Failed)
        {
            throw std::runtime_error("no data");
        }
        if (outcome == Outcome::Aborted && mode == 0 && run != nullptr)
        {
            run->abort();
        }
    }

    /// Whether the place comes in a run of that outcome that is not destroyed.
    bool isReached() const
    {
        switch (place)
        {
        case Place::Progress:
        case Place::ManagerStarted:
        case Place::ManagerFinished:
            return mode != 0;
        case Place::ManagerFailed:
            return outcome == Outcome::Failed;
        case Place::NestedEdit:
        case Place::LastEdit:
            return outcome == Outcome::Done;
        case Place::FinishSignal:
            return outcome != Outcome::Failed || mode == 0;
        case Place::UndoOfAnEdit:
            return outcome != Outcome::Done;
        default: // the edit that waited is executed after any outcome
            return true;
        }
    }

    Place place = std::get<0>(GetParam());
    Outcome outcome = std::get<1>(GetParam());
    std::int32_t mode = std::get<2>(GetParam());
    std::shared_ptr<Edit> first = edit("first");
    std::shared_ptr<Work> middle = heldWork("middle");
    std::shared_ptr<Edit> nested = edit("nested");
    std::shared_ptr<Edit> last = edit("last");
    std::shared_ptr<Edit> waiting = edit("waiting");
    std::shared_ptr<ThreadedMacroCommand> whole =
        macro("whole", {first, macro("inner", {middle, nested}), last});
    std::vector<Signals::Connection> connections;
};

TEST_P(DestroyedRunTest, LeavesAllOrNothingAndTellsNobody)
{
    middle->isHeld = mode != 0;
    onStarted = [this, destroy = onStarted]
    {
        run->addCommand(waiting);
        destroy();
    };
    run->start(whole);
    if (run != nullptr && run->isRunning())
    {
        middle->waitUntilHeld();
        if (outcome == Outcome::Aborted)
        {
            run->abort();
        }
    }
    middle->release();
    drive();
    // In synchronous mode what was aborted is in the history for a moment, and more places are reached.
    if (mode != 0 || outcome != Outcome::Aborted)
    {
        EXPECT_EQ(run == nullptr, isReached());
    }
    if (run == nullptr)
    {
        EXPECT_EQ(notes.back(), "destroyed") << "nobody is told afterwards";
    }
    expectIdle();
    manager->undoAll();
    EXPECT_THAT(model.done, IsEmpty()) << "what is not in the history is not done";
    EXPECT_THAT(model.wrong, IsEmpty());
}

std::string nameOfCase(const testing::TestParamInfo<Case>& info)
{
    static const std::vector<std::string> places{
        "Started",       "Progress",           "Finished",     "ManagerStarted", "ManagerFinished",
        "ManagerFailed", "Executed",           "QueueChanged", "HistoryChanged", "RunFinished",
        "FinishSignal",  "FirstEdit",          "NestedEdit",   "LastEdit",       "UndoOfAnEdit",
        "WaitingEdit",   "FunctionAfterTheEnd"};
    static const std::vector<std::string> outcomes{"Done", "Failed", "Aborted"};
    return places.at(static_cast<std::size_t>(std::get<0>(info.param))) + "Of" +
           outcomes.at(static_cast<std::size_t>(std::get<1>(info.param))) +
           (std::get<2>(info.param) == 0 ? "InSynchronousMode" : "OnTheWorker");
}

INSTANTIATE_TEST_SUITE_P(
    Places, DestroyedRunTest,
    testing::Combine(testing::Values(Place::Started, Place::Progress, Place::Finished, Place::ManagerStarted,
                                     Place::ManagerFinished, Place::ManagerFailed, Place::Executed,
                                     Place::QueueChanged, Place::HistoryChanged, Place::RunFinished,
                                     Place::FinishSignal, Place::FirstEdit, Place::NestedEdit,
                                     Place::LastEdit, Place::UndoOfAnEdit, Place::WaitingEdit,
                                     Place::FunctionAfterTheEnd),
                     testing::Values(Outcome::Done, Outcome::Failed, Outcome::Aborted),
                     testing::Values(0, 1)),
    nameOfCase);

} // namespace
} // namespace Valdane

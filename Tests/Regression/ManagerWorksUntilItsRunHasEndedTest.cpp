// While the manager's destructor waited for a running command, the manager had no thread manager any more: an
// abortRun() that finalized, aborted or asked for it used a null pointer.

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ScriptedCommand.h"
#include "Tests/Support/ScriptedRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using ValdaneTests::ElementsAre;

class ManagerWorksUntilItsRunHasEnded : public testing::Test
{
protected:
    void destroyWhileItRuns()
    {
        manager->addThreadedCommand(run);
        run->waitUntilHeld();
        manager.reset();
    }

    std::unique_ptr<CommandManager> manager = std::make_unique<CommandManager>();
    std::shared_ptr<HeldRun> run = std::make_shared<HeldRun>("run");
    std::vector<std::string> seen;
};

TEST_F(ManagerWorksUntilItsRunHasEnded, EveryOperationDoes)
{
    CommandManager& dying = *manager;
    run->onAbort = [&, isFirst = true]() mutable
    {
        run->release();
        if (!std::exchange(isFirst, false))
        {
            return;
        }
        seen.push_back(dying.getCurrentThreadedCommand()->getDescription());
        seen.emplace_back(dying.isProcessingCommand() ? "processing" : "idle");
        seen.emplace_back(dying.getThreadManager() != nullptr ? "threads" : "no threads");
        seen.emplace_back(dying.addCommand(std::make_shared<ScriptedCommand>("edit")) ? "executed"
                                                                                      : "failed");
        seen.emplace_back(dying.undo(1) ? "undone" : "failed");
        dying.abortThreadedCommand();
    };

    destroyWhileItRuns();

    EXPECT_THAT(seen, ElementsAre("run", "processing", "threads", "executed", "undone"));
    EXPECT_EQ(run->endedRuns, 1);
}

TEST_F(ManagerWorksUntilItsRunHasEnded, AlsoTheOneThatEndsIt)
{
    CommandManager& dying = *manager;
    const auto finished =
        dying.connectToSigThreadedCommandFinished([this] { seen.emplace_back("finished"); });
    run->onAbort = [&]
    {
        run->release();
        dying.finalizeThread();
        seen.emplace_back(dying.getCurrentThreadedCommand() == nullptr ? "empty" : "running");
    };

    destroyWhileItRuns();

    EXPECT_THAT(seen, ElementsAre("finished", "empty"));
    EXPECT_EQ(run->endedRuns, 1);
}

} // namespace
} // namespace Valdane

// A command that waits to be merged gave back the flag of the processing as it had found it. If it finalized the
// threaded command for which the flag was set, the manager said for ever that it was processing one.

#include "Service/CommandPattern/CommandManager.h"
#include "Tests/Support/ScriptedCommand.h"
#include "Tests/Support/ScriptedRun.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace Valdane
{
namespace
{

class MergedCommandEndsTheRun : public testing::Test
{
protected:
    CommandManager manager;
    std::shared_ptr<ScriptedRun> run = std::make_shared<ScriptedRun>("run");
    std::shared_ptr<ScriptedCommand> waiting = std::make_shared<ScriptedCommand>("waiting");
};

TEST_F(MergedCommandEndsTheRun, AndTheFlagWithIt)
{
    manager.addThreadedCommand(run);
    waiting->onExecute = [this]
    {
        manager.finalizeThread();
    };

    EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(waiting, false));

    EXPECT_EQ(manager.getCurrentThreadedCommand(), nullptr);
    EXPECT_FALSE(manager.isProcessingCommand());
}

TEST_F(MergedCommandEndsTheRun, AlsoIfItFails)
{
    manager.addThreadedCommand(run);
    waiting->onExecute = [this]
    {
        manager.finalizeThread();
        throw std::runtime_error("refused");
    };

    EXPECT_FALSE(manager.addCommandToMergeWithNextCommand(waiting, false));

    EXPECT_FALSE(manager.isProcessingCommand());
}

TEST_F(MergedCommandEndsTheRun, ButNotTheFlagOfTheNextRun)
{
    manager.addThreadedCommand(run);
    waiting->onExecute = [this]
    {
        manager.finalizeThread();
        manager.addThreadedCommand(std::make_shared<ScriptedRun>("next"));
    };

    EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(waiting, false));

    EXPECT_TRUE(manager.isProcessingCommand());
    manager.finalizeThread();
    EXPECT_FALSE(manager.isProcessingCommand());
}

TEST_F(MergedCommandEndsTheRun, NorTheFlagOfACommandAroundIt)
{
    auto around = std::make_shared<ScriptedCommand>("around");
    bool isProcessing = false;
    around->onExecute = [&]
    {
        manager.addCommandToMergeWithNextCommand(waiting, false);
        isProcessing = manager.isProcessingCommand();
    };

    EXPECT_TRUE(manager.addCommand(around));

    EXPECT_TRUE(isProcessing);
}

} // namespace
} // namespace Valdane

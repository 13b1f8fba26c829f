#include "Platform/Multitasking/ThreadManager.h"
#include "Tests/Support/Faults/ManagerSteps.h"

#include <gtest/gtest.h>

#include <vector>

namespace Valdane::Faults
{
namespace
{

class QueryFaults : public testing::TestWithParam<ManagerRow>
{
};

TEST_P(QueryFaults, LeaveWhatIsPromised)
{
    failEverywhere(GetParam());
}

/// Whatever the manager can tell without asking anybody.
void askWhatCannotFail(ManagerWorld& world)
{
    const CommandManager& manager = world.manager;
    std::uint64_t sum = manager.getQueueSize() + manager.getMaxQueueSize();
    sum += (manager.canUndo() ? 1U : 0U) + (manager.canRedo() ? 1U : 0U);
    sum += (manager.usesMaxQueueSize() ? 1U : 0U) + (manager.isProcessingCommand() ? 1U : 0U);
    sum += manager.getUndoCommand() != nullptr ? 1U : 0U;
    sum += manager.getRedoCommand() != nullptr ? 1U : 0U;
    sum += manager.getCurrentThreadedCommand() != nullptr ? 1U : 0U;
    sum += manager.getThreadManager() != nullptr ? 1U : 0U;
    // Six entries, a limit of 25, and five times yes.
    EXPECT_EQ(sum, 36U);
}

void connectAll(ManagerWorld& world)
{
    const auto nothing = [] {
    };
    CommandManager& manager = world.manager;
    const auto executed = manager.connectToSigCommandExecuted(nothing);
    const auto undone = manager.connectToSigCommandUndone(nothing);
    const auto started = manager.connectToSigThreadedCommandStarted(nothing);
    const auto finished = manager.connectToSigThreadedCommandFinished(nothing);
    const auto completed = manager.connectToSigUndoRedoProcessCompleted(nothing);
    const auto failed = manager.connectToSigCommandFailed([](const char*, const std::string&) {});
    const auto changed = manager.connectToSigCommandQueueChanged([](CommandManager::QueueChangeReason) {});
}

const std::vector<ManagerRow> rows = {
    {.name = "Queries that cannot fail",
     .prepare = filledWith("abcdeF"),
     .operation = askWhatCannotFail,
     .callsOut = false,
     .allocates = false},
    {.name = "Installing what tells about the modules",
     .prepare = filledWith("abC"),
     .operation = [](ManagerWorld& world) { world.manager.setModuleAccessInterface(world.document); },
     .callsOut = false},
    {.name = "Collecting what can be undone",
     .prepare = filledWith("abC"),
     .operation =
         [](ManagerWorld& world)
     {
         world.manager.collectUndoCommandDescriptions();
     }},
    {.name = "Collecting what can be redone",
     .prepare = filledWith("aBC"),
     .operation =
         [](ManagerWorld& world)
     {
         world.manager.collectRedoCommandDescriptions();
     }},
    {.name = "Modified modules",
     .prepare = fillAndSave,
     .operation =
         [](ManagerWorld& world)
     {
         world.manager.getModifiedModules(0);
     }},
    {.name = "Modified modules and those to save",
     .prepare = fillAndSave,
     .operation =
         [](ManagerWorld& world)
     {
         world.manager.getModifiedOrSaveOnNextSaveModules(0);
     }},
    {.name = "Saving",
     .prepare = filledWith("abcDEF"),
     .operation = [](ManagerWorld& world) { world.manager.adjustOnSave(0); },
     .callsOut = false},
    {.name = "Saving again",
     .prepare = fillAndSave,
     .operation = [](ManagerWorld& world) { world.manager.adjustOnSave(0); },
     .callsOut = false},
    {.name = "Marking all modules",
     .operation =
         [](ManagerWorld& world)
     {
         world.manager.markAllModulesBeforeFirstCommandAsModified();
     }},
    {.name = "A progress bar",
     .operation = [](ManagerWorld& world) { world.manager.setProgress(world.bar); },
     .allocates = false},
    {.name = "Connecting", .operation = connectAll, .callsOut = false},
    {.name = "The end of a gesture",
     .prepare = filledWith("abC"),
     .operation = [](ManagerWorld& world) { world.manager.emitSigUndoRedoProcessCompleted(); },
     .allocates = false},
    {.name = "Making another manager",
     .operation = [](ManagerWorld&) { CommandManager manager; },
     .callsOut = false},
    {.name = "Making a command",
     .operation = [](ManagerWorld& world) { world.make('x'); },
     .callsOut = false},
};

INSTANTIATE_TEST_SUITE_P(All, QueryFaults, testing::ValuesIn(rows), nameOfTest<ManagerWorld>);

} // namespace
} // namespace Valdane::Faults

#include "Service/CommandPattern/CommandManager.h"
#include "Service/Editing/RedoAction.h"
#include "Service/Editing/UndoAction.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ScriptedCommand.h"
#include "Tests/Support/ScriptedRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using ValdaneTests::ElementsAre;

std::string lookOf(const HistoryAction& action)
{
    return (action.isEnabled() ? "" : "-") + action.getText();
}

TEST(HistoryActionThreadTest, TellsThatItIsDisabledWhileAThreadedCommandIsRunning)
{
    CommandManager manager;
    UndoAction undoAction(manager);
    RedoAction redoAction(manager);
    std::vector<std::string> told;
    const auto undone = undoAction.connectToSigChanged([&] { told.push_back(lookOf(undoAction)); });
    const auto redone = redoAction.connectToSigChanged([&] { told.push_back(lookOf(redoAction)); });
    manager.addCommand(std::make_shared<ScriptedCommand>("a"));
    manager.addCommand(std::make_shared<ScriptedCommand>("b"));
    manager.undo(1);
    told.clear();

    manager.addThreadedCommand(std::make_shared<ScriptedRun>("Fit"));
    EXPECT_THAT(std::exchange(told, {}), ElementsAre("-Undo", "-Redo"));
    manager.finalizeThread();
    EXPECT_THAT(std::exchange(told, {}), ElementsAre("Undo Fit"));

    const auto failing = std::make_shared<ScriptedRun>("Check");
    failing->onRun = []
    {
        throw std::runtime_error("no");
    };
    manager.addThreadedCommand(failing);
    EXPECT_THAT(std::exchange(told, {}), ElementsAre("-Undo"));
    manager.finalizeThread();
    EXPECT_THAT(told, ElementsAre("Undo Fit"));
}

} // namespace
} // namespace Valdane

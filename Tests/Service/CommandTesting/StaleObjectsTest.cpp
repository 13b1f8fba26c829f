#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/SetNameCmd.h"
#include "Service/CommandTesting/CommandKit.h"
#include "Tests/Support/NamedObject.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace Valdane
{
namespace
{

using Plant = Object;

std::string plantText(const Plant& plant)
{
    std::string text;
    for (const auto& child : plant.getChildren())
    {
        text += child->getKey() + ": " + dynamic_cast<const NamedObject&>(*child).shownName + "\n";
    }
    return text;
}

CommandKit<Plant> makePlantKit()
{
    const auto makePlant = []
    {
        auto plant = std::make_shared<Plant>("plant");
        plant->addChild(std::make_shared<NamedObject>("pump", "old"));
        return plant;
    };
    return {makePlant, plantText};
}

/// Its undo puts another pump, with the same name, into the place.
std::shared_ptr<CommandBase> removePump(Plant& plant)
{
    auto command = std::make_shared<ScriptedCommand>("Remove pump");
    const auto name = std::make_shared<std::string>();
    command->onExecute = [&plant, name]
    {
        *name = dynamic_cast<const NamedObject&>(*plant.removeChild("pump")).shownName;
    };
    command->onUndo = [&plant, name]
    {
        plant.addChild(std::make_shared<NamedObject>("pump", *name));
    };
    return command;
}

std::shared_ptr<CommandBase> renameByPath(Plant& plant)
{
    return std::make_shared<SetNameCmd>(plant.findChild("pump"), "new", "Rename pump");
}

/// Remembers the pump instead of its path.
std::shared_ptr<CommandBase> renameByPointer(Plant& plant)
{
    auto command = std::make_shared<ScriptedCommand>("Rename pump");
    const auto pump = std::dynamic_pointer_cast<NamedObject>(plant.findChild("pump"));
    command->onExecute = [pump]
    {
        pump->shownName = "new";
    };
    command->onUndo = [pump]
    {
        pump->shownName = "old";
    };
    return command;
}

TEST(StaleObjectsTest, ACommandThatRemembersAPathHasNoMistakes)
{
    EXPECT_EQ(makePlantKit().staleObjects(renameByPath, removePump).toText(),
              "Stale objects of \"Rename pump\": no mistakes\n");
}

TEST(StaleObjectsTest, ACommandThatRemembersAnObjectIsFound)
{
    EXPECT_EQ(makePlantKit().staleObjects(renameByPointer, removePump).toText(),
              "Stale objects of \"Rename pump\": 1 mistake\n"
              "  After undo() of the command, whose object was removed and has come back, the data are not "
              "as before it was executed (- expected, + found):\n"
              "    - pump: old\n"
              "    + pump: new\n");
}

TEST(StaleObjectsTest, ACommandThatIsUndoneOnlyOnceIsFound)
{
    const auto wearingOut = [](Plant& plant)
    {
        auto command = std::make_shared<ScriptedCommand>("Rename pump");
        const auto rename = [&plant](const std::string& name)
        {
            dynamic_cast<NamedObject&>(*plant.findChild("pump")).shownName = name;
        };
        command->onExecute = [rename]
        {
            rename("new");
        };
        command->onUndo = [rename, times = 0]() mutable
        {
            rename(++times == 1 ? "old" : "older");
        };
        return command;
    };
    EXPECT_EQ(makePlantKit().staleObjects(wearingOut, removePump).toText(),
              "Stale objects of \"Rename pump\": 1 mistake\n"
              "  After undo() of the command, whose object was removed and has come back, the data are not "
              "as before it was executed (- expected, + found):\n"
              "    - pump: old\n"
              "    + pump: older\n");
}

TEST(StaleObjectsTest, ARemovalThatRemovesNothingProvesNothing)
{
    const auto doNothing = [](Plant&)
    {
        return std::make_shared<ScriptedCommand>("Nothing");
    };
    EXPECT_EQ(makePlantKit().staleObjects(renameByPath, doNothing).toText(),
              "Stale objects of \"Rename pump\": 1 mistake\n"
              "  execute() of the removal changes nothing that the snapshot shows\n");
}

TEST(StaleObjectsTest, ARemovalThatCannotBeRedoneIsFound)
{
    const auto removeOnce = [](Plant& plant)
    {
        auto command = std::dynamic_pointer_cast<ScriptedCommand>(removePump(plant));
        command->onRedo = [] {
        };
        return command;
    };
    EXPECT_EQ(
        makePlantKit().staleObjects(renameByPath, removeOnce).toText(),
        "Stale objects of \"Rename pump\": 1 mistake\n"
        "  After redo() of the removal the data are not as after it was executed (- expected, + found):\n"
        "    + pump: new\n");
}

} // namespace
} // namespace Valdane

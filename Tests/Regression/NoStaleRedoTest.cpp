// A new command makes the manager forget what could be redone. If a command that was dropped by that undid another
// one in its destructor, the new command was queued over that one, which then could be redone on data that it did
// not know.

#include "Service/CommandPattern/CommandManager.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;

class NoStaleRedo : public testing::Test
{
protected:
    NoStaleRedo()
    {
        add("A");
        add("B");
    }

    std::shared_ptr<ScriptedCommand> add(const std::string& name)
    {
        auto command = std::make_shared<ScriptedCommand>(name);
        manager.addCommand(command);
        return command;
    }

    CommandManager manager;
};

TEST_F(NoStaleRedo, OfWhatADestructorUndoes)
{
    const auto undoOne = [this]
    {
        manager.undo(1);
    };
    add("C")->onDestroy = undoOne;
    manager.undo(1);

    add("D");

    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("D", "A"));
    EXPECT_THAT(manager.collectRedoCommandDescriptions(), IsEmpty());
}

TEST_F(NoStaleRedo, OfWhatTheDestructorsOfThatUndo)
{
    add("C")->onDestroy = [this]
    {
        manager.undo(1);
    };
    add("D")->onDestroy = [this]
    {
        manager.undo(1);
    };
    manager.undo(1);

    add("E");

    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("E", "A"));
    EXPECT_THAT(manager.collectRedoCommandDescriptions(), IsEmpty());
}

} // namespace
} // namespace Valdane

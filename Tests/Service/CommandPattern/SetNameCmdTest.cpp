#include "Service/CommandPattern/SetNameCmd.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Tests/Support/MessageOf.h"
#include "Tests/Support/NamedObject.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace Valdane
{
namespace
{

using testing::HasSubstr;

static_assert(std::is_base_of_v<CommandBase, SetNameCmd>);
static_assert(!std::is_copy_constructible_v<SetNameCmd> && !std::is_copy_assignable_v<SetNameCmd>);
static_assert(std::is_nothrow_move_constructible_v<SetNameCmd>);
static_assert(std::is_nothrow_move_assignable_v<SetNameCmd>);

/// The tree "plant", with the named object "line" and below that the named object "pump".
class SetNameCmdTest : public testing::Test
{
protected:
    SetNameCmdTest()
    {
        root->addChild(line);
        line->addChild(pump);
    }

    void destroyTree()
    {
        root.reset();
        line.reset();
        pump.reset();
    }

    std::shared_ptr<Object> root = std::make_shared<Object>("plant");
    std::shared_ptr<NamedObject> line = std::make_shared<NamedObject>("line");
    std::shared_ptr<NamedObject> pump = std::make_shared<NamedObject>("pump");
};

TEST_F(SetNameCmdTest, RenamesAndGivesThePreviousNameBackWithNotification)
{
    SetNameCmd command(pump, "new", "Rename pump");
    EXPECT_EQ(command.getDescription(), "Rename pump");
    EXPECT_EQ(pump->shownName, "old") << "nothing happens before it is executed";

    command.execute();
    EXPECT_EQ(pump->shownName, "new");
    command.undo();
    EXPECT_EQ(pump->shownName, "old");
    command.redo();
    EXPECT_EQ(pump->shownName, "new");
    EXPECT_EQ(pump->notifications, 3);
}

TEST_F(SetNameCmdTest, EveryTextIsAName)
{
    for (const std::string& name : {std::string(), std::string("a/b \"c\""), std::string("Pumpe für Öl"),
                                    std::string("a\0b", 3), std::string(1000, 'x')})
    {
        SetNameCmd command(pump, name, "");
        command.execute();
        EXPECT_EQ(pump->shownName, name);
        command.undo();
        EXPECT_EQ(pump->shownName, "old");
    }
}

TEST_F(SetNameCmdTest, TheNameIsReadAgainOnEveryExecution)
{
    SetNameCmd command(pump, "new", "");
    command.execute();
    command.undo();
    pump->shownName = "renamed elsewhere";

    command.redo();
    command.undo();

    EXPECT_EQ(pump->shownName, "renamed elsewhere");
}

TEST_F(SetNameCmdTest, UndoBeforeAnyExecutionSetsTheEmptyName)
{
    SetNameCmd(pump, "new", "").undo();

    EXPECT_EQ(pump->shownName, "");
}

TEST_F(SetNameCmdTest, RenamingTheObjectAndThoseAboveItLeavesThePathValid)
{
    CommandManager manager;
    manager.addCommand(std::make_shared<SetNameCmd>(pump, "first", ""));
    manager.addCommand(std::make_shared<SetNameCmd>(line, "second", ""));
    manager.addCommand(std::make_shared<SetNameCmd>(pump, "third", ""));
    EXPECT_EQ(pump->shownName, "third");
    EXPECT_EQ(line->shownName, "second");

    EXPECT_TRUE(manager.undo(3));
    EXPECT_EQ(pump->shownName, "old");
    EXPECT_EQ(line->shownName, "old");
    EXPECT_TRUE(manager.redo(3));
    EXPECT_EQ(pump->shownName, "third");
    EXPECT_EQ(line->shownName, "second");
}

TEST_F(SetNameCmdTest, TheRootCanBeRenamedToo)
{
    const auto namedRoot = std::make_shared<NamedObject>("root");
    SetNameCmd command(namedRoot, "new", "");

    command.execute();
    EXPECT_EQ(namedRoot->shownName, "new");
    command.undo();
    EXPECT_EQ(namedRoot->shownName, "old");
}

TEST_F(SetNameCmdTest, UndoRenamesTheObjectThatReplacedTheFirstOne)
{
    SetNameCmd command(pump, "new", "");
    command.execute();
    const auto replacement = std::make_shared<NamedObject>("pump", "another");
    line->replaceChild(replacement);

    command.undo();

    EXPECT_EQ(replacement->shownName, "old");
    EXPECT_EQ(pump->shownName, "new");
}

TEST_F(SetNameCmdTest, TheObjectIsFoundAgainBelowAReplacedOwner)
{
    SetNameCmd command(pump, "new", "");
    command.execute();
    const auto otherLine = std::make_shared<NamedObject>("line");
    const auto otherPump = std::make_shared<NamedObject>("pump");
    otherLine->addChild(otherPump);
    root->replaceChild(otherLine);

    command.redo();

    EXPECT_EQ(otherPump->shownName, "new");
}

TEST_F(SetNameCmdTest, NeitherTheTreeNorTheObjectIsKeptAlive)
{
    const std::weak_ptr<Object> observedRoot = root;
    const std::weak_ptr<Object> observedPump = pump;
    SetNameCmd command(pump, "new", "");
    command.execute();

    destroyTree();

    EXPECT_TRUE(observedRoot.expired());
    EXPECT_TRUE(observedPump.expired());
}

TEST_F(SetNameCmdTest, ATreeThatIsGoneIsAnErrorThatNamesThePath)
{
    SetNameCmd command(pump, "new", "");
    command.execute();
    destroyTree();

    EXPECT_EQ(messageOf([&] { command.execute(); }), "The object tree of '/line/pump' no longer exists.");
    EXPECT_EQ(messageOf([&] { command.undo(); }), "The object tree of '/line/pump' no longer exists.");
    EXPECT_EQ(messageOf([&] { command.redo(); }), "The object tree of '/line/pump' no longer exists.");
}

TEST_F(SetNameCmdTest, AnObjectThatIsGoneIsAnErrorThatNamesThePath)
{
    SetNameCmd command(pump, "new", "");
    command.execute();
    line->removeChild("pump");

    EXPECT_EQ(messageOf([&] { command.execute(); }), "There is no object at '/line/pump'.");
    EXPECT_EQ(messageOf([&] { command.undo(); }), "There is no object at '/line/pump'.");
    EXPECT_EQ(pump->shownName, "new") << "it is no longer part of the tree";
}

TEST_F(SetNameCmdTest, AnObjectThatComesBackIsFoundAgain)
{
    CommandManager manager;
    manager.addCommand(std::make_shared<SetNameCmd>(pump, "new", ""));
    line->removeChild("pump");
    EXPECT_FALSE(manager.undo(1));

    line->addChild(pump);

    EXPECT_TRUE(manager.undo(1));
    EXPECT_EQ(pump->shownName, "old");
}

TEST_F(SetNameCmdTest, NoObjectIsAnError)
{
    EXPECT_THROW(SetNameCmd(nullptr, "new", ""), VdException);
}

TEST_F(SetNameCmdTest, ANameThatTheObjectRefusesIsAFailureOfTheCommand)
{
    CommandManager manager;
    std::string reported;
    const Signals::Connection failed = manager.connectToSigCommandFailed(
        [&](const char* what, const std::string& description) { reported = description + ": " + what; });

    EXPECT_FALSE(manager.addCommand(std::make_shared<SetNameCmd>(pump, "refused", "Rename")));

    EXPECT_EQ(reported, "Rename: a name that nobody may have");
    EXPECT_EQ(pump->shownName, "old");
    EXPECT_FALSE(manager.canUndo());
}

TEST_F(SetNameCmdTest, AnObjectWithoutANameIsLeftAlone)
{
    root->addChild(std::make_shared<Object>("valve"));
    SetNameCmd command(root->findChild("valve"), "new", "");

    EXPECT_NO_THROW(command.execute());
    EXPECT_NO_THROW(command.undo());
}

/// Names what has no NameInterface, and shows what derived commands may use.
class HookedCmd : public SetNameCmd
{
public:
    using SetNameCmd::getObjectToName;
    using SetNameCmd::getOldName;
    using SetNameCmd::getRoot;
    using SetNameCmd::SetNameCmd;

    std::string* name = nullptr;

protected:
    std::string getName() override
    {
        return *name;
    }

    void setName(const std::string& text) override
    {
        *name = text;
    }
};

TEST_F(SetNameCmdTest, ADerivedCommandNamesWhatHasNoNameInterface)
{
    std::string name = "hooked";
    root->addChild(std::make_shared<Object>("valve"));
    HookedCmd command(root->findChild("valve"), "new", "");
    command.name = &name;

    command.execute();
    EXPECT_EQ(name, "new");
    EXPECT_EQ(command.getOldName(), "hooked");
    command.undo();
    EXPECT_EQ(name, "hooked");
}

TEST_F(SetNameCmdTest, ADerivedCommandFindsRootObjectAndOldName)
{
    HookedCmd command(pump, "new", "");
    EXPECT_EQ(command.getRoot(), root);
    EXPECT_EQ(command.getObjectToName(), pump);
    EXPECT_EQ(command.getOldName(), "");
    command.execute();
    EXPECT_EQ(command.getOldName(), "old");

    line->removeChild("pump");
    EXPECT_THAT(messageOf([&] { command.getObjectToName(); }), HasSubstr("'/line/pump'"));
    destroyTree();
    EXPECT_EQ(command.getRoot(), nullptr);
    EXPECT_THAT(messageOf([&] { command.getObjectToName(); }), HasSubstr("'/line/pump'"));
}

TEST_F(SetNameCmdTest, AMovedCommandUndoesWhatTheFirstOneExecuted)
{
    SetNameCmd source(pump, "new", "Rename pump");
    source.execute();
    SetNameCmd constructed(std::move(source));
    constructed.undo();
    EXPECT_EQ(pump->shownName, "old");
    EXPECT_EQ(constructed.getDescription(), "Rename pump");

    constructed.execute();
    SetNameCmd assigned(line, "another", "");
    assigned = std::move(constructed);
    assigned.undo();
    EXPECT_EQ(pump->shownName, "old");
    assigned.redo();
    EXPECT_EQ(pump->shownName, "new");
    EXPECT_EQ(line->shownName, "old");
}

TEST_F(SetNameCmdTest, AMovedFromCommandHasNoTree)
{
    SetNameCmd source(pump, "new", "");
    const SetNameCmd target(std::move(source));

    // NOLINTNEXTLINE(bugprone-use-after-move): what is left is the point
    EXPECT_EQ(messageOf([&] { source.execute(); }), "The object tree of '/' no longer exists.");
    EXPECT_EQ(pump->shownName, "old");
}

TEST_F(SetNameCmdTest, ACommandWithTheStateOfAnotherDoesAndUndoesTheSame)
{
    SetNameCmd original(pump, "new", "Rename pump");
    EXPECT_EQ(original.getState().oldName, "");
    original.execute();
    const SetNameCmd::State state = original.getState();
    EXPECT_EQ(state.path, pump->getPath(RequestedPathType::FromRoot));
    EXPECT_EQ(state.newName, "new");
    EXPECT_EQ(state.oldName, "old");

    SetNameCmd copy(root, state, "again");
    EXPECT_EQ(copy.getDescription(), "again");
    copy.undo();
    EXPECT_EQ(pump->shownName, "old");
    copy.execute();
    EXPECT_EQ(pump->shownName, "new");
}

} // namespace
} // namespace Valdane

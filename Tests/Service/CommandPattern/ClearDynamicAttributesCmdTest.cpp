#include "Service/CommandPattern/ClearDynamicAttributesCmd.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Tests/Support/MessageOf.h"

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

static_assert(std::is_base_of_v<CommandBase, ClearDynamicAttributesCmd>);
static_assert(!std::is_copy_constructible_v<ClearDynamicAttributesCmd> &&
              !std::is_copy_assignable_v<ClearDynamicAttributesCmd>);
static_assert(std::is_nothrow_move_constructible_v<ClearDynamicAttributesCmd>);
static_assert(std::is_nothrow_move_assignable_v<ClearDynamicAttributesCmd>);

/// The tree "plant" with "pump", which has a dynamic attribute; counts who announces changes.
class ClearDynamicAttributesCmdTest : public testing::Test
{
protected:
    ClearDynamicAttributesCmdTest()
    {
        root->addChild(pump);
        collection->set("colour", "red");
        pump->setDynamicAttributeCollection(collection);
    }

    std::shared_ptr<Object> root = std::make_shared<Object>("plant");
    std::shared_ptr<Object> pump = std::make_shared<Object>("pump");
    std::shared_ptr<DynamicAttributeCollection> collection = std::make_shared<DynamicAttributeCollection>();
    int ownerAnnouncements = 0;
    int ownAnnouncements = 0;
    Signals::Connection ownerChanged = root->connectToSigChanged([this] { ++ownerAnnouncements; });
    Signals::Connection ownChanged = pump->connectToSigChanged([this] { ++ownAnnouncements; });
};

TEST_F(ClearDynamicAttributesCmdTest, TakesTheCollectionAndGivesTheVerySameOneBack)
{
    CommandManager manager;
    EXPECT_TRUE(manager.addCommand(std::make_shared<ClearDynamicAttributesCmd>(pump, "Clear")));
    EXPECT_EQ(pump->getDynamicAttributeCollection(), nullptr);
    EXPECT_EQ(manager.collectUndoCommandDescriptions().front(), "Clear");

    for (int i = 0; i < 2; ++i)
    {
        EXPECT_TRUE(manager.undo(1));
        EXPECT_EQ(pump->getDynamicAttributeCollection(), collection);
        EXPECT_EQ(collection->get("colour"), "red");
        EXPECT_EQ(collection.use_count(), 2) << "held by the object and this test only";
        EXPECT_TRUE(manager.redo(1));
        EXPECT_EQ(pump->getDynamicAttributeCollection(), nullptr);
    }
}

TEST_F(ClearDynamicAttributesCmdTest, TheOwnerAnnouncesEachChangeAndTheObjectItselfDoesNot)
{
    ClearDynamicAttributesCmd command(pump, "");
    EXPECT_EQ(ownerAnnouncements, 0);

    command.execute();
    EXPECT_EQ(ownerAnnouncements, 1);
    command.undo();
    EXPECT_EQ(ownerAnnouncements, 2);
    command.redo();
    EXPECT_EQ(ownerAnnouncements, 3);
    EXPECT_EQ(ownAnnouncements, 0);
}

TEST_F(ClearDynamicAttributesCmdTest, TheChangeIsMadeBeforeItIsAnnounced)
{
    ClearDynamicAttributesCmd command(pump, "");
    std::shared_ptr<DynamicAttributeCollection> seen = collection;
    const Signals::Connection looking =
        root->connectToSigChanged([&] { seen = pump->getDynamicAttributeCollection(); });

    command.execute();
    EXPECT_EQ(seen, nullptr);
    command.undo();
    EXPECT_EQ(seen, collection);
}

TEST_F(ClearDynamicAttributesCmdTest, UndoWithNothingToGiveBackOnlyAnnounces)
{
    ClearDynamicAttributesCmd command(pump, "");
    command.undo();
    EXPECT_EQ(pump->getDynamicAttributeCollection(), collection);
    EXPECT_EQ(ownerAnnouncements, 1);

    command.execute();
    command.undo();
    const auto other = std::make_shared<DynamicAttributeCollection>();
    pump->setDynamicAttributeCollection(other);
    command.undo();
    EXPECT_EQ(pump->getDynamicAttributeCollection(), other);
    EXPECT_EQ(ownerAnnouncements, 4);
}

TEST_F(ClearDynamicAttributesCmdTest, AnObjectWithoutDynamicAttributesStaysWithout)
{
    pump->setDynamicAttributeCollection(nullptr);
    ClearDynamicAttributesCmd command(pump, "");

    command.execute();
    command.undo();

    EXPECT_EQ(pump->getDynamicAttributeCollection(), nullptr);
    EXPECT_EQ(ownerAnnouncements, 2);
}

TEST_F(ClearDynamicAttributesCmdTest, AtTheRootNobodyAnnouncesTheChange)
{
    root->setDynamicAttributeCollection(collection);
    ClearDynamicAttributesCmd command(root, "");

    command.execute();
    EXPECT_EQ(root->getDynamicAttributeCollection(), nullptr);
    command.undo();
    EXPECT_EQ(root->getDynamicAttributeCollection(), collection);
    EXPECT_EQ(ownerAnnouncements, 0);
}

TEST_F(ClearDynamicAttributesCmdTest, UndoGivesTheCollectionToTheObjectThatReplacedTheFirstOne)
{
    ClearDynamicAttributesCmd command(pump, "");
    command.execute();
    const auto replacement = std::make_shared<Object>("pump");
    root->replaceChild(replacement);

    command.undo();

    EXPECT_EQ(replacement->getDynamicAttributeCollection(), collection);
    EXPECT_EQ(pump->getDynamicAttributeCollection(), nullptr);
}

TEST_F(ClearDynamicAttributesCmdTest, ATreeThatIsGoneIsAnErrorThatNamesThePath)
{
    ClearDynamicAttributesCmd command(pump, "");
    command.execute();
    const std::weak_ptr<Object> observed = root;
    root.reset();
    EXPECT_TRUE(observed.expired()) << "the command does not keep it";

    EXPECT_EQ(messageOf([&] { command.execute(); }), "The object tree of '/pump' no longer exists.");
    EXPECT_EQ(messageOf([&] { command.undo(); }), "The object tree of '/pump' no longer exists.");
}

TEST_F(ClearDynamicAttributesCmdTest, AnObjectThatIsMissingIsAnErrorThatNamesThePathAndTheCollectionIsKept)
{
    CommandManager manager;
    manager.addCommand(std::make_shared<ClearDynamicAttributesCmd>(pump, ""));
    root->removeChild("pump");
    std::string reported;
    const Signals::Connection failed = manager.connectToSigCommandFailed(
        [&](const char* what, const std::string& /*description*/) { reported = what; });

    EXPECT_FALSE(manager.undo(1));
    EXPECT_EQ(reported, "There is no object at '/pump'.");

    root->addChild(pump);
    EXPECT_TRUE(manager.undo(1));
    EXPECT_EQ(pump->getDynamicAttributeCollection(), collection);
}

TEST_F(ClearDynamicAttributesCmdTest, NoObjectIsAnError)
{
    EXPECT_THROW(ClearDynamicAttributesCmd(nullptr, ""), VdException);
}

TEST_F(ClearDynamicAttributesCmdTest, AMovedCommandGivesBackWhatTheFirstOneTook)
{
    ClearDynamicAttributesCmd source(pump, "Clear");
    source.execute();
    ClearDynamicAttributesCmd constructed(std::move(source));
    EXPECT_EQ(constructed.getDescription(), "Clear");
    ClearDynamicAttributesCmd assigned(root, "");
    assigned = std::move(constructed);

    assigned.undo();

    EXPECT_EQ(pump->getDynamicAttributeCollection(), collection);
    EXPECT_EQ(collection.use_count(), 2);
    // NOLINTNEXTLINE(bugprone-use-after-move): what is left is the point
    EXPECT_EQ(messageOf([&] { source.execute(); }), "The object tree of '/' no longer exists.");
}

TEST_F(ClearDynamicAttributesCmdTest, ACommandWithTheStateOfAnotherGivesBackWhatThatHasTaken)
{
    ClearDynamicAttributesCmd original(pump, "Clear");
    EXPECT_EQ(original.getState().taken, nullptr);
    original.execute();
    EXPECT_EQ(original.getState().path, pump->getPath(RequestedPathType::FromRoot));

    ClearDynamicAttributesCmd copy(root, original.getState(), "again");
    EXPECT_EQ(copy.getDescription(), "again");
    copy.undo();
    EXPECT_EQ(pump->getDynamicAttributeCollection(), collection);
    EXPECT_EQ(copy.getState().taken, nullptr);
}

} // namespace
} // namespace Valdane

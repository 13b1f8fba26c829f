#include "Applications/ModelEditor/Edits/AnnotateCmd.h"

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Edits.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace
{

using ModelEditor::AnnotateCmd;
using Valdane::DynamicAttributeCollection;
using Valdane::Object;

struct Tree
{
    std::shared_ptr<Object> root = std::make_shared<Object>("root");
    std::shared_ptr<Object> child = std::make_shared<Object>("child");

    Tree()
    {
        root->addChild(child);
    }
};

std::vector<AnnotateCmd::Change> oneChange()
{
    return {{.name = "n:a", .text = "1"}};
}

TEST(AnnotateCmd, AddsAnAttributeAndTakesItAwayAgain)
{
    const Tree tree;
    AnnotateCmd command(tree.child, oneChange(), "what");
    EXPECT_EQ(command.getDescription(), "what");
    for (int round = 0; round < 2; ++round)
    {
        command.redo();
        EXPECT_EQ(tree.child->getDynamicAttributeCollection()->get("n:a"), "1");
        command.undo();
        EXPECT_EQ(tree.child->getDynamicAttributeCollection(), nullptr);
    }
}

TEST(AnnotateCmd, LeavesTheCollectionAloneThatWasThere)
{
    const Tree tree;
    const auto before = std::make_shared<DynamicAttributeCollection>();
    before->set("n:a", "0");
    before->set("n:b", "0");
    tree.child->setDynamicAttributeCollection(before);
    AnnotateCmd command(tree.child, oneChange(), "");
    command.execute();
    const auto after = tree.child->getDynamicAttributeCollection();
    EXPECT_EQ(after->get("n:a"), "1");
    EXPECT_EQ(after->get("n:b"), "0");
    EXPECT_EQ(before->get("n:a"), "0");
    command.undo();
    EXPECT_EQ(tree.child->getDynamicAttributeCollection(), before);
}

TEST(AnnotateCmd, TellsTheOwner)
{
    const Tree tree;
    int calls = 0;
    const auto connection = tree.root->connectToSigChanged([&] { ++calls; });
    AnnotateCmd command(tree.child, oneChange(), "");
    command.execute();
    EXPECT_EQ(calls, 1);
    command.undo();
    EXPECT_EQ(calls, 2);
    AnnotateCmd(tree.root, oneChange(), "").execute();
    EXPECT_EQ(calls, 2);
}

TEST(AnnotateCmd, FindsWhatIsAtThePathNow)
{
    const Tree tree;
    AnnotateCmd command(tree.child, oneChange(), "");
    const auto other = std::make_shared<Object>("child");
    tree.root->replaceChild(other);
    command.execute();
    EXPECT_NE(other->getDynamicAttributeCollection(), nullptr);
    EXPECT_EQ(tree.child->getDynamicAttributeCollection(), nullptr);
}

TEST(AnnotateCmd, AnObjectThatIsGoneIsReportedWithItsPath)
{
    Tree tree;
    AnnotateCmd command(tree.child, oneChange(), "");
    tree.root->removeChild("child");
    try
    {
        command.execute();
        FAIL() << "nothing was thrown";
    }
    catch (const Valdane::VdException& exception)
    {
        EXPECT_THAT(exception.what(), testing::HasSubstr("/child"));
    }
    tree.root.reset();
    EXPECT_THROW(command.undo(), Valdane::VdException);
}

TEST(AnnotateCmd, AllItsChangesAreOneOfTheObject)
{
    const Tree tree;
    const auto before = std::make_shared<DynamicAttributeCollection>();
    before->set("n:a", "0");
    before->set("n:b", "0");
    tree.child->setDynamicAttributeCollection(before);
    int calls = 0;
    const auto connection = tree.root->connectToSigChanged([&] { ++calls; });
    AnnotateCmd command(tree.child, oneChange(), "");
    command.add({.name = "n:b", .text = std::nullopt});
    command.add({.name = "n:c", .text = "2"});
    command.execute();
    const auto after = tree.child->getDynamicAttributeCollection();
    EXPECT_EQ(after->get("n:a"), "1");
    EXPECT_EQ(after->get("n:b"), std::nullopt);
    EXPECT_EQ(after->get("n:c"), "2");
    EXPECT_EQ(calls, 1);
    command.undo();
    EXPECT_EQ(tree.child->getDynamicAttributeCollection(), before);
    EXPECT_EQ(calls, 2);
}

// A command for each would copy all of them each time.
TEST(AnnotateCmd, OneOfThemSetsAllThatAnEditChangesInAnElement)
{
    ModelEditor::XmlModel model("<r xmlns:n='urn:n'><a n:a='1' n:b='2' n:c='3'/><a n:a='4'/></r>", "m");
    const auto edit = ModelEditor::makeSet(model, {"//@n:*", "5"});
    const auto macro = std::dynamic_pointer_cast<Valdane::MacroCommand>(edit.command);
    ASSERT_NE(macro, nullptr);
    EXPECT_EQ(macro->size(), 2U);
    macro->execute();
    EXPECT_EQ(model.toBytes(), "<r xmlns:n='urn:n'><a n:a='5' n:b='5' n:c='5'/><a n:a='5'/></r>");
    macro->undo();
    EXPECT_EQ(model.toBytes(), "<r xmlns:n='urn:n'><a n:a='1' n:b='2' n:c='3'/><a n:a='4'/></r>");
}

} // namespace

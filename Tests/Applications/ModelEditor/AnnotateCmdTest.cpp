#include "Applications/ModelEditor/Edits/AnnotateCmd.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Platform/Parameterization/Object.h"

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

TEST(AnnotateCmd, AddsAnAttributeAndTakesItAwayAgain)
{
    const Tree tree;
    AnnotateCmd command(tree.child, "n:a", "1", "what");
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
    AnnotateCmd command(tree.child, "n:a", "1", "");
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
    AnnotateCmd command(tree.child, "n:a", "1", "");
    command.execute();
    EXPECT_EQ(calls, 1);
    command.undo();
    EXPECT_EQ(calls, 2);
    AnnotateCmd(tree.root, "n:a", "1", "").execute();
    EXPECT_EQ(calls, 2);
}

TEST(AnnotateCmd, FindsWhatIsAtThePathNow)
{
    const Tree tree;
    AnnotateCmd command(tree.child, "n:a", "1", "");
    const auto other = std::make_shared<Object>("child");
    tree.root->replaceChild(other);
    command.execute();
    EXPECT_NE(other->getDynamicAttributeCollection(), nullptr);
    EXPECT_EQ(tree.child->getDynamicAttributeCollection(), nullptr);
}

TEST(AnnotateCmd, AnObjectThatIsGoneIsReportedWithItsPath)
{
    Tree tree;
    AnnotateCmd command(tree.child, "n:a", "1", "");
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

} // namespace

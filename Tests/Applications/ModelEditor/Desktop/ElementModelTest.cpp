#include "Applications/ModelEditor/Desktop/ElementModel.h"

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Structure.h"
#include "Service/CommandPattern/CommandBase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <QSignalSpy>
#include <string>
#include <vector>

namespace
{

using ModelEditor::ElementModel;
using ModelEditor::XmlModel;

// All rows as `tag(child child)`.
std::string textOf(const ElementModel& model, const QModelIndex& parent = {})
{
    std::string text;
    for (int row = 0; row < model.rowCount(parent); ++row)
    {
        const auto index = model.index(row, 0, parent);
        const auto below = textOf(model, index);
        text += (row == 0 ? "" : " ") + index.data().toString().toStdString() +
                (below.empty() ? "" : "(" + below + ")");
    }
    return text;
}

class ElementModelTest : public testing::Test
{
protected:
    ElementModelTest()
    {
        const auto note = [this](const std::string& what)
        {
            return [this, what](const QModelIndex& parent, int first, int last)
            {
                changes.push_back(what + " " + parent.data().toString().toStdString() + " " +
                                  std::to_string(first) + "-" + std::to_string(last));
            };
        };
        QObject::connect(&model, &QAbstractItemModel::rowsInserted, &model, note("inserted"));
        QObject::connect(&model, &QAbstractItemModel::rowsRemoved, &model, note("removed"));
        QObject::connect(&model, &QAbstractItemModel::modelReset, &model,
                         [this] { changes.emplace_back("reset"); });
    }

    std::shared_ptr<Valdane::CommandBase> execute(const ModelEditor::Edit& edit)
    {
        edit.command->execute();
        return edit.command;
    }

    XmlModel xml{"<a><b><c/><d/></b><e/><f/></a>", "a.xml"};
    ElementModel model{xml};
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
    std::vector<std::string> changes;
};

TEST_F(ElementModelTest, HasTheElementsOfTheFile)
{
    EXPECT_EQ(textOf(model), "a(b(c d) e f)");
    EXPECT_EQ(model.columnCount(), 3);
}

TEST_F(ElementModelTest, AnInsertedElementIsOneRowAndItsUndoTakesItAway)
{
    textOf(model);
    const auto command = execute(makeInsert(xml, {"/a/e", "<x/>", "--before"}));
    EXPECT_EQ(textOf(model), "a(b(c d) x e f)");
    command->undo();
    EXPECT_EQ(textOf(model), "a(b(c d) e f)");
    EXPECT_THAT(changes, testing::ElementsAre("inserted a 1-1", "removed a 1-1"));
}

TEST_F(ElementModelTest, AMoveRemovesAndInsertsTheRow)
{
    textOf(model);
    execute(makeMove(xml, {"/a/f", "/a/b", "--first"}));
    EXPECT_EQ(textOf(model), "a(b(f c d) e)");
    EXPECT_THAT(changes, testing::ElementsAre("removed a 2-2", "inserted b 0-0"));
}

TEST_F(ElementModelTest, SiblingsThatDoNotFollowEachOtherGoFromTheBack)
{
    textOf(model);
    const auto command = execute(makeDelete(xml, {"/a/b | /a/f"}));
    EXPECT_EQ(textOf(model), "a(e)");
    command->undo();
    EXPECT_EQ(textOf(model), "a(b(c d) e f)");
    EXPECT_THAT(changes,
                testing::ElementsAre("removed a 2-2", "removed a 0-0", "inserted a 0-0", "inserted a 2-2"));
}

TEST_F(ElementModelTest, WhatNobodyHasLookedIntoHasNoRowsToChange)
{
    ASSERT_EQ(model.rowCount(model.index(0, 0)), 3);
    execute(makeInsert(xml, {"/a/e", "<x/>"}));
    EXPECT_THAT(changes, testing::ElementsAre());
    EXPECT_EQ(textOf(model), "a(b(c d) e(x) f)");
}

TEST_F(ElementModelTest, RowsOfAnElementThatGoesAreForgotten)
{
    textOf(model);
    const auto command = execute(makeDelete(xml, {"/a/b"}));
    EXPECT_FALSE(model.findIndex(xml.select("/a/e").nodes.at(0).node).parent().parent().isValid());
    command->undo();
    EXPECT_EQ(model.findIndex(xml.select("/a/b/d").nodes.at(0).node).row(), 1);
    EXPECT_EQ(textOf(model), "a(b(c d) e f)");
}

TEST_F(ElementModelTest, PersistentIndexesFollowTheirElements)
{
    textOf(model);
    const QPersistentModelIndex kept = model.findIndex(xml.select("/a/b/d").nodes.at(0).node);
    execute(makeInsert(xml, {"/a", "<x/><y/>", "--first"}));
    EXPECT_EQ(kept.data().toString(), "d");
    EXPECT_EQ(kept.parent().row(), 2);
}

// Without a tester, which asks for the parent of every row at each step.
TEST(ElementModelOfManyElements, FindsAnElementAfterMostOfItsSiblingsHaveGone)
{
    XmlModel xml("<a><x/><x/><x/><x/><x/><x/><z><y/></z></a>", "a.xml");
    ElementModel model(xml);
    ASSERT_EQ(model.findIndex(xml.select("/a/z/y").nodes.at(0).node).parent().row(), 6);
    makeDelete(xml, {"/a/x"}).command->execute();
    EXPECT_EQ(model.findIndex(xml.select("/a/z/y").nodes.at(0).node).parent().row(), 0);
}

TEST_F(ElementModelTest, ModifiedModulesAreMarkedAndNoOthers)
{
    const auto b = model.findIndex(xml.select("/a/b").nodes.at(0).node);
    QSignalSpy told(&model, &QAbstractItemModel::dataChanged);
    model.setModified({xml.select("/a/b").nodes.at(0).object.get()});
    EXPECT_EQ(told.count(), 2);
    EXPECT_TRUE(b.data(ElementModel::IsModifiedRole).toBool());
    EXPECT_FALSE(b.siblingAtRow(1).data(ElementModel::IsModifiedRole).toBool());
    model.setModified({xml.select("/a/b").nodes.at(0).object.get()});
    EXPECT_EQ(told.count(), 2);
}

TEST_F(ElementModelTest, AnElementIsNotDroppedIntoItself)
{
    const auto b = model.findIndex(xml.select("/a/b").nodes.at(0).node);
    const auto c = model.index(0, 0, b);
    const std::unique_ptr<QMimeData> dragged(model.mimeData({b}));
    EXPECT_FALSE(model.canDropMimeData(dragged.get(), Qt::MoveAction, -1, -1, c));
    EXPECT_FALSE(model.canDropMimeData(dragged.get(), Qt::MoveAction, -1, -1, b));
    EXPECT_TRUE(model.canDropMimeData(dragged.get(), Qt::MoveAction, -1, -1, b.siblingAtRow(1)));
    XmlModel other{"<a><b/></a>", "other.xml"};
    ElementModel foreign{other};
    EXPECT_FALSE(foreign.canDropMimeData(dragged.get(), Qt::MoveAction, -1, -1, foreign.index(0, 0)));
}

TEST_F(ElementModelTest, ARowThatHasChangedAndGoesIsToldBeforeItGoes)
{
    textOf(model);
    std::vector<std::string> order;
    QObject::connect(&model, &QAbstractItemModel::dataChanged, &model,
                     [&](const QModelIndex& first)
                     { order.push_back("changed " + first.data().toString().toStdString()); });
    QObject::connect(&model, &QAbstractItemModel::rowsRemoved, &model,
                     [&] { order.emplace_back("removed"); });
    model.noteChange(xml.select("/a/b/c").nodes.at(0).node);
    execute(makeDelete(xml, {"/a/b"}));
    model.refresh();
    EXPECT_THAT(order, testing::ElementsAre("changed c", "removed"));
}

TEST(ElementModelOfManyElements, MakesRowsOnlyWhereSomebodyLooksAndChangesOneRow)
{
    std::string bytes = "<a>";
    for (int i = 0; i < 100000; ++i)
    {
        bytes += "<b><c/></b>";
    }
    XmlModel xml(bytes + "</a>", "a.xml");
    ElementModel model(xml);
    const auto root = model.index(0, 0);
    EXPECT_EQ(model.rowCount(root), 100000);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    const auto edit = makeInsert(xml, {"/a/b[50000]", "<x/>", "--after"});
    edit.command->execute();
    EXPECT_EQ(model.rowCount(root), 100001);
    EXPECT_EQ(model.index(50000, 0, root).data().toString(), "x");
    edit.command->undo();
    EXPECT_EQ(model.rowCount(root), 100000);
    EXPECT_EQ(inserted.count(), 1);
}

TEST(ElementModelOfManyElements, ManySeparateSiblingsAreAReset)
{
    std::string bytes = "<a>";
    for (int i = 0; i < 600; ++i)
    {
        bytes += "<b/><c/>";
    }
    XmlModel xml(bytes + "</a>", "a.xml");
    ElementModel model(xml);
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    ASSERT_EQ(model.rowCount(model.index(0, 0)), 1200);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    const auto edit = makeDelete(xml, {"/a/b"});
    edit.command->execute();
    EXPECT_EQ(model.rowCount(model.index(0, 0)), 600);
    edit.command->undo();
    EXPECT_EQ(model.rowCount(model.index(0, 0)), 1200);
    EXPECT_EQ(model.index(1, 0, model.index(0, 0)).data().toString(), "c");
    EXPECT_EQ(reset.count(), 2);
}

// So many that new elements get the memory of those that have gone.
TEST(ElementModelOfManyElements, ForgetsTheLevelsBelowAnElementThatGoes)
{
    XmlModel xml("<a></a>", "a.xml");
    ElementModel model(xml);
    for (const std::string tag : {"x", "y", "x", "y"})
    {
        std::string inner;
        for (int i = 0; i < 2000; ++i)
        {
            inner += "<c><" + tag + "/></c>";
        }
        makeInsert(xml, {"/a", "<b>" + inner + "</b>"}).command->execute();
        std::string expected;
        for (int i = 0; i < 2000; ++i)
        {
            expected += (i == 0 ? "c(" : " c(") + tag + ")";
        }
        ASSERT_EQ(textOf(model), "a(b(" + expected + "))");
        makeDelete(xml, {"/a/b"}).command->execute();
        ASSERT_EQ(textOf(model), "a");
    }
}

TEST_F(ElementModelTest, FrozenItDoesNotLookAtTheModel)
{
    const auto b = model.findIndex(xml.select("/a/b").nodes.at(0).node);
    model.setFrozen(true);
    EXPECT_FALSE(b.data().isValid());
    EXPECT_EQ(b.flags(), Qt::NoItemFlags);
    model.setFrozen(false);
    EXPECT_EQ(b.data().toString(), "b");
}

} // namespace

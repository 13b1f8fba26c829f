#include "Applications/ModelEditor/Desktop/ElementModel.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Structure.h"
#include "Service/CommandPattern/CommandBase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QMimeData>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace
{

using ModelEditor::ElementModel;
using ModelEditor::XmlModel;

// The first rows are 4096.
class GradualElementModelTest : public testing::Test
{
protected:
    GradualElementModelTest()
    {
        QObject::connect(&model, &QAbstractItemModel::rowsInserted, &model,
                         [this](const QModelIndex&, int first, int last)
                         { changes.push_back(std::to_string(first) + "-" + std::to_string(last)); });
        QObject::connect(
            &model, &QAbstractItemModel::rowsRemoved, &model,
            [this](const QModelIndex&, int first, int last)
            { changes.push_back("removed " + std::to_string(first) + "-" + std::to_string(last)); });
        rowCount();
    }

    static std::string makeBytes()
    {
        std::string bytes = "<a>";
        for (int i = 0; i < 20000; ++i)
        {
            bytes += "<b n=\"" + std::to_string(i) + "\"/>";
        }
        return bytes + "</a>";
    }

    int rowCount() const
    {
        return model.rowCount(model.index(0, 0));
    }

    pugi::xml_node nodeOf(const std::string& xpath) const
    {
        return xml.select(xpath).nodes.at(0).node;
    }

    // As long as rows come.
    void fill()
    {
        int before = -1;
        while (std::exchange(before, rowCount()) != rowCount())
        {
            QCoreApplication::processEvents();
        }
    }

    std::vector<int> rowsThatDiffer() const
    {
        std::vector<int> rows;
        int row = 0;
        for (const auto child : xml.getRoot()->getElement().children())
        {
            if (model.getNode(model.index(row, 0, model.index(0, 0))) != child)
            {
                rows.push_back(row);
            }
            ++row;
        }
        return rows;
    }

    XmlModel xml{makeBytes(), "a.xml"};
    ElementModel model{xml, ElementModel::Filling::Gradual};
    std::vector<std::string> changes;
};

TEST_F(GradualElementModelTest, MakesTheOtherRowsWhenTheEventLoopHasTime)
{
    EXPECT_EQ(rowCount(), 4096);
    fill();
    EXPECT_THAT(changes, testing::ElementsAre("4096-8191", "8192-16383", "16384-19999"));
    EXPECT_THAT(rowsThatDiffer(), testing::ElementsAre());
}

TEST_F(GradualElementModelTest, MakesTheRowsUpToAnElementThatIsLookedFor)
{
    EXPECT_EQ(model.findIndex(nodeOf("/a/b[10001]")).row(), 10000);
    EXPECT_EQ(rowCount(), 10001);
    EXPECT_EQ(model.findIndex(nodeOf("/a/b[20000]")).row(), 19999);
    EXPECT_THAT(changes, testing::ElementsAre("4096-10000", "10001-19999"));
    EXPECT_THAT(rowsThatDiffer(), testing::ElementsAre());
}

TEST_F(GradualElementModelTest, WhatComesAndGoesBehindTheRowsHasNone)
{
    const auto behind = makeInsert(xml, {"/a/b[4097]", "<x/>", "--before"});
    behind.command->execute();
    makeDelete(xml, {"/a/b[5000]"}).command->execute();
    EXPECT_THAT(changes, testing::ElementsAre());
    makeInsert(xml, {"/a/b[4096]", "<y/>", "--before"}).command->execute();
    makeDelete(xml, {"/a/b[4095] | /a/b[4096] | /a/b[4097]"}).command->execute();
    EXPECT_THAT(changes, testing::ElementsAre("4095-4095", "removed 4096-4096", "removed 4094-4094"));
    EXPECT_EQ(rowCount(), 4095);
    fill();
    EXPECT_THAT(rowsThatDiffer(), testing::ElementsAre());
    EXPECT_EQ(rowCount(), 19998);
}

TEST_F(GradualElementModelTest, OthersComeAfterAllRowsHaveGone)
{
    makeDelete(xml, {"/a/b[position() <= 4096]"}).command->execute();
    EXPECT_EQ(rowCount(), 0);
    EXPECT_TRUE(model.hasChildren(model.index(0, 0)));
    fill();
    EXPECT_THAT(changes, testing::ElementsAre("removed 0-4095", "0-4095", "4096-8191", "8192-15903"));
    EXPECT_THAT(rowsThatDiffer(), testing::ElementsAre());
}

TEST_F(GradualElementModelTest, ARowThatIsDroppedBehindTheLastOneComesBeforeTheElementThatFollows)
{
    std::string before;
    QObject::connect(&model, &ElementModel::moveWanted, &model,
                     [&](const auto& /*dragged*/, pugi::xml_node /*parent*/, pugi::xml_node next)
                     { before = next.attribute("n").value(); });
    const auto root = model.index(0, 0);
    const std::unique_ptr<QMimeData> dragged(model.mimeData({model.index(0, 0, root)}));
    model.dropMimeData(dragged.get(), Qt::MoveAction, 4096, 0, root);
    EXPECT_EQ(before, "4096");
    fill();
    model.dropMimeData(dragged.get(), Qt::MoveAction, 20000, 0, root);
    EXPECT_EQ(before, "");
}

TEST_F(GradualElementModelTest, MakesNoRowsWhileItIsFrozen)
{
    model.setFrozen(true);
    fill();
    EXPECT_EQ(rowCount(), 4096);
    model.setFrozen(false);
    fill();
    EXPECT_EQ(rowCount(), 20000);
}

} // namespace

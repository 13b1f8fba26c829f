#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/ElementView.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Tests/Applications/ModelEditor/Desktop/DesktopTour.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <memory>
#include <string>
#include <vector>

// What is dragged and dropped in the tree, by the events that a drag sends.

namespace
{

using ModelEditor::DocumentTab;
using testing::ElementsAre;

class DesktopDrag : public DesktopTour
{
protected:
    enum class At
    {
        Above,
        On,
        Below,
    };

    QModelIndex indexOf(const std::string& xpath)
    {
        return tab->getDocument().getElements().findIndex(nodeOf(*tab, xpath));
    }

    QPoint pointAt(At at, const std::string& xpath)
    {
        const auto row = tab->getTree().visualRect(indexOf(xpath));
        return {row.left() + 10, at == At::Above   ? row.top() + 1
                                 : at == At::Below ? row.bottom() - 1
                                                   : row.center().y()};
    }

    // Drags what the XPath selects. Tells what the tree says to it, and the model after it.
    std::string drag(const std::string& xpath, At at, const std::string& target)
    {
        auto& tree = tab->getTree();
        tree.expandAll();
        QModelIndexList rows;
        for (const auto& selected : tab->getDocument().getModel().select(xpath).nodes)
        {
            rows += tab->getDocument().getElements().findIndex(selected.node);
        }
        const std::unique_ptr<QMimeData> dragged(tree.model()->mimeData(rows));
        const auto point = pointAt(at, target);
        QDragEnterEvent enter(point, Qt::MoveAction, dragged.get(), Qt::LeftButton, {});
        QApplication::sendEvent(tree.viewport(), &enter);
        QDragMoveEvent move(point, Qt::MoveAction, dragged.get(), Qt::LeftButton, {});
        QApplication::sendEvent(tree.viewport(), &move);
        if (!move.isAccepted())
        {
            QDragLeaveEvent leave;
            QApplication::sendEvent(tree.viewport(), &leave);
            return "refused";
        }
        QDropEvent drop(point, Qt::MoveAction, dragged.get(), Qt::LeftButton, {});
        QApplication::sendEvent(tree.viewport(), &drop);
        settle();
        return bytesOf(*tab);
    }

    DocumentTab* tab = nullptr;
};

} // namespace

TEST_F(DesktopDrag, RowsThatAreDroppedAreMoved)
{
    tab = &openBytes("a.xml", "<a><b/><c/><d/></a>");
    auto& elements = tab->getDocument().getElements();
    const auto root = elements.index(0, 0);
    const std::unique_ptr<QMimeData> dragged(elements.mimeData({elements.index(2, 0, root)}));
    elements.dropMimeData(dragged.get(), Qt::MoveAction, 0, 0, root);
    settle();
    EXPECT_EQ(bytesOf(*tab), "<a><d/><b/><c/></a>");
    trigger(actions.undo);
    EXPECT_EQ(bytesOf(*tab), "<a><b/><c/><d/></a>");
}

TEST_F(DesktopDrag, ARowGoesBetweenTwoOthersOrIntoOne)
{
    tab = &openBytes("a.xml", "<a><b/><c/><d/></a>");
    std::vector<std::string> steps{drag("/a/d", At::Above, "/a/b"), drag("/a/d", At::Below, "/a/b"),
                                   drag("/a/b", At::On, "/a/c"), drag("/a/c/b", At::Below, "/a/c")};
    EXPECT_THAT(steps, ElementsAre("<a><d/><b/><c/></a>", "<a><b/><d/><c/></a>", "<a><d/><c><b/></c></a>",
                                   "<a><d/><c/><b/></a>"));
    EXPECT_EQ(tab->getSelectedAddress(), "/a/b");
    EXPECT_EQ(tab->getDocument().getManager().getPosition(), 4U);
    tab->getDocument().getManager().undo(4);
    EXPECT_EQ(bytesOf(*tab), "<a><b/><c/><d/></a>");
}

TEST_F(DesktopDrag, RowsOfSeveralElementsGoTogetherAsOneStep)
{
    tab = &openBytes("a.xml", "<a><b><x/></b><c><y/></c><d/></a>");
    EXPECT_EQ(drag("/a/b/x | /a/c/y", At::On, "/a/d"), "<a><b></b><c></c><d><x/><y/></d></a>");
    EXPECT_EQ(tab->getDocument().getManager().getPosition(), 1U);
    trigger(actions.undo);
    EXPECT_EQ(bytesOf(*tab), "<a><b><x/></b><c><y/></c><d/></a>");
}

TEST_F(DesktopDrag, WhatCannotBeMovedThereIsRefused)
{
    tab = &openBytes("a.xml", "<a><b><c/></b></a>");
    EXPECT_EQ(drag("/a/b", At::On, "/a/b/c"), "refused");
    EXPECT_EQ(drag("/a/b", At::On, "/a/b"), "refused");
    EXPECT_EQ(drag("/a/b/c", At::Above, "/a"), "refused");
    EXPECT_FALSE(indexOf("/a").flags() & Qt::ItemIsDragEnabled);
    EXPECT_TRUE(indexOf("/a/b").flags() & Qt::ItemIsDragEnabled);
    EXPECT_EQ(bytesOf(*tab), "<a><b><c/></b></a>");
    EXPECT_EQ(tab->getDocument().getManager().getPosition(), 0U);
}

TEST_F(DesktopDrag, RowsOfAnotherFileAreRefused)
{
    tab = &openBytes("a.xml", "<a><b/></a>");
    const std::unique_ptr<QMimeData> foreign(tab->getTree().model()->mimeData({indexOf("/a/b")}));
    tab = &openBytes("z.xml", "<z><y/></z>");
    QDragEnterEvent enter(pointAt(At::On, "/z/y"), Qt::MoveAction, foreign.get(), Qt::LeftButton, {});
    QApplication::sendEvent(tab->getTree().viewport(), &enter);
    QDragMoveEvent move(pointAt(At::On, "/z/y"), Qt::MoveAction, foreign.get(), Qt::LeftButton, {});
    QApplication::sendEvent(tab->getTree().viewport(), &move);
    EXPECT_FALSE(move.isAccepted());
    QDropEvent drop(pointAt(At::On, "/z/y"), Qt::MoveAction, foreign.get(), Qt::LeftButton, {});
    QApplication::sendEvent(tab->getTree().viewport(), &drop);
    EXPECT_EQ(bytesOf(*tab), "<z><y/></z>");
}

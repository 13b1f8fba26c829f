#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Tests/Applications/ModelEditor/Desktop/DesktopTour.h"
#include "Toolkit/Qt/HistoryView.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QDockWidget>
#include <QInputDialog>
#include <QTest>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

// What the history of a document shows and does, recordings among it.

namespace
{

using testing::ElementsAre;
using DesktopHistory = DesktopTour;

// What a command has changed counts for nothing if it has failed.
class FailingUndo : public Valdane::CommandBase
{
public:
    explicit FailingUndo(std::shared_ptr<Valdane::CommandBase> touching)
        : CommandBase("fails"), touches(std::move(touching))
    {
    }

    void execute() override {}

    void undo() override
    {
        touches->execute();
        touches->undo();
        throw std::runtime_error("not wanted");
    }

private:
    std::shared_ptr<Valdane::CommandBase> touches;
};

TEST_F(DesktopHistory, ARecordingIsOneStepOrNone)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\" c=\"2\"/>");
    onNextDialog([](QWidget& dialog) { dynamic_cast<QInputDialog&>(dialog).accept(); });
    trigger(actions.record);
    EXPECT_FALSE(actions.record->isVisible());
    EXPECT_TRUE(actions.discard->isVisible());
    type(tab, "b", "3");
    type(tab, "c", "4");
    EXPECT_FALSE(actions.undo->isEnabled());
    EXPECT_FALSE(actions.save->isEnabled());
    trigger(actions.finish);
    EXPECT_TRUE(actions.record->isVisible());
    EXPECT_FALSE(actions.discard->isVisible());
    EXPECT_EQ(tab.getDocument().getManager().getPosition(), 1U);
    trigger(actions.undo);
    EXPECT_EQ(bytesOf(tab), "<a b=\"1\" c=\"2\"/>");
    EXPECT_FALSE(window.isWindowModified());
    tab.getDocument().beginRecording("again");
    settle();
    type(tab, "b", "5");
    EXPECT_TRUE(window.isWindowModified());
    trigger(actions.discard);
    EXPECT_EQ(bytesOf(tab), "<a b=\"1\" c=\"2\"/>");
    EXPECT_FALSE(window.isWindowModified());
}

TEST_F(DesktopHistory, AClickInTheHistoryGoesThere)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\" c=\"2\"/>");
    type(tab, "b", "3");
    type(tab, "c", "4");
    auto* const view = window.findChild<Valdane::HistoryView*>();
    ASSERT_TRUE(view->isVisible());
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                      view->visualRect(view->model()->index(0, 0)).center());
    settle();
    EXPECT_EQ(bytesOf(tab), "<a b=\"1\" c=\"2\"/>");
    EXPECT_EQ(valueIndex(tab, "b").data().toString(), "1");
}

TEST_F(DesktopHistory, AHistoryThatIsHiddenStaysHidden)
{
    openBytes("a.xml", "<a/>");
    auto* const dock = window.findChild<QDockWidget*>("historyDock");
    std::vector<bool> visible{dock->isVisible()};
    dock->toggleViewAction()->trigger();
    visible.push_back(dock->isVisible());
    openBytes("b.xml", "<b/>");
    visible.push_back(dock->isVisible());
    dock->toggleViewAction()->trigger();
    visible.push_back(dock->isVisible());
    EXPECT_THAT(visible, ElementsAre(true, false, false, true));
}

TEST_F(DesktopHistory, WhatComesBackByAKeyIsSelectedAlone)
{
    auto& tab = openBytes("a.xml", "<a><b/><c/></a>");
    select(tab, "/a/b");
    trigger(actions.remove);
    select(tab, "/a/c");
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_Z, Qt::ControlModifier);
    settle();
    EXPECT_EQ(bytesOf(tab), "<a><b/><c/></a>");
    EXPECT_EQ(tab.getSelectedAddress(), "/a/b");
}

TEST_F(DesktopHistory, AnUndoThatFailsMarksNothingAsChanged)
{
    auto& tab = openBytes("a.xml", "<a><b v=\"1\"/><c v=\"1\"/></a>");
    auto& document = tab.getDocument();
    document.edit("Fail",
                  [](auto& model) -> ModelEditor::Edit {
                      return {.command =
                                  std::make_shared<FailingUndo>(makeSet(model, {"/a/b/@v", "2"}).command),
                              .note = {}};
                  });
    trigger(actions.undo);
    select(tab, "/a/c");
    type(tab, "v", "2");
    const auto isMarked = [&](const char* xpath)
    {
        return document.getElements()
            .findIndex(nodeOf(tab, xpath))
            .data(ModelEditor::ElementModel::IsModifiedRole)
            .toBool();
    };
    EXPECT_FALSE(isMarked("/a/b"));
    EXPECT_TRUE(isMarked("/a/c"));
}

} // namespace

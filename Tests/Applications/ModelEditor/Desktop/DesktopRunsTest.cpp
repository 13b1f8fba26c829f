#include "Applications/ModelEditor/Desktop/AttributeView.h"
#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/ElementView.h"
#include "Applications/ModelEditor/Desktop/FindReplaceBar.h"
#include "Applications/ModelEditor/Desktop/RunActions.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Tests/Applications/ModelEditor/Desktop/DesktopTour.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTest>
#include <iterator>
#include <string>
#include <vector>

// What is done on another thread.

namespace
{

using ModelEditor::OpenDocument;
using testing::HasSubstr;
using DesktopRuns = DesktopTour;

TEST_F(DesktopRuns, NumbersAreScaledOnAnotherThreadAndUndoneAsOneStep)
{
    auto& tab = openCopyOf("ur5_robot.urdf");
    const auto original = read("ur5_robot.urdf");
    onNextDialog(
        [](QWidget& dialog)
        {
            dialog.findChildren<QLineEdit*>().at(0)->setText("//mass/@value");
            auto* const factor = dialog.findChildren<QLineEdit*>().at(1);
            factor->selectAll();
            QTest::keyClicks(factor, "10");
            QTest::mouseClick(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok),
                              Qt::LeftButton);
        });
    trigger(actions.scale);
    settle();
    EXPECT_EQ(valueOf(tab, "//link[2]//mass/@value"), "37.0");
    EXPECT_EQ(tab.getDocument().getManager().getPosition(), 1U);
    trigger(actions.undo);
    EXPECT_EQ(bytesOf(tab), original);
    EXPECT_FALSE(window.isWindowModified());
}

TEST_F(DesktopRuns, ARunThatIsCancelledChangesNothingAndNothingIsEditedMeanwhile)
{
    auto& tab = openCopyOf("ur5_robot.urdf");
    const auto original = read("ur5_robot.urdf");
    auto& document = tab.getDocument();
    ASSERT_TRUE(ModelEditor::RunActions::scale(document, "//mass/@value", "10", true));
    ASSERT_TRUE(document.isBusy());
    EXPECT_FALSE(actions.paste->isEnabled());
    QSignalSpy refused(&document, &OpenDocument::refused);
    EXPECT_FALSE(
        document.edit("Set", [](auto& /*model*/) -> ModelEditor::Edit { throw std::logic_error("called"); }));
    EXPECT_EQ(refused.count(), 1);
    EXPECT_THAT(refused.at(0).at(1).toString().toStdString(), HasSubstr("is running"));
    QSignalSpy noted(&document, &OpenDocument::noted);
    document.getRun().abort();
    settle();
    ASSERT_EQ(noted.count(), 1);
    EXPECT_THAT(noted.at(0).at(0).toString().toStdString(), HasSubstr("cancelled, nothing has changed"));
    EXPECT_EQ(document.getModel().toBytes(), original);
    EXPECT_EQ(document.getManager().getQueueSize(), 0U);
    EXPECT_FALSE(window.isWindowModified());
    EXPECT_TRUE(actions.paste->isEnabled());
    EXPECT_EQ(tab.getTree().currentIndex().data().toString(), "robot");
}

TEST_F(DesktopRuns, ATabIsNotClosedDuringARunAndAWindowThatGoesEndsIt)
{
    ModelEditor::MainWindow other;
    other.show();
    const auto path = directory.write("a.xml", "<a><b c=\"1.5\"/><b c=\"2.5\"/></a>");
    ASSERT_TRUE(other.openFile(QString::fromStdString(path)));
    auto& tab = other.getTab(0);
    ASSERT_TRUE(ModelEditor::RunActions::scale(tab.getDocument(), "//@c", "2", false));
    EXPECT_FALSE(other.closeTab(tab));
    EXPECT_EQ(other.getTabCount(), 1);
}

TEST_F(DesktopRuns, TheModelIsCheckedAndModulesAreImported)
{
    auto& tab = openBytes("a.xml", "<a><b name=\"x\"/><b name=\"x\"/></a>");
    trigger(actions.check);
    settle();
    auto* const results = window.findChild<QListWidget*>("results");
    ASSERT_EQ(results->count(), 1);
    EXPECT_THAT(results->item(0)->text().toStdString(), HasSubstr("x"));
    results->setCurrentRow(0);
    QTest::keyClick(results, Qt::Key_Return);
    EXPECT_EQ(tab.getTree().currentIndex().row(), 1);
    const auto other = directory.write("other.xml", "<o><p/><q/></o>");
    ASSERT_TRUE(ModelEditor::RunActions::import(tab.getDocument(), other));
    settle();
    EXPECT_EQ(valueOf(tab, "count(/a/*)"), "4");
    EXPECT_EQ(tab.getDocument().getElements().rowCount(tab.getDocument().getElements().index(0, 0)), 4);
    trigger(actions.undo);
    EXPECT_EQ(bytesOf(tab), "<a><b name=\"x\"/><b name=\"x\"/></a>");
    EXPECT_EQ(tab.getDocument().getElements().rowCount(tab.getDocument().getElements().index(0, 0)), 2);
}

TEST_F(DesktopRuns, WhatCannotBeScaledIsLeftAloneAndListedOrNothingIsScaled)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\" c=\"word\" d=\"2.5\"/>");
    ASSERT_TRUE(ModelEditor::RunActions::scale(tab.getDocument(), "//@*", "2", true));
    settle();
    EXPECT_EQ(bytesOf(tab), "<a b=\"2\" c=\"word\" d=\"5.0\"/>");
    const auto* const results = window.findChild<QListWidget*>("results");
    ASSERT_EQ(results->count(), 1);
    EXPECT_THAT(results->item(0)->text().toStdString(), HasSubstr("/a/@c: word is not a number"));
    trigger(actions.undo);
    ASSERT_TRUE(ModelEditor::RunActions::scale(tab.getDocument(), "//@*", "2", false));
    settle();
    EXPECT_EQ(bytesOf(tab), "<a b=\"1\" c=\"word\" d=\"2.5\"/>");
}

TEST_F(DesktopRuns, OneReadsOnAndEditsNothingWhileTheModelIsChecked)
{
    auto& tab = openCopyOf("fleet-of-26.urdf");
    auto& document = tab.getDocument();
    tab.getTree().expandAll();
    ASSERT_TRUE(ModelEditor::RunActions::check(document));
    ASSERT_TRUE(document.isBusy());
    // The end of the run is told by the event loop, which is not asked here.
    std::vector<std::string> wrong;
    for (const auto& selected : document.getModel().select("//*").nodes)
    {
        tab.select(selected.node);
        const auto row = tab.getTree().currentIndex();
        const auto attributes = selected.node.attributes();
        const auto count = std::distance(attributes.begin(), attributes.end());
        const bool isRight = row.data().toString() == selected.node.name() &&
                             tab.getAttributes().model()->rowCount() >= count &&
                             (row.flags() & (Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled)) == 0;
        isRight ? void() : wrong.push_back(selected.getAddress());
    }
    EXPECT_THAT(wrong, testing::ElementsAre());
    tab.getFindBar().findChild<QLineEdit*>("find")->setText("//mass");
    EXPECT_TRUE(actions.findNext->isEnabled());
    EXPECT_FALSE(actions.replace->isEnabled());
    actions.findNext->trigger();
    const auto isEditable = [&]
    {
        return (valueIndex(tab, "value").flags() & Qt::ItemIsEditable) != 0;
    };
    EXPECT_EQ(tab.getTree().currentIndex().data().toString(), "mass");
    EXPECT_FALSE(isEditable());
    ASSERT_TRUE(document.isBusy());
    settle();
    EXPECT_TRUE(isEditable());
    select(tab, "//link[1]");
    EXPECT_TRUE(tab.getTree().currentIndex().flags() & Qt::ItemIsDragEnabled);
}

TEST_F(DesktopRuns, DuringAScaleItsTabShowsAPictureAndTheOthersAreUsed)
{
    auto& other = openBytes("a.xml", "<a b=\"1\"/>");
    auto& tab = openCopyOf("ur5_robot.urdf");
    ASSERT_TRUE(ModelEditor::RunActions::scale(tab.getDocument(), "//mass/@value", "10", true));
    EXPECT_FALSE(tab.getTree().isEnabled());
    EXPECT_FALSE(actions.find->isEnabled());
    window.findChild<QTabWidget*>("tabs")->setCurrentWidget(&other);
    other.getDocument().edit("Set", [](auto& model) { return makeSet(model, {"/a/@b", "2"}); });
    EXPECT_TRUE(window.save(other));
    EXPECT_EQ(read("a.xml"), "<a b=\"2\"/>");
    EXPECT_TRUE(actions.undo->isEnabled());
    actions.undo->trigger();
    EXPECT_EQ(bytesOf(other), "<a b=\"1\"/>");
    EXPECT_TRUE(window.saveAll());
    EXPECT_EQ(read("a.xml"), "<a b=\"1\"/>");
    ASSERT_TRUE(tab.getDocument().isBusy());
    settle();
    EXPECT_TRUE(tab.getTree().isEnabled());
    EXPECT_EQ(valueOf(tab, "//link[2]//mass/@value"), "37.0");
}

} // namespace

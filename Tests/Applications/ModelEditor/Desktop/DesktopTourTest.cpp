#include "Applications/ModelEditor/Desktop/AttributeView.h"
#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/ElementView.h"
#include "Applications/ModelEditor/Desktop/FindReplaceBar.h"
#include "Applications/ModelEditor/Desktop/RunActions.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Tests/Applications/ModelEditor/Desktop/DesktopFixture.h"
#include "Toolkit/Qt/HistoryView.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QDialogButtonBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

// What a person does with mouse and keys, on files.

namespace
{

using ModelEditor::DocumentTab;
using ModelEditor::OpenDocument;
using testing::HasSubstr;

class DesktopTour : public DesktopFixture
{
protected:
    static pugi::xml_node nodeOf(DocumentTab& tab, const std::string& xpath)
    {
        return tab.getDocument().getModel().select(xpath).nodes.at(0).node;
    }

    static std::string valueOf(DocumentTab& tab, const std::string& xpath)
    {
        return tab.getDocument().getModel().select("string(" + xpath + ")").value.value();
    }

    void select(DocumentTab& tab, const std::string& xpath)
    {
        tab.select(nodeOf(tab, xpath));
        settle();
    }

    static QModelIndex valueIndex(DocumentTab& tab, const QString& name)
    {
        auto& table = tab.getAttributes();
        for (int row = 0; row < table.model()->rowCount(); ++row)
        {
            if (table.model()->index(row, 0).data().toString() == name)
            {
                return table.model()->index(row, 1);
            }
        }
        return {};
    }

    // Double click, new text, Return.
    void type(DocumentTab& tab, const QString& name, const QString& text)
    {
        auto& table = tab.getAttributes();
        const auto place = table.visualRect(valueIndex(tab, name)).center();
        QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, place);
        QTest::mouseDClick(table.viewport(), Qt::LeftButton, {}, place);
        auto* const editor = table.viewport()->findChild<QLineEdit*>();
        ASSERT_NE(editor, nullptr);
        editor->selectAll();
        QTest::keyClicks(editor, text);
        QTest::keyClick(editor, Qt::Key_Return);
        settle();
    }

    void trigger(QAction* action)
    {
        EXPECT_TRUE(action->isEnabled()) << action->text().toStdString();
        action->trigger();
        settle();
    }

    static void press(QWidget& dialog, QMessageBox::StandardButton button)
    {
        QTest::mouseClick(dynamic_cast<QMessageBox&>(dialog).button(button), Qt::LeftButton);
    }

    ModelEditor::Actions& actions = window.getActions();
};

TEST_F(DesktopTour, AValueThatIsTypedIsOneStepAndSavesOnlyThat)
{
    auto& tab = openCopyOf("ur5_robot.urdf");
    const auto original = read("ur5_robot.urdf");
    select(tab, "//link[2]//mass");
    type(tab, "value", "8.4");
    EXPECT_EQ(valueOf(tab, "//link[2]//mass/@value"), "8.4");
    EXPECT_EQ(tab.getDocument().getManager().getPosition(), 1U);
    EXPECT_TRUE(window.isWindowModified());
    trigger(actions.save);
    EXPECT_FALSE(window.isWindowModified());
    auto expected = original;
    const std::string before = "<mass value=\"3.7\"/>";
    ASSERT_NE(expected.find(before), std::string::npos);
    expected.replace(expected.find(before), before.size(), "<mass value=\"8.4\"/>");
    EXPECT_EQ(read("ur5_robot.urdf"), expected);
    trigger(actions.undo);
    EXPECT_TRUE(window.isWindowModified());
    trigger(actions.save);
    EXPECT_EQ(read("ur5_robot.urdf"), original);
}

TEST_F(DesktopTour, AValueThatIsDraggedIsOneStep)
{
    auto& tab = openBytes("a.xml", "<a><b flow=\"1.50\"/></a>");
    select(tab, "/a/b");
    auto& table = tab.getAttributes();
    const auto start = table.visualRect(valueIndex(tab, "flow")).center();
    QTest::mousePress(table.viewport(), Qt::LeftButton, {}, start);
    for (const int x : {12, 20, 40})
    {
        QTest::mouseMove(table.viewport(), start + QPoint(x, 0));
        QMouseEvent move(QEvent::MouseMove, start + QPoint(x, 0),
                         table.viewport()->mapToGlobal(start + QPoint(x, 0)), Qt::NoButton, Qt::LeftButton,
                         {});
        QApplication::sendEvent(table.viewport(), &move);
    }
    QTest::mouseRelease(table.viewport(), Qt::LeftButton, {}, start + QPoint(40, 0));
    settle();
    EXPECT_EQ(valueOf(tab, "/a/b/@flow"), "1.60");
    EXPECT_EQ(tab.getDocument().getManager().getPosition(), 1U);
    trigger(actions.undo);
    EXPECT_EQ(valueOf(tab, "/a/b/@flow"), "1.50");
}

TEST_F(DesktopTour, StructureIsEditedByKeys)
{
    auto& tab = openBytes("a.xml", "<a>\n  <b name=\"one\"/>\n  <c/>\n</a>\n");
    auto& tree = tab.getTree();
    select(tab, "/a/b");
    tree.setFocus();
    QTest::keyClick(&tree, Qt::Key_Down, Qt::AltModifier);
    settle();
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a>\n  <c/>\n  <b name=\"one\"/>\n</a>\n");
    EXPECT_EQ(tree.currentIndex().data().toString(), "b");
    trigger(actions.copy);
    select(tab, "/a/c");
    trigger(actions.paste);
    EXPECT_EQ(valueOf(tab, "/a/c/b/@name"), "one");
    select(tab, "/a/b");
    trigger(actions.remove);
    EXPECT_EQ(valueOf(tab, "count(//b)"), "1");
    tab.insertElement("<d/>");
    settle();
    EXPECT_EQ(valueOf(tab, "count(//d)"), "1");
    while (actions.undo->isEnabled())
    {
        trigger(actions.undo);
    }
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a>\n  <b name=\"one\"/>\n  <c/>\n</a>\n");
    EXPECT_FALSE(window.isWindowModified());
}

TEST_F(DesktopTour, AnElementIsRenamedInItsRow)
{
    auto& tab = openBytes("a.xml", "<a><b name=\"one\"/></a>");
    select(tab, "/a/b");
    trigger(actions.rename);
    auto* const editor = tab.getTree().viewport()->findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    editor->selectAll();
    QTest::keyClicks(editor, "two");
    QTest::keyClick(editor, Qt::Key_Return);
    settle();
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a><b name=\"two\"/></a>");
    EXPECT_TRUE(tab.getTree().currentIndex().data(ModelEditor::ElementModel::IsModifiedRole).toBool());
}

TEST_F(DesktopTour, RowsThatAreDroppedAreMoved)
{
    auto& tab = openBytes("a.xml", "<a><b/><c/><d/></a>");
    auto& elements = tab.getDocument().getElements();
    const auto root = elements.index(0, 0);
    const std::unique_ptr<QMimeData> dragged(elements.mimeData({elements.index(2, 0, root)}));
    elements.dropMimeData(dragged.get(), Qt::MoveAction, 0, 0, root);
    settle();
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a><d/><b/><c/></a>");
    trigger(actions.undo);
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a><b/><c/><d/></a>");
}

TEST_F(DesktopTour, AnAttributeIsAddedAndDeleted)
{
    auto& tab = openBytes("a.xml", "<a><b/></a>");
    select(tab, "/a/b");
    onNextDialog(
        [](QWidget& dialog)
        {
            auto& input = dynamic_cast<QInputDialog&>(dialog);
            input.setTextValue("mass=1.5");
            input.accept();
        });
    trigger(actions.addAttribute);
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a><b mass=\"1.5\"/></a>");
    tab.getAttributes().setCurrentIndex(valueIndex(tab, "mass"));
    QTest::keyClick(&tab.getAttributes(), Qt::Key_Delete);
    settle();
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a><b/></a>");
}

TEST_F(DesktopTour, WhatIsFoundIsSelectedAndWhatIsReplacedIsOneStep)
{
    auto& tab = openBytes("a.xml", "<a><b c=\"pump 1\"/><d>pump 2</d></a>");
    trigger(actions.replace);
    auto* const what = tab.getFindBar().findChild<QLineEdit*>("find");
    auto* const by = tab.getFindBar().findChild<QLineEdit*>("replace");
    QTest::keyClicks(what, "PUMP");
    QTest::keyClick(what, Qt::Key_Return);
    EXPECT_EQ(tab.getTree().currentIndex().data().toString(), "b");
    QTest::keyClick(what, Qt::Key_Return);
    EXPECT_EQ(tab.getTree().currentIndex().data().toString(), "d");
    QTest::keyClick(what, Qt::Key_Return);
    EXPECT_EQ(tab.getTree().currentIndex().data().toString(), "b");
    QTest::keyClicks(by, "$1");
    QTest::keyClick(by, Qt::Key_Return);
    settle();
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a><b c=\"$1 1\"/><d>$1 2</d></a>");
    EXPECT_EQ(tab.getDocument().getManager().getPosition(), 1U);
    what->clear();
    QTest::keyClicks(what, "/a/d");
    QTest::keyClick(what, Qt::Key_Return);
    EXPECT_EQ(tab.getTree().currentIndex().data().toString(), "d");
    what->clear();
    QTest::keyClicks(what, "nowhere");
    QTest::keyClick(what, Qt::Key_Return);
    EXPECT_EQ(tab.getTree().currentIndex().data().toString(), "d");
}

TEST_F(DesktopTour, ARecordingIsOneStepOrNone)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\" c=\"2\"/>");
    onNextDialog([](QWidget& dialog) { dynamic_cast<QInputDialog&>(dialog).accept(); });
    trigger(actions.record);
    EXPECT_FALSE(actions.record->isVisible());
    type(tab, "b", "3");
    type(tab, "c", "4");
    EXPECT_FALSE(actions.undo->isEnabled());
    EXPECT_FALSE(actions.save->isEnabled());
    trigger(actions.finish);
    EXPECT_EQ(tab.getDocument().getManager().getPosition(), 1U);
    trigger(actions.undo);
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a b=\"1\" c=\"2\"/>");
    EXPECT_FALSE(window.isWindowModified());
    tab.getDocument().beginRecording("again");
    settle();
    type(tab, "b", "5");
    EXPECT_TRUE(window.isWindowModified());
    trigger(actions.discard);
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a b=\"1\" c=\"2\"/>");
    EXPECT_FALSE(window.isWindowModified());
}

TEST_F(DesktopTour, NumbersAreScaledOnAnotherThreadAndUndoneAsOneStep)
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
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), original);
    EXPECT_FALSE(window.isWindowModified());
}

TEST_F(DesktopTour, ARunThatIsCancelledChangesNothingAndNothingIsEditedMeanwhile)
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
    document.getRun().abort();
    settle();
    EXPECT_EQ(document.getModel().toBytes(), original);
    EXPECT_EQ(document.getManager().getQueueSize(), 0U);
    EXPECT_FALSE(window.isWindowModified());
    EXPECT_TRUE(actions.paste->isEnabled());
    EXPECT_EQ(tab.getTree().currentIndex().data().toString(), "robot");
}

TEST_F(DesktopTour, ATabIsNotClosedDuringARunAndAWindowThatGoesEndsIt)
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

TEST_F(DesktopTour, TheModelIsCheckedAndModulesAreImported)
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
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a><b name=\"x\"/><b name=\"x\"/></a>");
    EXPECT_EQ(tab.getDocument().getElements().rowCount(tab.getDocument().getElements().index(0, 0)), 2);
}

TEST_F(DesktopTour, AClickInTheHistoryGoesThere)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\" c=\"2\"/>");
    type(tab, "b", "3");
    type(tab, "c", "4");
    auto* const view = window.findChild<Valdane::HistoryView*>();
    ASSERT_TRUE(view->isVisible());
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                      view->visualRect(view->model()->index(0, 0)).center());
    settle();
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a b=\"1\" c=\"2\"/>");
    EXPECT_EQ(valueIndex(tab, "b").data().toString(), "1");
}

TEST_F(DesktopTour, UndoConcernsTheTabInFront)
{
    auto& first = openBytes("a.xml", "<a b=\"1\"/>");
    type(first, "b", "2");
    auto& second = openBytes("z.xml", "<z/>");
    EXPECT_FALSE(actions.undo->isEnabled());
    EXPECT_FALSE(window.isWindowModified());
    EXPECT_TRUE(actions.saveAll->isEnabled());
    trigger(actions.saveAll);
    EXPECT_EQ(read("a.xml"), "<a b=\"2\"/>");
    EXPECT_TRUE(window.closeTab(second));
    EXPECT_EQ(window.getCurrent(), &first);
    trigger(actions.undo);
    EXPECT_EQ(first.getDocument().getModel().toBytes(), "<a b=\"1\"/>");
}

TEST_F(DesktopTour, UnsavedChangesAreAskedAbout)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    type(tab, "b", "2");
    onNextDialog([](QWidget& dialog) { press(dialog, QMessageBox::Cancel); });
    EXPECT_FALSE(window.close());
    ASSERT_EQ(window.getTabCount(), 1);
    EXPECT_EQ(read("a.xml"), "<a b=\"1\"/>");
    onNextDialog([](QWidget& dialog) { press(dialog, QMessageBox::Save); });
    EXPECT_TRUE(window.close());
    EXPECT_EQ(window.getTabCount(), 0);
    EXPECT_EQ(read("a.xml"), "<a b=\"2\"/>");
}

TEST_F(DesktopTour, AFileThatAnotherProgramHasChangedIsOverwrittenOnlyIfThatIsWanted)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    type(tab, "b", "2");
    directory.write("a.xml", "<other/>");
    onNextDialog([](QWidget& dialog) { press(dialog, QMessageBox::No); });
    EXPECT_FALSE(window.save(tab));
    EXPECT_EQ(read("a.xml"), "<other/>");
    EXPECT_TRUE(window.isWindowModified());
    onNextDialog([](QWidget& dialog) { press(dialog, QMessageBox::Yes); });
    EXPECT_TRUE(window.save(tab));
    EXPECT_EQ(read("a.xml"), "<a b=\"2\"/>");
}

TEST_F(DesktopTour, AnExportIsNoSave)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    type(tab, "b", "2");
    EXPECT_TRUE(window.exportCopy(tab, QString::fromStdString((directory.getPath() / "copy.xml").string())));
    settle();
    EXPECT_EQ(read("copy.xml"), "<a b=\"2\"/>");
    EXPECT_EQ(read("a.xml"), "<a b=\"1\"/>");
    EXPECT_TRUE(tab.getDocument().getSaveState().isModified(OpenDocument::Saved));
    EXPECT_FALSE(tab.getDocument().getSaveState().isModified(OpenDocument::Exported));
}

TEST_F(DesktopTour, AFileIsReadAgainOnlyIfChangesMayGetLost)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    type(tab, "b", "2");
    directory.write("a.xml", "<a b=\"9\"/>");
    onNextDialog([](QWidget& dialog) { press(dialog, QMessageBox::Discard); });
    EXPECT_TRUE(window.reload(tab));
    EXPECT_EQ(valueOf(*window.getCurrent(), "/a/@b"), "9");
    EXPECT_FALSE(actions.undo->isEnabled());
}

TEST_F(DesktopTour, AFileThatIsNoModelIsRefusedAndNothingIsOpened)
{
    const auto path = directory.write("bad.xml", "<a>");
    EXPECT_FALSE(window.openFile(QString::fromStdString(path)));
    auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    EXPECT_THAT(box->informativeText().toStdString(), HasSubstr("bad.xml:1:"));
    box->close();
    EXPECT_EQ(window.getTabCount(), 0);
}

TEST_F(DesktopTour, WhatXmlCannotHoldIsRefusedAndNothingChanges)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    QSignalSpy refused(&tab.getDocument(), &OpenDocument::refused);
    tab.insertElement("<broken>");
    EXPECT_EQ(refused.count(), 1);
    tab.insertElement("&#0;");
    EXPECT_EQ(refused.count(), 2);
    EXPECT_EQ(tab.getDocument().getModel().toBytes(), "<a b=\"1\"/>");
    EXPECT_FALSE(actions.undo->isEnabled());
}

} // namespace

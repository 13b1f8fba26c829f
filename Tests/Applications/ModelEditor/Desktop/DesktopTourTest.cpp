#include "Tests/Applications/ModelEditor/Desktop/DesktopTour.h"

#include "Applications/ModelEditor/Desktop/AttributeView.h"
#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/ElementView.h"
#include "Applications/ModelEditor/Desktop/FindReplaceBar.h"
#include "Applications/ModelEditor/Document/XmlModel.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QInputDialog>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

// What a person does with mouse and keys.

namespace
{

using ModelEditor::DocumentTab;
using ModelEditor::OpenDocument;
using testing::ElementsAre;

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
    EXPECT_EQ(bytesOf(tab), "<a>\n  <c/>\n  <b name=\"one\"/>\n</a>\n");
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
    EXPECT_EQ(bytesOf(tab), "<a>\n  <b name=\"one\"/>\n  <c/>\n</a>\n");
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
    EXPECT_EQ(bytesOf(tab), "<a><b name=\"two\"/></a>");
    EXPECT_TRUE(tab.getTree().currentIndex().data(ModelEditor::ElementModel::IsModifiedRole).toBool());
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
    EXPECT_EQ(bytesOf(tab), "<a><b mass=\"1.5\"/></a>");
    tab.getAttributes().setCurrentIndex(valueIndex(tab, "mass"));
    QTest::keyClick(&tab.getAttributes(), Qt::Key_Delete);
    settle();
    EXPECT_EQ(bytesOf(tab), "<a><b/></a>");
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
    EXPECT_EQ(bytesOf(tab), "<a><b c=\"$1 1\"/><d>$1 2</d></a>");
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

TEST_F(DesktopTour, WhatXmlCannotHoldIsRefusedAndNothingChanges)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    QSignalSpy refused(&tab.getDocument(), &OpenDocument::refused);
    tab.insertElement("<broken>");
    EXPECT_EQ(refused.count(), 1);
    tab.insertElement("&#0;");
    EXPECT_EQ(refused.count(), 2);
    EXPECT_EQ(bytesOf(tab), "<a b=\"1\"/>");
    EXPECT_FALSE(actions.undo->isEnabled());
}

TEST_F(DesktopTour, ANumberGoesUpAndDownInItsLastDigitByKeys)
{
    auto& tab = openBytes("a.xml", "<a whole=\"9\" part=\"0.95\" power=\"2e3\" word=\"x\"/>");
    auto& table = tab.getAttributes();
    const auto pressed = [&](const char* name, Qt::Key key, Qt::KeyboardModifiers modifiers)
    {
        table.setCurrentIndex(valueIndex(tab, name));
        QTest::keyClick(&table, key, modifiers);
        settle();
        return valueIndex(tab, name).data().toString().toStdString();
    };
    std::vector<std::string> values;
    for (const auto* const name : {"whole", "part", "power", "word"})
    {
        values.push_back(pressed(name, Qt::Key_Up, Qt::ControlModifier));
        values.push_back(pressed(name, Qt::Key_Up, Qt::ControlModifier | Qt::ShiftModifier));
        values.push_back(pressed(name, Qt::Key_Down, Qt::ControlModifier));
    }
    EXPECT_THAT(values,
                ElementsAre("10", "20", "19", "0.96", "1.06", "1.05", "2020", "2030", "2029", "x", "x", "x"));
}

TEST_F(DesktopTour, WhatIsInsideOfAnotherSelectedElementIsTakenOnce)
{
    auto& tab = openBytes("a.xml", "<a><b><c/></b><d/></a>");
    select(tab, "/a/b");
    auto& tree = tab.getTree();
    tree.expandAll();
    for (const auto* const also : {"/a/b/c", "/a/d"})
    {
        tree.selectionModel()->select(tab.getDocument().getElements().findIndex(nodeOf(tab, also)),
                                      QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    trigger(actions.cut);
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "<b><c/></b>\n<d/>\n");
    EXPECT_EQ(bytesOf(tab), "<a></a>");
    select(tab, "/a");
    trigger(actions.paste);
    EXPECT_EQ(valueOf(tab, "count(//c)"), "1");
    EXPECT_EQ(tab.getDocument().getManager().getPosition(), 2U);
}

TEST_F(DesktopTour, AnXPathIsFoundInBothDirections)
{
    auto& tab = openBytes("a.xml", "<a><b/><b/><b/></a>");
    trigger(actions.find);
    QTest::keyClicks(tab.getFindBar().findChild<QLineEdit*>("find"), "/a/b");
    std::vector<int> rows;
    for (auto* const action : {actions.findNext, actions.findNext, actions.findPrevious, actions.findPrevious,
                               actions.findPrevious, actions.findNext})
    {
        trigger(action);
        rows.push_back(tab.getTree().currentIndex().row());
    }
    EXPECT_THAT(rows, ElementsAre(0, 1, 0, 2, 1, 2));
}

TEST_F(DesktopTour, AnElementIsShownWithWhatItsStartTagHas)
{
    auto& tab = openBytes("a.xml", "<a><b name=\"n\" c=\"1\" d=\"2\"/><b>  some  text </b><b/></a>");
    auto& elements = tab.getDocument().getElements();
    std::vector<std::string> texts;
    for (int row = 0; row < 3; ++row)
    {
        for (int column = 0; column < 3; ++column)
        {
            texts.push_back(
                elements.index(row, column, elements.index(0, 0)).data().toString().toStdString());
        }
    }
    EXPECT_THAT(texts, ElementsAre("b", "n", "c=1   d=2", "b", "", "some text", "b", "", ""));
}

TEST_F(DesktopTour, ANamespaceIsShownAndNotEdited)
{
    auto& tab = openBytes("a.xml", "<a xmlns:n=\"http://names\" xmlns=\"urn:all\" b=\"1\"/>");
    std::vector<std::string> values;
    for (const auto* const name : {"xmlns:n", "xmlns", "b"})
    {
        const auto value = valueIndex(tab, name);
        const bool isEditable = (value.flags() & Qt::ItemIsEditable) != 0;
        values.push_back(value.data().toString().toStdString() + (isEditable ? " (editable)" : ""));
    }
    EXPECT_THAT(values, ElementsAre("http://names", "urn:all", "1 (editable)"));
}

} // namespace

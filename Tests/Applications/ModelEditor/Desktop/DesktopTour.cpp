#include "Tests/Applications/ModelEditor/Desktop/DesktopTour.h"

#include "Applications/ModelEditor/Desktop/AttributeView.h"
#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Document/XmlModel.h"

#include <QAbstractButton>
#include <QAction>
#include <QLineEdit>
#include <QTest>

using ModelEditor::DocumentTab;

pugi::xml_node DesktopTour::nodeOf(DocumentTab& tab, const std::string& xpath)
{
    return tab.getDocument().getModel().select(xpath).nodes.at(0).node;
}

std::string DesktopTour::valueOf(DocumentTab& tab, const std::string& xpath)
{
    return tab.getDocument().getModel().select("string(" + xpath + ")").value.value();
}

std::string DesktopTour::bytesOf(DocumentTab& tab)
{
    return tab.getDocument().getModel().toBytes();
}

void DesktopTour::select(DocumentTab& tab, const std::string& xpath)
{
    tab.select(nodeOf(tab, xpath));
    settle();
}

QModelIndex DesktopTour::valueIndex(DocumentTab& tab, const QString& name)
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

void DesktopTour::type(DocumentTab& tab, const QString& name, const QString& text)
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

void DesktopTour::trigger(QAction* action)
{
    EXPECT_TRUE(action->isEnabled()) << action->text().toStdString();
    action->trigger();
    settle();
}

void DesktopTour::press(QWidget& dialog, QMessageBox::StandardButton button)
{
    QTest::mouseClick(dynamic_cast<QMessageBox&>(dialog).button(button), Qt::LeftButton);
}

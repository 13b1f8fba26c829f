#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/ElementView.h"
#include "Applications/ModelEditor/Desktop/FindReplaceBar.h"
#include "Applications/ModelEditor/Desktop/RunActions.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Tests/Applications/ModelEditor/Desktop/DesktopTour.h"

#include <QAction>
#include <QLineEdit>
#include <QTest>
#include <cstdlib>
#include <string>

// A tour of a large model. MODEL_EDITOR_DESKTOP_MEGABYTES is how large, if it is to be larger.

namespace
{

using DesktopLarge = DesktopTour;

std::size_t wantedSize()
{
    const char* const wanted = std::getenv("MODEL_EDITOR_DESKTOP_MEGABYTES");
    return (wanted == nullptr ? 1U : static_cast<std::size_t>(std::atoi(wanted))) * 1000000;
}

std::string pumpsOf(std::size_t size)
{
    std::string bytes = "<plant>\n";
    for (int i = 0; bytes.size() < size; ++i)
    {
        const auto number = std::to_string(i);
        bytes += "  <pump name=\"p" + number + "\" flow=\"" + number + ".5\">\n    <inlet to=\"p" + number +
                 "\"/>\n  </pump>\n";
    }
    return bytes + "  <last flow=\"1.5\"/>\n</plant>\n";
}

TEST_F(DesktopLarge, ATour)
{
    const auto original = pumpsOf(wantedSize());
    auto& tab = openBytes("plant.xml", original);
    auto& tree = tab.getTree();
    auto& document = tab.getDocument();
    const auto root = tree.model()->index(0, 0);
    const auto count = QString::fromStdString(valueOf(tab, "count(/plant/*)")).toInt();
    EXPECT_GT(tree.model()->rowCount(root), 1000);

    tree.setFocus();
    QTest::keyClick(&tree, Qt::Key_PageDown);
    trigger(actions.find);
    QTest::keyClicks(tab.getFindBar().findChild<QLineEdit*>("find"), "/plant/last");
    trigger(actions.findNext);
    EXPECT_EQ(tree.currentIndex().row(), count - 1);
    EXPECT_EQ(tree.model()->rowCount(root), count);
    EXPECT_TRUE(tree.viewport()->rect().contains(tree.visualRect(tree.currentIndex())));
    type(tab, "flow", "2.5");
    QTest::keyClick(&tree, Qt::Key_Up, Qt::AltModifier);
    settle();
    EXPECT_EQ(tree.currentIndex().row(), count - 2);
    EXPECT_EQ(tree.currentIndex().data().toString(), "last");

    ASSERT_TRUE(ModelEditor::RunActions::scale(document, "//@flow", "2", false));
    settle();
    EXPECT_EQ(valueOf(tab, "/plant/pump[1]/@flow"), "1.0");
    EXPECT_EQ(valueOf(tab, "/plant/last/@flow"), "5.0");
    ASSERT_TRUE(ModelEditor::RunActions::check(document));
    settle();
    select(tab, "/plant/pump[2]");
    trigger(actions.remove);
    EXPECT_EQ(tree.model()->rowCount(root), count - 1);
    trigger(actions.save);
    EXPECT_EQ(read("plant.xml"), bytesOf(tab));
    EXPECT_EQ(document.getManager().getPosition(), 4U);
    while (actions.undo->isEnabled())
    {
        trigger(actions.undo);
    }
    EXPECT_EQ(bytesOf(tab), original);
    EXPECT_EQ(tree.model()->rowCount(root), count);
    trigger(actions.save);
    EXPECT_EQ(read("plant.xml"), original);
}

} // namespace

#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/ElementView.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Tests/Applications/ModelEditor/Desktop/DesktopTour.h"

#include <QAction>
#include <QMimeData>
#include <memory>

// What is dragged and dropped.

namespace
{

using DesktopDrag = DesktopTour;

TEST_F(DesktopDrag, RowsThatAreDroppedAreMoved)
{
    auto& tab = openBytes("a.xml", "<a><b/><c/><d/></a>");
    auto& elements = tab.getDocument().getElements();
    const auto root = elements.index(0, 0);
    const std::unique_ptr<QMimeData> dragged(elements.mimeData({elements.index(2, 0, root)}));
    elements.dropMimeData(dragged.get(), Qt::MoveAction, 0, 0, root);
    settle();
    EXPECT_EQ(bytesOf(tab), "<a><d/><b/><c/></a>");
    trigger(actions.undo);
    EXPECT_EQ(bytesOf(tab), "<a><b/><c/><d/></a>");
}

} // namespace

#include "Applications/ModelEditor/Desktop/ElementView.h"

#include "Applications/ModelEditor/Desktop/ElementModel.h"

#include <QHeaderView>

namespace ModelEditor
{

ElementView::ElementView(ElementModel& shown, QWidget* parent) : QTreeView(parent)
{
    setModel(&shown);
    setObjectName("elements");
    setAccessibleName(tr("Elements"));
    setUniformRowHeights(true);
    setSelectionMode(ExtendedSelection);
    setDragDropMode(DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setEditTriggers(EditKeyPressed);
    setTabKeyNavigation(false);
    setAnimated(false);
    setFrameShape(NoFrame);
    setIconSize({16, 16});
    // Room above and below the text, which the items do not have by themselves.
    setStyleSheet("QTreeView::item { padding: 3px 0; }");
    header()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header()->resizeSection(ElementModel::Tag, 260);
    header()->resizeSection(ElementModel::Name, 160);
}

ElementView::~ElementView() = default;

} // namespace ModelEditor

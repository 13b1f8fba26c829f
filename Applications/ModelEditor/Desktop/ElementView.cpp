#include "Applications/ModelEditor/Desktop/ElementView.h"

#include "Applications/ModelEditor/Desktop/ElementModel.h"

#include <QHeaderView>
#include <QStyledItemDelegate>

namespace ModelEditor
{

namespace
{

// Room above and below the text, which the items do not have by themselves.
class RoomyDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(0, 6);
    }
};

} // namespace

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
    setItemDelegate(new RoomyDelegate(this));
    header()->setMinimumHeight(26);
    header()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header()->resizeSection(ElementModel::Tag, 220);
    header()->resizeSection(ElementModel::Name, 140);
}

ElementView::~ElementView() = default;

} // namespace ModelEditor

#include "Toolkit/Qt/HistoryView.h"

#include "Toolkit/Qt/EventLoopGuard.h"
#include "Toolkit/Qt/HistoryModel.h"

#include <QFontMetrics>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPointer>
#include <QStyledItemDelegate>
#include <QTimer>

namespace Valdane
{

namespace
{

// Texts begin at one line, whether or not there is an icon before them.
class WithRoomForIcon : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        option->features |= QStyleOptionViewItem::HasDecoration;
    }
};

} // namespace

HistoryView::HistoryView(QWidget* parent) : QTableView(parent)
{
    horizontalHeader()->hide();
    horizontalHeader()->setStretchLastSection(true);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 3 / 2);
    setShowGrid(false);
    setTabKeyNavigation(false);
    setWordWrap(false);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setItemDelegate(new WithRoomForIcon(this));
    setAccessibleName(tr("History"));
    connect(this, &QTableView::clicked, this, &HistoryView::goTo);
}

HistoryView::~HistoryView() = default;

void HistoryView::setHistory(HistoryModel* model)
{
    disconnect(changed);
    disconnect(gone);
    setModel(model);
    if (model != nullptr)
    {
        changed = connect(model, &HistoryModel::historyChanged, this, &HistoryView::followLater);
        gone = connect(model, &QObject::destroyed, this, [this] { setHistory(nullptr); });
        follow();
    }
}

void HistoryView::keyPressEvent(QKeyEvent* event)
{
    const bool isGo =
        event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space;
    if (isGo)
    {
        goTo(currentIndex());
        return;
    }
    QTableView::keyPressEvent(event);
}

// In a table these two move in the row.
QModelIndex HistoryView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    if (model() != nullptr && (action == MoveHome || action == MoveEnd))
    {
        return model()->index(action == MoveHome ? 0 : model()->rowCount() - 1, 0);
    }
    return QTableView::moveCursor(action, modifiers);
}

void HistoryView::goTo(const QModelIndex& index)
{
    auto* const history = qobject_cast<HistoryModel*>(model());
    if (history == nullptr || !index.isValid())
    {
        return;
    }
    // A slot may close the window.
    const QPointer<HistoryView> self(this);
    callForEvent([&] { history->goTo(index.row()); });
    if (self != nullptr)
    {
        followLater();
    }
}

// A thousand steps move the selection once.
void HistoryView::followLater()
{
    if (!isFollowing)
    {
        isFollowing = true;
        QTimer::singleShot(0, this, &HistoryView::follow);
    }
}

void HistoryView::follow()
{
    isFollowing = false;
    if (const auto* const history = qobject_cast<HistoryModel*>(model()))
    {
        setCurrentIndex(history->index(history->getCurrentRow()));
    }
}

} // namespace Valdane

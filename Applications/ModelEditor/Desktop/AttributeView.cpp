#include "Applications/ModelEditor/Desktop/AttributeView.h"

#include "Applications/ModelEditor/Desktop/AttributeModel.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <cmath>

namespace ModelEditor
{

namespace
{

constexpr int pixelsPerStep = 4;

// By steps of one in the last digit. A number with an exponent goes by a hundredth of itself.
QString changedBy(const QString& text, int steps)
{
    const auto point = text.indexOf(QLatin1Char('.'));
    if (text.contains(QLatin1Char('e'), Qt::CaseInsensitive))
    {
        const double from = text.toDouble();
        return QString::number(from + steps * std::abs(from) / 100, 'g', 15);
    }
    if (point < 0)
    {
        return QString::number(text.toLongLong() + steps);
    }
    const auto digits = static_cast<int>(text.size() - point - 1);
    return QString::number(text.toDouble() + steps * std::pow(10.0, -digits), 'f', digits);
}

} // namespace

AttributeView::AttributeView(AttributeModel& shown, QWidget* parent) : QTableView(parent), attributes(shown)
{
    setModel(&shown);
    setObjectName("attributes");
    setAccessibleName(tr("Attributes"));
    setMouseTracking(true);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setSelectionMode(SingleSelection);
    setTabKeyNavigation(false);
    setWordWrap(false);
    setEditTriggers(DoubleClicked | EditKeyPressed | AnyKeyPressed);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 12);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setMinimumHeight(26);
    setFrameShape(NoFrame);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    horizontalHeader()->setSectionResizeMode(AttributeModel::Value, QHeaderView::Stretch);
    horizontalHeader()->resizeSection(AttributeModel::Name, 120);
    horizontalHeader()->resizeSection(AttributeModel::Type, 90);
}

AttributeView::~AttributeView() = default;

bool AttributeView::isNumber(const QModelIndex& index) const
{
    return index.isValid() && index.column() == AttributeModel::Value &&
           (index.flags() & Qt::ItemIsEditable) != 0 && attributes.isNumber(index.row());
}

void AttributeView::add(const QModelIndex& index, const QString& from, int steps)
{
    attributes.setData(index, changedBy(from, steps), Qt::EditRole);
}

void AttributeView::mousePressEvent(QMouseEvent* event)
{
    const auto index = indexAt(event->pos());
    pressed = event->button() == Qt::LeftButton && isNumber(index) ? index : QModelIndex();
    start = event->pos();
    startText = pressed.isValid() ? pressed.data(Qt::EditRole).toString() : QString();
    isDragging = false;
    QTableView::mousePressEvent(event);
}

void AttributeView::mouseMoveEvent(QMouseEvent* event)
{
    const int distance = event->pos().x() - start.x();
    const bool isDown = (event->buttons() & Qt::LeftButton) != 0;
    if (isDown && pressed.isValid() &&
        (isDragging || std::abs(distance) >= QApplication::startDragDistance()))
    {
        isDragging = true;
        const int factor = (event->modifiers() & Qt::ShiftModifier) != 0 ? 10 : 1;
        add(pressed, startText, factor * distance / pixelsPerStep);
        return;
    }
    viewport()->setCursor(!isDown && isNumber(indexAt(event->pos())) ? Qt::SplitHCursor : Qt::ArrowCursor);
    QTableView::mouseMoveEvent(event);
}

void AttributeView::mouseReleaseEvent(QMouseEvent* event)
{
    pressed = QModelIndex();
    if (std::exchange(isDragging, false))
    {
        Q_EMIT stepEnded();
    }
    QTableView::mouseReleaseEvent(event);
}

void AttributeView::keyPressEvent(QKeyEvent* event)
{
    const auto index = currentIndex();
    const bool isUp = event->key() == Qt::Key_Up;
    if ((event->modifiers() & Qt::ControlModifier) != 0 && (isUp || event->key() == Qt::Key_Down))
    {
        if (const auto value = index.siblingAtColumn(AttributeModel::Value); isNumber(value))
        {
            const int factor = (event->modifiers() & Qt::ShiftModifier) != 0 ? 10 : 1;
            add(value, value.data(Qt::EditRole).toString(), isUp ? factor : -factor);
        }
        return;
    }
    if (event->key() == Qt::Key_Delete && index.isValid())
    {
        Q_EMIT deleteWanted(index.row());
        return;
    }
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && state() != EditingState &&
        index.isValid())
    {
        edit(index.siblingAtColumn(AttributeModel::Value));
        return;
    }
    QTableView::keyPressEvent(event);
}

} // namespace ModelEditor

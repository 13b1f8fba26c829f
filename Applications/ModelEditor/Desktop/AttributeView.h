#pragma once

#include <QPoint>
#include <QTableView>

namespace ModelEditor
{

class AttributeModel;

/// The table of attributes. A number is changed by dragging it to the left and to the right, or with Ctrl+Up and Ctrl+Down, by
/// one in its last digit, by ten with Shift.
///
/// Thread: the GUI thread.
class AttributeView : public QTableView
{
    Q_OBJECT

public:
    /// @param shown  must live as long as the view is used.
    explicit AttributeView(AttributeModel& shown, QWidget* parent = nullptr);
    ~AttributeView() override;

Q_SIGNALS:
    /// A value was dragged, and the button is released; or a value was typed.
    void stepEnded();
    /// The Delete key was pressed on @p row.
    void deleteWanted(int row);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool isNumber(const QModelIndex& index) const;
    void add(const QModelIndex& index, const QString& from, int steps);

    AttributeModel& attributes;
    QPersistentModelIndex pressed;
    QPoint start;
    QString startText;
    bool isDragging = false;
};

} // namespace ModelEditor

#pragma once

#include "Toolkit/Qt/QtExport.h"

#include <QTableView>

namespace Valdane
{

class HistoryModel;

/// A list of a HistoryModel in which users pick a state: a click, Return or Space goes there. Arrow keys only look around.
///
/// The selected row is that of the current state, also after a step that was refused or failed.
///
/// A table of one column, because its rows need not be laid out: a million of them open at once, and a step costs the same
/// whether the list has ten rows or a million. The selection follows when the event loop runs next.
///
/// Failures: what History::moveTo() throws ends in a line of qWarning(), because no exception may pass through the event loop.
///
/// Ownership: the model may be destroyed before the view.
/// Thread: the GUI thread.
class VALDANE_QT_EXPORT HistoryView : public QTableView
{
    Q_OBJECT

public:
    /// Shows no history yet.
    explicit HistoryView(QWidget* parent = nullptr);
    ~HistoryView() override;

    /// Shows the history of another document. @param model  null shows none.
    void setHistory(HistoryModel* model);

protected:
    /// Return and Space go to the state of the row that has the focus.
    void keyPressEvent(QKeyEvent* event) override;
    /// Home and End are the first and the last row.
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;

private:
    void goTo(const QModelIndex& index);
    void followLater();
    void follow();

    QMetaObject::Connection changed;
    QMetaObject::Connection gone;
    bool isFollowing = false;
};

} // namespace Valdane

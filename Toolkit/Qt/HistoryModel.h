#pragma once

#include "Service/Editing/History.h"
#include "Toolkit/Qt/QtExport.h"

#include <QAbstractListModel>
#include <QIcon>
#include <cstdint>
#include <memory>

namespace Valdane
{

class CommandManager;

/// The history of a manager as an item model. Row 0 is the state before the first command, row n the state after the n-th one:
/// its text is the description of that command.
///
/// Every change of the history is exactly the row changes that it is; the model is never reset, and keeps nothing about a row.
/// So a history of a million commands opens at once.
///
/// Steps that could be redone look disabled, the current state is bold, and a state that was saved has an icon.
///
/// Ownership: the manager must outlive the model.
/// Thread: the GUI thread, which must be the manager's.
class VALDANE_QT_EXPORT HistoryModel : public QAbstractListModel
{
    Q_OBJECT

public:
    /// What data() answers beside texts, fonts, colours and icons.
    enum Role
    {
        IsDoneRole = Qt::UserRole, ///< bool: the state is the current one or before it
        IsCurrentRole,             ///< bool: it is the current one
        IsSavedRole,               ///< bool: it was saved last for tracker 0
        IsSavedForSecondRole,      ///< bool: it was saved last for tracker 1
    };

    /// Shows what is in the history of @p manager now. Make it before what may throw in sigHistoryChanged; see History.
    explicit HistoryModel(CommandManager& manager, QObject* parent = nullptr);
    ~HistoryModel() override;

    /// What the model shows.
    History& getHistory() const;

    /// The row of the current state.
    int getCurrentRow() const;

    /// Undoes or redoes until the state of @p row is the current one. @throws what History::moveTo() throws.
    History::MoveResult goTo(int row);

    /// How the state looks that was saved last for @p tracker. At first an icon of the platform for tracker 0, and nothing
    /// for tracker 1, which many applications do not use. If both were saved, that of tracker 0 is shown.
    ///
    /// @param tracker  which one; see CommandManager::ChangeTrackerCount. @param icon  empty shows nothing.
    /// @throws std::out_of_range if there is no such tracker.
    void setSavedIcon(std::uint64_t tracker, const QIcon& icon);

    /// One more than there are commands; 0 below a row.
    int rowCount(const QModelIndex& parent = {}) const override;

    /// @throws what CommandBase::getDescription() throws.
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    /// With "isDone", "isCurrent", "isSaved" and "isSavedForSecond".
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    /// After each change, when all about its rows was told. During goTo() not at each step, but at its end.
    void historyChanged();

private:
    class VALDANE_QT_NO_EXPORT Private;

    std::unique_ptr<Private> d;
};

} // namespace Valdane

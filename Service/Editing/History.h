#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Slot.h"
#include "Service/Editing/EditingExport.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Valdane
{

class CommandManager;

/// The history of a manager as rows, for a list in which users pick a state. Each command has a row; the
/// oldest is first.
///
///     History history(manager);
///     const auto inserted = history.connectToSigRowsInserted(
///         [&](std::uint64_t first, std::uint64_t count) { list.insertRows(first, count); });
///     history.moveTo(row + 1);
///
/// Nothing about a row is kept here: the manager is asked, so that a step costs the same with a million
/// rows. Only the number of rows is kept. It is the one that the signals have told.
///
/// Item models: a change is told after it has happened. That suffices for a model that keeps a row count of
/// its own, and does in one slot what a toolkit wants before and after a change:
///
///     removed = history.connectToSigRowsRemoved(
///         [this](std::uint64_t first, std::uint64_t count)
///         {
///             beginRemoveRows(first, count);
///             rowCount -= count;
///             endRemoveRows();
///         });
///
/// A change may take several signals. At each of them a row already looks as it does at the end of the
/// change. A row that is removed by a later signal has an empty text.
///
/// Re-entrancy: a slot may do what a slot of the manager may, call moveTo(), and destroy this object. A change
/// that a slot makes is told when the slot has returned, so a flag that is set meanwhile does not stop a loop.
///
/// Failures: if a slot throws, the other signals of the change are still emitted. Then the first exception
/// passes to the caller who changed the history. A slot of CommandManager::connectToSigHistoryChanged() that
/// throws hides the change from what was connected later, so make the history first. Otherwise all rows are
/// replaced when a later change shows that the rows do not fit.
///
/// Ownership: the manager must outlive this object.
/// Thread: as CommandManager.
class VALDANE_EDITING_EXPORT History
{
public:
    /// How a move has ended.
    enum class MoveResult
    {
        Reached,       ///< the position is the one that was asked for
        CommandFailed, ///< a command failed; the manager has reported it
        GroupOpen,     ///< a group is open, so that nothing can be undone or redone
        RunNotEnded,   ///< a threaded command is running, which may be reading what a step would change
        Interrupted,   ///< a slot or a command has changed the history, or an exception has passed
    };

    /// Shows what is in the history of @p manager now.
    explicit History(CommandManager& manager);
    History(const History&) = delete;
    History& operator=(const History&) = delete;
    ~History();

    // Rows: a row that does not exist is not done, current or saved, and has an empty text.

    /// The number of rows that the signals have told of. Cost: constant, as all about a row.
    std::uint64_t getRowCount() const;

    /// The description of the command in @p row. @throws what CommandBase::getDescription() throws.
    std::string getText(std::uint64_t row) const;

    /// Whether the command in @p row is done, which undo would undo; otherwise redo would redo it.
    bool isDone(std::uint64_t row) const;

    /// Whether @p row has the last command that is done. No row is current if all are undone.
    bool isCurrent(std::uint64_t row) const;

    /// Whether the last save for @p tracker was made when @p row was current. No row is saved if the saved
    /// state lies before the first one; see CommandManager::getSavedPosition().
    /// @throws VdException if there is no such tracker.
    bool isSaved(std::uint64_t row, std::uint64_t tracker) const;

    /// How many rows are done: the position of the manager.
    std::uint64_t getPosition() const;

    // Search: bytes are compared, so upper and lower case differ. Which letters are the same depends on the
    // user's language, and only the application knows that. Each row contains an empty text. Cost: linear in
    // the rows.

    /// The first row from @p row on whose text contains @p text; empty if there is none.
    std::optional<std::uint64_t> findFrom(std::uint64_t row, const std::string& text) const;

    /// The last row before @p row whose text contains @p text; empty if there is none.
    std::optional<std::uint64_t> findBefore(std::uint64_t row, const std::string& text) const;

    // Move

    /// Undoes or redoes one command after the other, until @p position commands are done. Stops if one
    /// fails, or if a slot or a command changes the history. What was undone or redone before stays so.
    /// @throws VdException if there are fewer commands than @p position; what CommandManager::undo() and
    ///         redo() throw, and what slots throw.
    MoveResult moveTo(std::uint64_t position);

    /// Whether moveTo() is running, so that a view can leave for sigMoved what it need not do at each step.
    bool isMoving() const;

    // Signals: the slot is called until the connection is destroyed. A change first tells which rows it
    // removed and inserted, or which command has taken in another one; then which rows look different; then
    // sigChanged.

    /// After rows were removed: the first one and their number.
    [[nodiscard]] Signals::Connection
    connectToSigRowsRemoved(const Signals::Slot<void(std::uint64_t, std::uint64_t)>& slot);

    /// After rows were inserted: the first one and their number.
    [[nodiscard]] Signals::Connection
    connectToSigRowsInserted(const Signals::Slot<void(std::uint64_t, std::uint64_t)>& slot);

    /// After rows that stay look different: the first one and their number. They became done, undone,
    /// current or saved, or are no longer so, or a command has taken in another one.
    /// CommandBase::setDescription() tells nobody.
    [[nodiscard]] Signals::Connection
    connectToSigRowsChanged(const Signals::Slot<void(std::uint64_t, std::uint64_t)>& slot);

    /// After each change, when all about its rows was told. For what depends on the position, or on a saved
    /// state before the first row.
    [[nodiscard]] Signals::Connection connectToSigChanged(const Signals::Slot<void()>& slot);

    /// Once after each moveTo() that has undone or redone anything: how it has ended.
    [[nodiscard]] Signals::Connection connectToSigMoved(const Signals::Slot<void(History::MoveResult)>& slot);

private:
    class VALDANE_EDITING_NO_EXPORT Private;

    /// Shared with what is running when a slot destroys this object.
    std::shared_ptr<Private> d;
};

} // namespace Valdane

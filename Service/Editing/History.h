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

/// The history of a manager as rows, for a list from which users pick a state: one row for each command, the
/// oldest first.
///
///     History history(manager);
///     const auto shown = history.connectToSigRowsInserted(
///         [&](std::uint64_t first, std::uint64_t count) { list.insertRows(first, count); });
///     history.moveTo(row + 1);
///
/// All is asked of the manager when it is asked for, so that a view of a million rows costs a step nothing. Only
/// the number of rows is kept: it is what the signals have told.
///
/// Item models: a change is told when it has happened. That suffices for a model which keeps a row count of its own
/// and has, in one slot, all that a toolkit wants around a change:
///
///     removed = history.connectToSigRowsRemoved(
///         [this](std::uint64_t first, std::uint64_t count)
///         {
///             beginRemoveRows(first, count);
///             rowCount -= count;
///             endRemoveRows();
///         });
///
/// Where a change takes several signals, each row has at each of them already what it has at the end: what is asked
/// for follows the row to where it will be. A row that will be removed has an empty text.
///
/// Re-entrancy: a slot may do whatever a slot of the manager may, call moveTo(), and destroy this object. If a
/// slot throws, the other signals of the change are emitted all the same, and the exception passes to whoever
/// changed the history. If a slot throws that was connected to the manager's sigHistoryChanged before, this
/// object is not told. It replaces all rows when it notices, at the latest after two more changes.
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

    /// Whether the last save for @p tracker was made when @p row was current. The saved state may also lie before
    /// the first row; see CommandManager::getSavedPosition().
    /// @throws VdException if there is no such tracker.
    bool isSaved(std::uint64_t row, std::uint64_t tracker) const;

    /// How many rows are done: the position of the manager.
    std::uint64_t getPosition() const;

    // Search: the text is compared byte by byte, with upper and lower case told apart. Texts are UTF-8, and what
    // counts as the same letter depends on the user's language, which only the application knows. An empty text is
    // found in each row. Cost: linear in the rows that are passed.

    /// The first row from @p row on whose text contains @p text; empty if there is none.
    std::optional<std::uint64_t> findFrom(std::uint64_t row, const std::string& text) const;

    /// The last row before @p row whose text contains @p text; empty if there is none.
    std::optional<std::uint64_t> findBefore(std::uint64_t row, const std::string& text) const;

    // Move

    /// Undoes or redoes, one command after the other, until @p position commands are done. Stops at the first that
    /// fails; what was undone or redone before stays so. A slot that moves on its own takes over: this move stops.
    /// @throws VdException if there are fewer commands than @p position; what a command throws that is not derived
    ///         from `std::exception`, and what slots throw.
    MoveResult moveTo(std::uint64_t position);

    /// Whether moveTo() is running, so that a view can leave for sigMoved what it need not do at each step.
    bool isMoving() const;

    // Signals: the slot is called until the connection is destroyed. Those of a change come in this order: rows
    // removed and inserted, as often as needed and in any order, then rows changed, then the change as a whole.

    /// After rows were removed: the first one and their number.
    [[nodiscard]] Signals::Connection
    connectToSigRowsRemoved(const Signals::Slot<void(std::uint64_t, std::uint64_t)>& slot);

    /// After rows were inserted: the first one and their number.
    [[nodiscard]] Signals::Connection
    connectToSigRowsInserted(const Signals::Slot<void(std::uint64_t, std::uint64_t)>& slot);

    /// After rows that stay look different: they became done or undone, current or saved, or not so any more, or a
    /// command has taken in another one. The first one and their number. It is not told if the description of a
    /// command in the history is replaced.
    [[nodiscard]] Signals::Connection
    connectToSigRowsChanged(const Signals::Slot<void(std::uint64_t, std::uint64_t)>& slot);

    /// After each change, when all about its rows was told: for what depends on the position, or on a saved state
    /// before the first row.
    [[nodiscard]] Signals::Connection connectToSigChanged(const Signals::Slot<void()>& slot);

    /// Once after each moveTo() that has undone or redone anything: how it has ended.
    [[nodiscard]] Signals::Connection connectToSigMoved(const Signals::Slot<void(History::MoveResult)>& slot);

private:
    class VALDANE_EDITING_NO_EXPORT Private;

    /// Shared with what is running when a slot destroys this object.
    std::shared_ptr<Private> d;
};

} // namespace Valdane

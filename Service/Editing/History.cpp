#include "Service/Editing/History.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Signals/Signal.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/Editing/FirstException.h"
#include "Service/Editing/HistoryMarks.h"

#include <algorithm>
#include <limits>
#include <span>
#include <utility>

namespace Valdane
{

class History::Private
{
public:
    static constexpr std::uint64_t NoRow = std::numeric_limits<std::uint64_t>::max();

    using RowSignal = Signals::Signal<void(std::uint64_t, std::uint64_t)>;

    struct Listeners
    {
        RowSignal rowsRemoved;
        RowSignal rowsInserted;
        RowSignal rowsChanged;
        Signals::Signal<void()> changed;
        Signals::Signal<void(MoveResult)> moved;
    };

    explicit Private(CommandManager& commandManager)
        : manager(commandManager),
          rowCount(manager.getQueueSize()),
          position(manager.getPosition()),
          marks(manager)
    {
    }

    /// Applies a change and tells it. @throws the first exception of a slot, when all signals were emitted.
    void apply(const HistoryChange& change);

    MoveResult moveTo(std::uint64_t target);

    /// The row of the manager that the listeners know as @p row; NoRow if it is gone.
    std::uint64_t managerRow(std::uint64_t row) const;

    std::shared_ptr<const CommandBase> commandAt(std::uint64_t row) const;
    bool contains(std::uint64_t row, const std::string& text) const;

    CommandManager& manager;
    std::uint64_t rowCount;
    /// How many moves are running, one in the other.
    std::uint64_t moves = 0;
    /// Empty when the history is destroyed. Slots may do that while a signal is being emitted.
    std::unique_ptr<Listeners> listeners = std::make_unique<Listeners>();
    Signals::Connection connection;

private:
    /// Emits a signal, unless the history was destroyed.
    template <typename Signal, typename... Args>
    void tell(FirstException& failure, Signal Listeners::*signal, const Args&... args);

    /// Whether @p change is about the rows that are known here.
    bool follows(const HistoryChange& change);

    void tellRows(FirstException& failure, const HistoryChange& change);
    void replaceRows(FirstException& failure, const RowChange& change);

    /// @return how it went; @p hasMoved becomes true at the first step that is done.
    MoveResult step(std::uint64_t target, bool& hasMoved);

    /// CommandManager::getPosition() after the change that was told last.
    std::uint64_t position;
    /// Whether the manager had another number of commands when the last change was told. Once, a slot that
    /// was called before may have changed the history again, which is told next. Twice in a row, a change
    /// was missed.
    bool isAhead = false;
    HistoryMarks marks;
    /// What was not told yet of the change that is being told, to be applied in this order.
    RowChange pendingInsertion;
    std::span<const RowChange> pendingRows;
};

template <typename Signal, typename... Args>
void History::Private::tell(FirstException& failure, Signal Listeners::*signal, const Args&... args)
{
    if (listeners != nullptr)
    {
        failure.attempt([&] { ((*listeners).*signal)(args...); });
    }
}

bool History::Private::follows(const HistoryChange& change)
{
    std::uint64_t expected = rowCount;
    for (const RowChange& row : change.rows)
    {
        if (row.first > expected || row.removed > expected - row.first)
        {
            return false;
        }
        expected += row.inserted - row.removed;
    }
    const bool wasAhead = std::exchange(isAhead, expected != manager.getQueueSize());
    return change.positionBefore == position && !(wasAhead && isAhead);
}

void History::Private::replaceRows(FirstException& failure, const RowChange& change)
{
    marks.replaceRows(change);
    if (change.removed != 0)
    {
        rowCount -= change.removed;
        pendingInsertion = {.first = change.first, .inserted = change.inserted};
        tell(failure, &Listeners::rowsRemoved, change.first, change.removed);
        pendingInsertion = {};
    }
    if (change.inserted != 0)
    {
        rowCount += change.inserted;
        tell(failure, &Listeners::rowsInserted, change.first, change.inserted);
    }
}

void History::Private::tellRows(FirstException& failure, const HistoryChange& change)
{
    const std::uint64_t doneBeforeAndAfter = std::min(change.positionBefore, change.positionAfter);
    for (pendingRows = change.rows; !pendingRows.empty();)
    {
        const RowChange& rows = pendingRows.front();
        pendingRows = pendingRows.subspan(1);
        // A command that takes in another one keeps its row, so that a view keeps its selection.
        if (rows.removed == rows.inserted && rows.first + rows.removed <= doneBeforeAndAfter)
        {
            tell(failure, &Listeners::rowsChanged, rows.first, rows.removed);
        }
        else
        {
            replaceRows(failure, rows);
        }
    }
}

void History::Private::apply(const HistoryChange& change)
{
    FirstException failure;
    const bool wasAhead = isAhead;
    const bool isKnown = follows(change);
    position = change.positionAfter;
    if (isKnown)
    {
        tellRows(failure, change);
    }
    else
    {
        replaceRows(failure, {.first = 0, .removed = rowCount, .inserted = manager.getQueueSize()});
    }
    HistoryMarks::Ranges changed = marks.update(manager, rowCount);
    if (wasAhead && !isAhead)
    {
        // The texts of the rows that were inserted meanwhile were those of others.
        changed = {};
        changed.add(0, rowCount);
    }
    for (const HistoryMarks::Range& range : changed)
    {
        tell(failure, &Listeners::rowsChanged, range.first, range.end - range.first);
    }
    tell(failure, &Listeners::changed);
    failure.rethrow();
}

History::MoveResult History::Private::step(std::uint64_t target, bool& hasMoved)
{
    // Step by step, because a slot may change what there is to undo or redo.
    for (std::uint64_t now = manager.getPosition(); now != target;)
    {
        if (manager.getCurrentThreadedCommand() != nullptr)
        {
            return MoveResult::RunNotEnded;
        }
        const bool isUndo = now > target;
        const std::uint64_t next = isUndo ? now - 1 : now + 1;
        if (!(isUndo ? manager.canUndo() : manager.canRedo()))
        {
            return manager.getOpenGroups().empty() ? MoveResult::Interrupted : MoveResult::GroupOpen;
        }
        const bool isDone = isUndo ? manager.undo(1) : manager.redo(1);
        now = manager.getPosition();
        const bool isThere = now == next;
        // The manager also answers false if the step is done and a slot has opened a group then.
        if (!isDone && (!isThere || manager.getOpenGroups().empty()))
        {
            return MoveResult::CommandFailed;
        }
        hasMoved = true;
        if (!isThere || listeners == nullptr)
        {
            return MoveResult::Interrupted;
        }
    }
    return MoveResult::Reached;
}

History::MoveResult History::Private::moveTo(std::uint64_t target)
{
    const std::uint64_t start = manager.getPosition();
    bool hasMoved = false;
    MoveResult result = MoveResult::Interrupted;
    FirstException failure;
    ++moves;
    failure.attempt([&] { result = step(target, hasMoved); });
    --moves;
    if (hasMoved || manager.getPosition() != start)
    {
        tell(failure, &Listeners::moved, result);
    }
    failure.rethrow();
    return result;
}

std::uint64_t History::Private::managerRow(std::uint64_t row) const
{
    const auto follow = [&row](const RowChange& change)
    {
        if (row >= change.first && row != NoRow)
        {
            row = row - change.first < change.removed ? NoRow : row - change.removed + change.inserted;
        }
    };
    row = row < rowCount ? row : NoRow;
    follow(pendingInsertion);
    std::ranges::for_each(pendingRows, follow);
    return row;
}

std::shared_ptr<const CommandBase> History::Private::commandAt(std::uint64_t row) const
{
    return manager.getCommand(managerRow(row));
}

bool History::Private::contains(std::uint64_t row, const std::string& text) const
{
    const std::shared_ptr<const CommandBase> command = commandAt(row);
    return command != nullptr && command->getDescription().find(text) != std::string::npos;
}

History::History(CommandManager& manager) : d(std::make_shared<Private>(manager))
{
    // Kept alive during the call, because a slot may destroy the history.
    Signals::Slot<void(const HistoryChange&)> slot([used = d.get()](const HistoryChange& change)
                                                   { used->apply(change); });
    d->connection = manager.connectToSigHistoryChanged(slot.track(d));
}

History::~History()
{
    d->connection.disconnect();
    d->listeners.reset();
}

std::uint64_t History::getRowCount() const
{
    return d->rowCount;
}

std::string History::getText(std::uint64_t row) const
{
    const std::shared_ptr<const CommandBase> command = d->commandAt(row);
    return command == nullptr ? std::string() : command->getDescription();
}

bool History::isDone(std::uint64_t row) const
{
    return d->managerRow(row) < d->manager.getPosition();
}

bool History::isCurrent(std::uint64_t row) const
{
    const std::uint64_t done = d->manager.getPosition();
    return done != 0 && d->managerRow(row) == done - 1;
}

bool History::isSaved(std::uint64_t row, std::uint64_t tracker) const
{
    if (tracker >= CommandManager::ChangeTrackerCount)
    {
        throw VdException("There is no change tracker " + std::to_string(tracker) + "; the last one is " +
                          std::to_string(CommandManager::ChangeTrackerCount - 1));
    }
    const std::uint64_t saved = d->manager.getSavedPosition(tracker).value_or(0);
    return saved != 0 && d->managerRow(row) == saved - 1;
}

std::uint64_t History::getPosition() const
{
    return d->manager.getPosition();
}

std::optional<std::uint64_t> History::findFrom(std::uint64_t row, const std::string& text) const
{
    for (; row < d->rowCount; ++row)
    {
        if (d->contains(row, text))
        {
            return row;
        }
    }
    return std::nullopt;
}

std::optional<std::uint64_t> History::findBefore(std::uint64_t row, const std::string& text) const
{
    for (row = std::min(row, d->rowCount); row != 0; --row)
    {
        if (d->contains(row - 1, text))
        {
            return row - 1;
        }
    }
    return std::nullopt;
}

History::MoveResult History::moveTo(std::uint64_t position)
{
    const std::uint64_t size = d->manager.getQueueSize();
    if (position > size)
    {
        throw VdException("The history cannot move to position " + std::to_string(position) +
                          ", because its last position is " + std::to_string(size));
    }
    const std::shared_ptr<Private> kept = d;
    return kept->moveTo(position);
}

bool History::isMoving() const
{
    return d->moves != 0;
}

Signals::Connection
History::connectToSigRowsRemoved(const Signals::Slot<void(std::uint64_t, std::uint64_t)>& slot)
{
    return d->listeners->rowsRemoved.connect(slot);
}

Signals::Connection
History::connectToSigRowsInserted(const Signals::Slot<void(std::uint64_t, std::uint64_t)>& slot)
{
    return d->listeners->rowsInserted.connect(slot);
}

Signals::Connection
History::connectToSigRowsChanged(const Signals::Slot<void(std::uint64_t, std::uint64_t)>& slot)
{
    return d->listeners->rowsChanged.connect(slot);
}

Signals::Connection History::connectToSigChanged(const Signals::Slot<void()>& slot)
{
    return d->listeners->changed.connect(slot);
}

Signals::Connection History::connectToSigMoved(const Signals::Slot<void(History::MoveResult)>& slot)
{
    return d->listeners->moved.connect(slot);
}

} // namespace Valdane

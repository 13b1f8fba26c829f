#include "Service/Editing/History.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Signals/Signal.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/Editing/FirstException.h"
#include "Service/Editing/HistoryMarks.h"

#include <algorithm>
#include <span>

namespace Valdane
{

class History::Private
{
public:
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

    template <typename Text>
    bool contains(std::uint64_t row, const Text& text) const;

    CommandManager& manager;
    std::uint64_t rowCount;
    /// How many moves are running, one in the other.
    std::uint64_t moves = 0;
    /// Empty when the history is destroyed. Slots may do that while a signal is being emitted.
    std::optional<Listeners> listeners{std::in_place};
    Signals::Connection connection;

private:
    /// Emits a signal, unless the history was destroyed.
    template <typename Signal, typename... Args>
    void tell(FirstException& failure, Signal Listeners::*signal, const Args&... args);

    /// Whether @p change is about the rows that are known here.
    bool follows(const HistoryChange& change);

    void replaceRows(FirstException& failure, const RowChange& change);

    /// @return how it went; @p hasMoved becomes true at the first step that is done.
    MoveResult step(std::uint64_t target, bool& hasMoved);

    /// CommandManager::getPosition() after the change that was told last.
    std::uint64_t position;
    bool hasMismatch = false;
    HistoryMarks marks;
};

template <typename Signal, typename... Args>
void History::Private::tell(FirstException& failure, Signal Listeners::*signal, const Args&... args)
{
    if (listeners.has_value())
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
    // One mismatch alone is no error: a slot that was called before may have changed the history once more, which
    // is told next.
    const bool hadMismatch = std::exchange(hasMismatch, expected != manager.getQueueSize());
    return change.positionBefore == position && !(hadMismatch && hasMismatch);
}

void History::Private::replaceRows(FirstException& failure, const RowChange& change)
{
    marks.replaceRows(change);
    if (change.removed != 0)
    {
        rowCount -= change.removed;
        tell(failure, &Listeners::rowsRemoved, change.first, change.removed);
    }
    if (change.inserted != 0)
    {
        rowCount += change.inserted;
        tell(failure, &Listeners::rowsInserted, change.first, change.inserted);
    }
}

void History::Private::apply(const HistoryChange& change)
{
    const RowChange all{.first = 0, .removed = rowCount, .inserted = manager.getQueueSize()};
    const bool isKnown = follows(change);
    const std::uint64_t doneBeforeAndAfter = std::min(change.positionBefore, change.positionAfter);
    position = change.positionAfter;
    FirstException failure;
    for (const RowChange& rows : isKnown ? change.rows : std::span<const RowChange>(&all, 1))
    {
        // A command that takes in another one keeps its row, so that a view keeps its selection.
        if (isKnown && rows.removed == rows.inserted && rows.first + rows.removed <= doneBeforeAndAfter)
        {
            tell(failure, &Listeners::rowsChanged, rows.first, rows.removed);
        }
        else
        {
            replaceRows(failure, rows);
        }
    }
    for (const HistoryMarks::Range& range : marks.update(manager, rowCount))
    {
        tell(failure, &Listeners::rowsChanged, range.first, range.end - range.first);
    }
    tell(failure, &Listeners::changed);
    failure.rethrow();
}

History::MoveResult History::Private::step(std::uint64_t target, bool& hasMoved)
{
    // Step by step, because a slot may change what there is to undo or redo.
    for (std::uint64_t now = manager.getPosition(); now != target; now = manager.getPosition())
    {
        const bool isUndo = now > target;
        const std::uint64_t next = isUndo ? now - 1 : now + 1;
        if (!(isUndo ? manager.canUndo() : manager.canRedo()))
        {
            return manager.getOpenGroups().empty() ? MoveResult::Interrupted : MoveResult::GroupOpen;
        }
        const bool isDone = isUndo ? manager.undo(1) : manager.redo(1);
        const bool isThere = manager.getPosition() == next;
        // The manager also answers false if the step is done and a slot has opened a group then.
        if (!isDone && !(isThere && !manager.getOpenGroups().empty()))
        {
            return MoveResult::CommandFailed;
        }
        hasMoved = true;
        if (!isThere)
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

template <typename Text>
bool History::Private::contains(std::uint64_t row, const Text& text) const
{
    const std::shared_ptr<const CommandBase> command = manager.getCommand(row);
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
    const std::shared_ptr<const CommandBase> command = d->manager.getCommand(row);
    return command == nullptr ? std::string() : command->getDescription();
}

bool History::isDone(std::uint64_t row) const
{
    return row < getPosition();
}

bool History::isCurrent(std::uint64_t row) const
{
    return isDone(row) && row + 1 == getPosition();
}

bool History::isSaved(std::uint64_t row, std::uint64_t tracker) const
{
    if (tracker >= CommandManager::ChangeTrackerCount)
    {
        throw VdException("There is no change tracker " + std::to_string(tracker) + "; the last one is " +
                          std::to_string(CommandManager::ChangeTrackerCount - 1));
    }
    const std::uint64_t saved = d->manager.getSavedPosition(tracker).value_or(0);
    return saved != 0 && row == saved - 1;
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

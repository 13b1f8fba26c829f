#include "Service/CommandPattern/HistoryChanges.h"

#include <algorithm>
#include <span>
#include <utility>

namespace Valdane
{

namespace
{

// Makes one change of two if the second begins at a row that the first has inserted, or right behind it.
bool mergeInto(RowChange& change, const RowChange& next)
{
    const std::uint64_t end = change.first + change.inserted;
    if (next.first < change.first || next.first > end)
    {
        return false;
    }
    const std::uint64_t nextEnd = next.first + next.removed;
    const std::uint64_t furtherRemoved = nextEnd - std::min(nextEnd, end);
    change.removed += furtherRemoved;
    change.inserted += furtherRemoved - next.removed + next.inserted;
    return true;
}

std::uint64_t apply(std::span<const RowChange> rows, std::uint64_t size)
{
    for (const RowChange& change : rows)
    {
        size += change.inserted - change.removed;
    }
    return size;
}

} // namespace

Signals::Connection HistoryChanges::connect(const Signals::Slot<void(const HistoryChange&)>& slot,
                                            const State& now)
{
    Signals::Connection connection = sigHistoryChanged.connect(slot, Signals::ConnectPosition::Back);
    if (!std::exchange(isWatched, true))
    {
        told = now;
    }
    return connection;
}

void HistoryChanges::noteRows(const RowChange& change) noexcept
{
    hasChanged = true;
    if (rowCount != 0 && mergeInto(rows[rowCount - 1], change))
    {
        return;
    }
    areRowsComplete = areRowsComplete && rowCount < MaxRowChanges;
    if (areRowsComplete)
    {
        rows[rowCount++] = change;
    }
}

void HistoryChanges::tell(const std::function<State()>& stateNow)
{
    if (isTelling || holds != 0)
    {
        return;
    }

    struct Telling
    {
        explicit Telling(bool& isTellingNow) : flag(isTellingNow)
        {
            flag = true;
        }

        Telling(const Telling&) = delete;
        Telling& operator=(const Telling&) = delete;

        ~Telling()
        {
            flag = false;
        }

        bool& flag;
    };

    const Telling telling(isTelling);
    for (State now = stateNow(); hasChanged || now != told; now = stateNow())
    {
        tellOnce(now);
    }
}

void HistoryChanges::tellOnce(const State& now)
{
    HistoryChange change;
    modulesOfRemoved.insertInto(change.modulesOfRemoved);
    // From here on nothing fails until the slots are called.
    modulesOfRemoved = ModuleSet();
    hasChanged = false;
    change.undoneCommandLeft = std::exchange(hasUndoneCommandLeft, false);
    std::array<RowChange, MaxRowChanges> changedRows = rows;
    std::size_t count = std::exchange(rowCount, 0);
    const State before = std::exchange(told, now);
    if (!std::exchange(areRowsComplete, true) || apply({changedRows.data(), count}, before.size) != told.size)
    {
        // A command has changed the history while it was undone or redone itself.
        changedRows[0] = {.first = 0, .removed = before.size, .inserted = told.size};
        count = 1;
        change.undoneCommandLeft = false;
    }
    if (count != 0 && changedRows[count - 1] == RowChange{.first = changedRows[count - 1].first})
    {
        // What came has left again.
        --count;
    }
    change.rows = {changedRows.data(), count};
    change.positionBefore = before.position;
    change.positionAfter = told.position;
    change.savedPositionsChanged = before.saved != told.saved;
    sigHistoryChanged(change);
}

} // namespace Valdane

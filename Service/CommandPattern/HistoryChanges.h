#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Signal.h"
#include "Platform/Signals/Slot.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/ModuleSet.h"
#include "Service/CommandPattern/SavePoints.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace Valdane
{

/// Collects how the history changes, and tells it with sigHistoryChanged.
///
/// Rows are noted when an entry leaves its queue or gets there, and told when the operation has settled all
/// state. An operation that a destructor or the module access interface calls in between tells what was noted
/// before, so that listeners can apply all rows in order.
///
/// Nothing is noted before the first slot is connected.
/// Thread: as CommandManager.
class HistoryChanges
{
public:
    /// What listeners know of the history.
    struct State
    {
        std::uint64_t size = 0;
        std::uint64_t position = 0;
        SavePoints::Positions saved;

        bool operator==(const State&) const = default;
    };

    /// While it exists, nothing is told, because an entry is on its way and in no queue.
    class Hold
    {
    public:
        explicit Hold(HistoryChanges& changes) noexcept : held(changes.holds)
        {
            ++held;
        }

        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

        ~Hold()
        {
            --held;
        }

    private:
        unsigned& held;
    };

    /// Whether a slot was ever connected.
    bool areWatched() const noexcept
    {
        return isWatched;
    }

    /// @param now  what the new listener can ask the manager for.
    Signals::Connection connect(const Signals::Slot<void(const HistoryChange&)>& slot, const State& now);

    /// Notes that @p removed rows from @p first on were replaced by @p inserted ones.
    void replaceRows(std::uint64_t first, std::uint64_t removed, std::uint64_t inserted) noexcept
    {
        if (removed + inserted != 0)
        {
            ++noted;
            if (isWatched)
            {
                noteRows({.first = first, .removed = removed, .inserted = inserted});
            }
        }
    }

    /// Notes that the rows replaced last begin with a command that was undone.
    void noteUndoneCommandLeft() noexcept
    {
        hasUndoneCommandLeft = isWatched;
    }

    /// Whether an entry is on its way, see Hold.
    bool areHeld() const noexcept
    {
        return holds != 0;
    }

    /// Has all rows told as replaced, because nobody knows what has become of them.
    void replaceAllRows() noexcept
    {
        if (isWatched)
        {
            areRowsComplete = false;
            hasChanged = true;
        }
    }

    /// How often rows were replaced so far.
    std::uint64_t noteCount() const noexcept
    {
        return noted;
    }

    /// Notes what a command modified that leaves the history. @throws std::bad_alloc, with nothing changed.
    void addModules(const ModuleSet& modules)
    {
        if (isWatched)
        {
            modulesOfRemoved = modulesOfRemoved.unitedWith(modules);
        }
    }

    /// Tells what has changed, if anything has. Called by a slot, it returns at once, and the change is told after
    /// that of which the slot was told.
    /// @param stateNow  asked before each change is told, because slots change the history
    /// @pre areWatched() (not checked).
    /// @throws what slots throw; the further slots of that change are not called then.
    void tell(const std::function<State()>& stateNow);

private:
    /// What one operation can change. If there is more, all rows are told as replaced.
    static constexpr std::size_t MaxRowChanges = 4;

    void noteRows(const RowChange& change) noexcept;
    void tellOnce(const State& now);

    Signals::Signal<void(const HistoryChange&)> sigHistoryChanged;
    bool isWatched = false;
    bool isTelling = false;
    unsigned holds = 0;
    std::uint64_t noted = 0;
    State told;
    std::array<RowChange, MaxRowChanges> rows;
    std::size_t rowCount = 0;
    bool areRowsComplete = true;
    /// Whether rows were replaced, be it by none in the end.
    bool hasChanged = false;
    bool hasUndoneCommandLeft = false;
    ModuleSet modulesOfRemoved;
};

} // namespace Valdane

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

    /// Whether a slot was ever connected.
    bool areWatched() const noexcept
    {
        return isWatched;
    }

    /// @param now  what the new listener can ask the manager for.
    Signals::Connection connect(const Signals::Slot<void(const HistoryChange&)>& slot, const State& now);

    /// Notes that @p removed rows from @p first on were replaced by @p inserted ones.
    void replaceRows(std::uint64_t first, std::uint64_t removed, std::uint64_t inserted) noexcept;

    /// Notes what a command modified that leaves the history. @throws std::bad_alloc, with nothing changed.
    void addModules(const ModuleSet& modules);

    /// Tells what has changed, with @p now as the state, if anything has. Called by a slot, it returns at once, and
    /// the change is told after that of which the slot was told.
    /// @pre areWatched() (not checked).
    /// @throws what slots throw; the further slots of that change are not called then.
    void tell(const State& now);

private:
    /// What one operation can change. If there is more, all rows are told as replaced.
    static constexpr std::size_t MaxRowChanges = 4;

    void tellOnce();

    Signals::Signal<void(const HistoryChange&)> sigHistoryChanged;
    bool isWatched = false;
    bool isTelling = false;
    State told;
    State latest;
    std::array<RowChange, MaxRowChanges> rows;
    std::size_t rowCount = 0;
    bool areRowsComplete = true;
    ModuleSet modulesOfRemoved;
};

} // namespace Valdane

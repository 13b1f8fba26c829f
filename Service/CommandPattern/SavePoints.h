#pragma once

#include "Service/CommandPattern/QueuedCommand.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace Valdane
{

/// Where in the history the data were saved, for each change tracker.
///
/// A state of the data has two numbers: how many commands of the history are done, and the number of the newest
/// command that was executed after them and is loose, which means that it is not in the history yet: it waits
/// to be merged or is in an open group. A save point is lost when no undo or redo leads to its state any more.
///
/// Thread: as CommandManager.
class SavePoints
{
public:
    struct State
    {
        std::uint64_t position = 0;
        std::uint64_t loose = 0; ///< 0 if no command is loose; no two commands have the same number

        bool operator==(const State&) const = default;
    };

    using Positions = std::array<std::optional<std::uint64_t>, TrackerCount>;

    /// The data are saved in the state @p now.
    void save(std::size_t tracker, const State& now) noexcept;

    /// No state is saved any more.
    void loseAll() noexcept;

    /// The positions of the save points that undo and redo lead to from a state with the same @p loose commands.
    Positions positions(std::uint64_t loose) const noexcept;

    /// Whether a tracker was saved in the state @p now.
    bool isSaved(const State& now) const noexcept;

    /// The oldest command was forgotten.
    void dropOldest() noexcept;

    /// What could be redone from @p position on was forgotten.
    void dropAfter(std::uint64_t position) noexcept;

    /// All commands were forgotten, @p position of which were done.
    void dropAll(std::uint64_t position) noexcept;

    /// The newest of @p position commands that are done was taken out of the history, and stays executed.
    void takeNewest(std::uint64_t position) noexcept;

    /// The commands up to @p loose have become the newest of @p position commands that are done.
    void queueLoose(std::uint64_t position, std::uint64_t loose) noexcept;

    /// The commands up to @p loose were forgotten, and stay executed.
    void dropLoose(std::uint64_t loose) noexcept;

private:
    /// Loses the save points for which @p isKept is false.
    template <typename IsKept>
    void keepIf(const IsKept& isKept) noexcept;

    std::array<std::optional<State>, TrackerCount> saved;
};

} // namespace Valdane

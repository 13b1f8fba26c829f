#pragma once

#include <cstdint>
#include <set>
#include <span>

namespace Valdane
{

class Object;

/// Rows of the history, one for each command, that were replaced by others.
struct RowChange
{
    std::uint64_t first = 0;    ///< the row at which it happens
    std::uint64_t removed = 0;  ///< how many rows leave from there on
    std::uint64_t inserted = 0; ///< how many come in their place

    /// Whether both are the same change.
    bool operator==(const RowChange&) const = default;
};

/// What a CommandManager tells about a change of its history: all commands, the oldest first, of which those
/// before the position are done.
///
/// Valid during the call only.
struct HistoryChange
{
    /// To be applied in this order. Empty if only the position or a save point moved, as in an undo.
    std::span<const RowChange> rows;

    /// CommandManager::getPosition() before and after.
    std::uint64_t positionBefore = 0;
    std::uint64_t positionAfter = 0;

    /// Whether the command at the top was undone and has left the history, because it cannot be redone. All others that
    /// were done and left it stay done.
    bool undoneCommandLeft = false;

    /// Whether CommandManager::getSavedPosition() has another answer for a tracker.
    bool savedPositionsChanged = false;

    /// What the commands that left the history had modified; see CommandManager::getModulesOfCommand().
    std::set<const Object*> modulesOfRemoved;
};

} // namespace Valdane

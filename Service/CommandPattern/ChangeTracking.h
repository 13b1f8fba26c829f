#pragma once

#include "Service/CommandPattern/CommandQueue.h"
#include "Service/CommandPattern/ModuleSet.h"

#include <cstddef>
#include <memory>

namespace Valdane
{

/// Tells, for each change tracker, which modules differ from its save point at any position in the history.
///
/// The entries of the queues carry the sets; this is what is known about the position before the oldest
/// entry, and the rules by which the sets follow from one another.
///
/// Thread: as CommandManager.
struct ChangeTracking
{
    /// The modules that differ at the position before the oldest entry of the undo queue.
    TrackedModules modulesBeforeFirstCommand;

    /// Takes over what is known about the position where everything is undone, which only the redo queue
    /// knows while the undo queue is empty. To be called before the redo queue is cleared.
    void keepPosition(const CommandQueue& undoQueue, const CommandQueue& redoQueue);

    /// An entry for a command that modified @p modules, to be put on top of @p undoQueue. If that fails,
    /// @p command stays with the caller.
    ///
    /// Its sets are those of its neighbours where no module joins, and one for all trackers where those are.
    QueuedCommand makeEntry(std::shared_ptr<CommandBase>&& command, const ModuleSet& modules,
                            const CommandQueue& undoQueue) const;

    /// The modules that differ at the position between the queues.
    const ModuleSet& modulesAtPosition(std::size_t tracker, const CommandQueue& undoQueue,
                                       const CommandQueue& redoQueue) const;

    /// Makes the position between the queues the save point of @p tracker.
    ///
    /// Complexity: linear in the queues; a new set only where a module joins.
    /// @throws std::bad_alloc, with nothing changed.
    void adjustOnSave(std::size_t tracker, CommandQueue& undoQueue, CommandQueue& redoQueue);
};

} // namespace Valdane

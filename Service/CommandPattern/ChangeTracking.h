#pragma once

#include "Service/CommandPattern/CommandQueue.h"
#include "Service/CommandPattern/ModuleSet.h"

#include <cstddef>
#include <memory>

namespace Valdane
{

/// Tells for each change tracker which modules differ from its save point, at any position in the history.
///
/// The entries of the queues carry the sets. This class knows the set before the oldest entry, and the rules
/// by which the sets follow from one another.
///
/// Thread: as CommandManager.
struct ChangeTracking
{
    /// The modules that differ at the position before the oldest entry of the undo queue.
    TrackedModules modulesBeforeFirstCommand;

    /// Saves the sets of the position at which everything is undone. If the undo queue is empty, only the redo
    /// queue has them. To be called before the redo queue is cleared.
    void keepPosition(const CommandQueue& undoQueue, const CommandQueue& redoQueue);

    /// The sets of the entry that is put on top of @p undoQueue for a command that modified @p modules.
    ///
    /// Reuses the neighbour's sets if no module is added. Trackers that shared a set keep sharing it.
    /// @throws std::bad_alloc
    boost::intrusive_ptr<const EntryModules> makeModules(const ModuleSet& modules,
                                                         const CommandQueue& undoQueue) const;

    /// The sets of the entry at the back of the undo queue, whose command has taken in another one that modified
    /// @p modules. @throws std::bad_alloc
    static boost::intrusive_ptr<const EntryModules> mergeModules(const QueuedCommand& entry,
                                                                 const ModuleSet& modules);

    /// Returns the modules that differ at the position between the queues.
    const ModuleSet& modulesAtPosition(std::size_t tracker, const CommandQueue& undoQueue,
                                       const CommandQueue& redoQueue) const;

    /// Makes the position between the queues the save point of @p tracker: replaces its sets in all entries,
    /// from there outwards.
    ///
    /// Shares sets with the other tracker if that one was saved at the same position.
    /// Complexity: linear in the queues. Each module that joins a set takes O(log n) memory for n modules.
    /// @throws std::bad_alloc, with nothing changed.
    void adjustOnSave(std::size_t tracker, CommandQueue& undoQueue, CommandQueue& redoQueue);
};

} // namespace Valdane

#pragma once

#include "Service/CommandPattern/ModuleSet.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <array>
#include <cstddef>
#include <memory>

namespace Valdane
{

class CommandBase;

/// The number of change trackers of a CommandManager.
inline constexpr std::size_t TrackerCount = 2;

/// One set of modules for each change tracker.
using TrackedModules = std::array<ModuleSet, TrackerCount>;

/// The module sets of an entry.
struct EntryModules : boost::intrusive_ref_counter<EntryModules, boost::thread_unsafe_counter>
{
    EntryModules() = default;
    EntryModules(const EntryModules&) = default;
    EntryModules& operator=(const EntryModules&) = default;
    // Not inline, because most entries have no sets.
    ~EntryModules();

    TrackedModules modulesBefore; ///< differ from the tracker's save point while the command is not applied
    TrackedModules modulesAfter;  ///< differ from the tracker's save point while the command is applied
    ModuleSet modulesOfCommand;   ///< were modified right after the command was executed

    static const EntryModules none;
};

/// One entry of the undo queue or the redo queue. It is small, because a history may hold millions.
struct QueuedCommand
{
    std::shared_ptr<CommandBase> command;
    /// Shared with neighbours that have the same sets. Null if all sets are empty.
    boost::intrusive_ptr<const EntryModules> sharedModules;

    const EntryModules& modules() const noexcept
    {
        return sharedModules == nullptr ? EntryModules::none : *sharedModules;
    }
};

} // namespace Valdane

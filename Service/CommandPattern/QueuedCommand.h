#pragma once

#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ModuleSet.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <array>
#include <memory>

namespace Valdane
{

/// One set of modules for each change tracker.
using TrackedModules = std::array<ModuleSet, CommandManager::ChangeTrackerCount>;

/// The module sets of an entry.
struct EntryModules : boost::intrusive_ref_counter<EntryModules, boost::thread_unsafe_counter>
{
    EntryModules() = default;
    EntryModules(const EntryModules&) = default;
    EntryModules& operator=(const EntryModules&) = default;
    ~EntryModules(); // not inline: most entries have no sets

    TrackedModules modulesBefore; ///< differ from the tracker's save point while the command is not applied
    TrackedModules modulesAfter;  ///< differ from the tracker's save point while the command is applied
    ModuleSet modulesOfCommand;   ///< were modified right after the command was executed

    static const EntryModules none;
};

/// One entry of the undo queue or the redo queue: small, since a history may hold millions.
struct QueuedCommand
{
    std::shared_ptr<CommandBase> command;
    /// Shared with neighbours that have the same; null where all sets are empty.
    boost::intrusive_ptr<const EntryModules> sharedModules;

    const EntryModules& modules() const noexcept
    {
        return sharedModules == nullptr ? EntryModules::none : *sharedModules;
    }
};

} // namespace Valdane

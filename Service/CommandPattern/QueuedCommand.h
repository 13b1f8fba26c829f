#pragma once

#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ModuleSet.h"

#include <array>
#include <deque>
#include <memory>

namespace Valdane
{

/// One set of modules for each change tracker.
using TrackedModules = std::array<ModuleSet, CommandManager::ChangeTrackerCount>;

/// One entry of the undo queue or the redo queue.
struct QueuedCommand
{
    std::shared_ptr<CommandBase> command;
    TrackedModules modulesBefore; ///< differ from the tracker's save point while the command is not applied
    TrackedModules modulesAfter;  ///< differ from the tracker's save point while the command is applied
    ModuleSet modulesOfCommand;   ///< were modified right after the command was executed
};

/// A queue of entries: the oldest at the front, the one to be undone or redone next at the back.
using CommandQueue = std::deque<QueuedCommand>;

/// Empties a container of commands or entries before the first command dies, because a command's destructor
/// may call the manager.
template <typename Commands>
void dropAll(Commands& commands)
{
    if (!commands.empty())
    {
        Commands dropped;
        dropped.swap(commands);
    }
}

} // namespace Valdane

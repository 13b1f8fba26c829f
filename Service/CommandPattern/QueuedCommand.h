#pragma once

#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ModuleSet.h"

#include <array>
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

} // namespace Valdane

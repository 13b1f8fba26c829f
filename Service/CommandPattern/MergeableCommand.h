#pragma once

#include "Service/CommandPattern/CommandPatternExport.h"

namespace Valdane
{

class CommandBase;

/// A command that can take in the one that is executed after it, so that a drag, say, is one step of undo.
/// Derive from it beside CommandBase, and pass commands to CommandManager::addOrMergeCommand().
///
///     bool mergeWith(const CommandBase& next) override
///     {
///         const auto* move = dynamic_cast<const MoveCommand*>(&next);
///         if (move == nullptr || move->shape != shape)
///         {
///             return false;
///         }
///         target = move->target;
///         return true;
///     }
///
/// Thread: as CommandBase.
class VALDANE_COMMANDPATTERN_EXPORT MergeableCommand
{
public:
    MergeableCommand();
    MergeableCommand(const MergeableCommand&) = delete;
    MergeableCommand& operator=(const MergeableCommand&) = delete;
    virtual ~MergeableCommand();

    /// Called when this command and then @p next have been executed. It must not call the manager.
    ///
    /// @return true if this command does what both did from now on: its undo() and redo() are those of both,
    ///         and @p next is let go; false if it has not changed.
    /// @throws anything, if it has not changed; the manager keeps both then.
    virtual bool mergeWith(const CommandBase& next) = 0;
};

} // namespace Valdane

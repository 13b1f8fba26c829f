#pragma once

#include "Service/Editing/EditingExport.h"

#include <cstddef>
#include <string>

namespace Valdane
{

class CommandManager;

/// A group of commands that lasts as long as a scope. It becomes one step of undo if it is committed. Otherwise
/// it is undone at the end of the scope, also if an exception ends it. Groups nest.
///
///     CommandGroup group(manager, "Align shapes");
///     for (const auto& shape : selection)
///     {
///         manager.addCommand(std::make_shared<MoveCommand>(shape, target));
///     }
///     group.commit();
///
/// While a threaded command is running, the manager refuses a group. Within ThreadedRun::edit() it can wait
/// for the end of the run.
///
/// Ownership: the manager must outlive the group.
/// Thread: as CommandManager.
class VALDANE_EDITING_EXPORT CommandGroup
{
public:
    /// Opens a group with CommandManager::beginGroup().
    /// @throws VdException while a threaded command is running, and what slots throw; no group is open then.
    CommandGroup(CommandManager& commandManager, std::string description);
    CommandGroup(const CommandGroup&) = delete;
    CommandGroup& operator=(const CommandGroup&) = delete;

    /// Abandons the group if it is open, and before it the groups inside that are. One that cannot be undone is
    /// ended instead: it becomes a step, and the manager has reported the failure. Lets no exception out.
    ~CommandGroup();

    /// Ends the group with CommandManager::endGroup(). Does nothing if it is not open any more.
    /// @throws VdException if a group inside is open still.
    /// Guarantee: if it throws, the group stays open, unless it was queued already.
    void commit();

    /// Undoes what is in the group with CommandManager::abandonGroup(). Does nothing if it is not open any more.
    /// @return false if that failed; the group stays open then, with all that is in it.
    /// @throws VdException if a group inside is open still.
    bool abandon();

    /// Whether it was neither committed nor abandoned, nor ended by others through the manager. Others
    /// who end it must not open a group in its place, which would be taken for it (not checked).
    bool isOpen() const;

private:
    void leave();

    void requireInnermost(const char* operation) const;

    /// Closes the group with @p work. @return what that answers: whether it is closed.
    template <typename Work>
    bool close(const Work& work);

    CommandManager& manager;
    /// How many groups are open with this one; 0 when it was closed.
    std::size_t depth;
};

} // namespace Valdane

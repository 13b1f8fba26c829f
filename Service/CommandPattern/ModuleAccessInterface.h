#pragma once

#include "Service/CommandPattern/CommandPatternExport.h"

#include <set>

namespace Valdane
{

class Object;

/// What a CommandManager asks the application about its data modules, which are objects of the parameter tree
/// that stand for the units in which the application saves.
///
/// Derive from it, override what the application can tell, and install it with
/// CommandManager::setModuleAccessInterface. As it stands it reports no modules.
///
/// Thread: the thread that drives the manager. What an override throws reaches the caller of the manager's
/// operation.
class VALDANE_COMMANDPATTERN_EXPORT ModuleAccessInterface
{
public:
    /// Has no state: making and copying do nothing.
    ModuleAccessInterface();
    ModuleAccessInterface(const ModuleAccessInterface&);
    ModuleAccessInterface& operator=(const ModuleAccessInterface&);
    virtual ~ModuleAccessInterface();

    /// The modules that the application's own data report as modified now. Asked when a command is queued,
    /// when the queues are cleared, and at every question about modified modules.
    virtual std::set<const Object*> getModifiedModulesFromBusiness();

    /// The modules that the next save must write even if no command modified them.
    virtual std::set<const Object*> getSaveOnNextSaveModulesFromBusiness();

    /// Tells the application to reset its own marks of modification, as the manager knows what is modified.
    ///
    /// Called after each command that was queued, undone or redone. Only queueing takes note of the marks:
    /// those that were set outside of commands before an undo or redo are lost by it.
    virtual void markAllModulesInBusinessAsUnmodified();

    /// All modules, to be treated as modified.
    virtual std::set<const Object*> getAllModulesAsModified();
};

} // namespace Valdane

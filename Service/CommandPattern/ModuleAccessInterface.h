#pragma once

#include "Service/CommandPattern/CommandPatternExport.h"

#include <set>

namespace Valdane
{

class Object;

/// Tells a CommandManager about the application's data modules. A module is an object of the parameter tree that
/// stands for a unit in which the application saves.
///
/// Derive from it, override what the application can tell, and install it with
/// CommandManager::setModuleAccessInterface. The class itself reports no modules.
///
/// Thread: the thread that drives the manager. If an override throws, the exception reaches the caller of the
/// manager's operation.
class VALDANE_COMMANDPATTERN_EXPORT ModuleAccessInterface
{
public:
    /// The class has no state. Making and copying do nothing.
    ModuleAccessInterface();
    ModuleAccessInterface(const ModuleAccessInterface&);
    ModuleAccessInterface& operator=(const ModuleAccessInterface&);
    virtual ~ModuleAccessInterface();

    /// Returns the modules that the application's own data report as modified now.
    ///
    /// The manager calls it when a command is queued, when the queues are cleared, and whenever it is asked for
    /// modified modules.
    virtual std::set<const Object*> getModifiedModulesFromBusiness();

    /// Returns the modules that the next save must write even if no command modified them.
    virtual std::set<const Object*> getSaveOnNextSaveModulesFromBusiness();

    /// Resets the application's own marks of modification, because the manager knows now what is modified.
    ///
    /// The manager calls it after each command that was queued, undone or redone. It reads the marks only when it
    /// queues a command. Marks that were set outside of commands before an undo or redo are therefore lost.
    virtual void markAllModulesInBusinessAsUnmodified();

    /// Returns all modules, to be treated as modified.
    virtual std::set<const Object*> getAllModulesAsModified();
};

} // namespace Valdane

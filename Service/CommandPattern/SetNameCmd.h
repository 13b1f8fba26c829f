#pragma once

#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/CommandBase.h"

#include <memory>
#include <string>

namespace Valdane
{

class NameInterface;
class Object;

/// Renames one object of the parameter tree.
///
/// The object is looked up by its path at every execute and undo, so that the command neither keeps it alive
/// nor minds if another object takes its place in between. An object with a NameInterface is renamed through
/// that, with notification. For other objects derive from this class and override getName() and setName().
///
/// Executing and undoing throw VdException, naming the path, if the tree is gone or has no object there. If
/// they fail, the object is as what gives it its name leaves it; an execution may have remembered a name.
/// Thread: as CommandBase.
class VALDANE_COMMANDPATTERN_EXPORT SetNameCmd : public CommandBase
{
public:
    /// @param object       the object to rename; nothing but its root (weakly) and its path are kept.
    /// @param newName      the name to give it.
    /// @param description  as in CommandBase.
    /// @throws VdException if @p object is empty.
    SetNameCmd(std::shared_ptr<Object> object, const std::string& newName, const std::string& description);

    /// Takes over what was given and what is remembered; see CommandBase.
    SetNameCmd(SetNameCmd&&) noexcept;
    SetNameCmd& operator=(SetNameCmd&&) noexcept;
    ~SetNameCmd() override;

    /// Remembers the present name, then sets the new one.
    void execute() override;

    /// Sets the name that execute() remembered last; before any execute() that is the empty name.
    void undo() override;

protected:
    /// Reads the name of an object without a NameInterface. @return an empty name, unless overridden
    virtual std::string getName();

    /// Gives a name to an object without a NameInterface. Does nothing, unless overridden.
    virtual void setName(const std::string& name);

    /// The root of the tree; empty if it no longer exists.
    std::shared_ptr<Object> getRoot();

    /// The object at the path now, never empty.
    ///
    /// @throws VdException naming the path, if the tree is gone or has no object there.
    std::shared_ptr<Object> getObjectToName();

    /// The name that execute() remembered last; empty before.
    std::string getOldName();

private:
    std::shared_ptr<NameInterface> getNameInterface();

    std::weak_ptr<Object> valdaneRoot;
    Path valdanePath;
    std::string valdaneNewName;
    std::string valdaneOldName;
};

} // namespace Valdane

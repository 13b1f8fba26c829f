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
/// Every execute and undo looks up the object by its path. So the command does not keep the object alive, and
/// another object may take its place in between. The command renames an object through its NameInterface, with
/// notification. For objects without one, derive from this class and override getName() and setName().
///
/// Executing and undoing throw VdException, naming the path, if the tree no longer exists or has no object there.
/// If setting the name fails, the object stays as that operation leaves it; execute() may have remembered a name.
/// Thread: as CommandBase.
class VALDANE_COMMANDPATTERN_EXPORT SetNameCmd : public CommandBase
{
public:
    /// What it does and remembers, for who keeps commands in a file.
    struct State
    {
        Path path;           ///< of the object, from the root
        std::string newName; ///< the name to give it
        std::string oldName; ///< what execute() remembered last; empty before
    };

    /// @param object       the object to rename. The command keeps only its path and, weakly, its root.
    /// @param newName      the name to give it.
    /// @param description  as in CommandBase.
    /// @throws VdException if @p object is empty.
    SetNameCmd(std::shared_ptr<Object> object, const std::string& newName, const std::string& description);

    /// A command as it was when its state was asked for, in the tree of @p root, which is held weakly.
    SetNameCmd(std::weak_ptr<Object> root, State state, std::string description);

    /// Takes over the arguments and the remembered state; see CommandBase.
    SetNameCmd(SetNameCmd&&) noexcept;
    SetNameCmd& operator=(SetNameCmd&&) noexcept;
    ~SetNameCmd() override;

    /// Remembers the present name, then sets the new one.
    void execute() override;

    /// Sets the name that execute() remembered last; the empty name before any execute().
    void undo() override;

    /// What it does and remembers now.
    State getState() const;

protected:
    /// Reads the name of an object without a NameInterface. @return an empty name, unless overridden
    virtual std::string getName();

    /// Gives a name to an object without a NameInterface. Does nothing, unless overridden.
    virtual void setName(const std::string& name);

    /// The root of the tree; empty if it no longer exists.
    std::shared_ptr<Object> getRoot();

    /// The object at the path now, never empty.
    ///
    /// @throws VdException naming the path, if the tree no longer exists or has no object there.
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

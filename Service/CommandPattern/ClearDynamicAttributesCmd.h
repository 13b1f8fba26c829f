#pragma once

#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/CommandBase.h"

#include <memory>
#include <string>

namespace Valdane
{

class DynamicAttributeCollection;
class Object;

/// Takes all dynamic attributes from one object of the parameter tree. Undo gives the same collection back.
///
/// Every execute and undo looks up the object by its path, and the object's owner announces the change
/// (Object::emitSigChanged). An undo is announced even if it has nothing to give back. A change of the root is not
/// announced.
///
/// Executing and undoing throw VdException, naming the path, if the tree no longer exists or has no object there,
/// and whatever a listener of the owner throws. If a listener throws, execute() has changed nothing; the work of
/// undo() is done.
///
/// Thread: as CommandBase.
class VALDANE_COMMANDPATTERN_EXPORT ClearDynamicAttributesCmd : public CommandBase
{
public:
    /// What it does and remembers, for who keeps commands in a file.
    struct State
    {
        Path path; ///< of the object, from the root
        /// What execute() has taken and undo() has not given back; empty if the object had none.
        std::shared_ptr<DynamicAttributeCollection> taken;
    };

    /// @param object       the object to clear. The command keeps only its path and, weakly, its root.
    /// @param description  as in CommandBase.
    /// @throws VdException if @p object is empty.
    ClearDynamicAttributesCmd(std::shared_ptr<Object> object, std::string description);

    /// A command as it was when its state was asked for, in the tree of @p root, which is held weakly.
    ClearDynamicAttributesCmd(std::weak_ptr<Object> root, State state, std::string description);

    /// Takes over the arguments and the remembered state; see CommandBase.
    ClearDynamicAttributesCmd(ClearDynamicAttributesCmd&&) noexcept;
    ClearDynamicAttributesCmd& operator=(ClearDynamicAttributesCmd&&) noexcept;
    ~ClearDynamicAttributesCmd() override;

    /// Moves the object's collection into the command and leaves the object without one.
    void execute() override;

    /// Gives the collection back, if there was one; the command no longer holds it.
    void undo() override;

    /// What it does and remembers now.
    State getState() const;

private:
    std::weak_ptr<Object> valdaneRoot;
    Path valdanePath;
    std::shared_ptr<DynamicAttributeCollection> valdaneSavedCollection;
};

} // namespace Valdane

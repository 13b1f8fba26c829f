#pragma once

#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/CommandBase.h"

#include <memory>
#include <string>

namespace Valdane
{

class DynamicAttributeCollection;
class Object;

/// Takes all dynamic attributes from one object of the parameter tree, and gives the same collection back on
/// undo.
///
/// The object is looked up by its path at every execute and undo. The change is announced by the object's
/// owner (Object::emitSigChanged), as an undo is even where there is nothing to give back; at the root nobody
/// announces it.
///
/// Executing and undoing throw VdException, naming the path, if the tree is gone or has no object there. What
/// a listener of the owner throws passes through: an execution has then changed nothing, an undo has been
/// done.
///
/// Thread: as CommandBase.
class VALDANE_COMMANDPATTERN_EXPORT ClearDynamicAttributesCmd : public CommandBase
{
public:
    /// @param object       the object to clear; nothing but its root (weakly) and its path are kept.
    /// @param description  as in CommandBase.
    /// @throws VdException if @p object is empty.
    ClearDynamicAttributesCmd(std::shared_ptr<Object> object, std::string description);

    /// Takes over what was given and what is remembered; see CommandBase.
    ClearDynamicAttributesCmd(ClearDynamicAttributesCmd&&) noexcept;
    ClearDynamicAttributesCmd& operator=(ClearDynamicAttributesCmd&&) noexcept;
    ~ClearDynamicAttributesCmd() override;

    /// Keeps the object's collection in the command and leaves the object without one.
    void execute() override;

    /// Gives the collection back, if there was one, and lets go of it.
    void undo() override;

private:
    std::weak_ptr<Object> valdaneRoot;
    Path valdanePath;
    std::shared_ptr<DynamicAttributeCollection> valdaneSavedCollection;
};

} // namespace Valdane

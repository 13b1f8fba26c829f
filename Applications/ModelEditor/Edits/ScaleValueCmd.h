#pragma once

#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/ThreadedCommand.h"

#include <memory>
#include <string>

namespace Valdane
{
class Object;
} // namespace Valdane

namespace ModelEditor
{

class XmlObject;

/// Multiplies one number of a model.
///
/// A whole number must stay one. A command that failed, or was aborted, has changed nothing, and its undo and
/// redo do nothing: so a macro that passes failures over can still be undone and redone.
///
/// Thread: the run has the model for itself; otherwise as Valdane::ThreadedCommand.
class ScaleValueCmd : public Valdane::ThreadedCommand
{
public:
    /// @param name  of the attribute or text of @p object.
    ScaleValueCmd(XmlObject& object, const std::string& name, double factor);
    ~ScaleValueCmd() override;

    /// Reads the value and prepares the change. @throws VdException if it is no number, or would be of
    /// another type.
    void run() override;

    /// Makes the change, unless the run was aborted.
    void finishRun() override;

    /// Takes the change back if the run was aborted after it.
    void sendFinishSignal(bool ok) override;

    void undo() override;
    void redo() override;

    /// What was wrong with the last run; empty if nothing was.
    const std::string& getFailure() const noexcept;

private:
    std::shared_ptr<CommandBase> prepare() const;

    std::weak_ptr<Valdane::Object> root;
    Valdane::Path path;
    double by;
    std::shared_ptr<CommandBase> prepared;
    std::shared_ptr<CommandBase> done;
    std::string failure;
};

} // namespace ModelEditor

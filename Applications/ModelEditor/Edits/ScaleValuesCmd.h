#pragma once

#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/ThreadedCommand.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Valdane
{
class Object;
} // namespace Valdane

namespace ModelEditor
{

class XmlObject;
struct Selected;

/// Whether values that cannot be scaled are left alone, and how many there were. The commands of one scale share it.
struct ScaleFailures
{
    bool areLeftAlone = false;
    /// The how many-th ends the run all the same.
    std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t count = 0;
};

/// Multiplies some numbers of a model.
///
/// A whole number must stay one. A command that failed, or was aborted, has changed nothing, and its undo and
/// redo do nothing.
///
/// Thread: the run has the model for itself; otherwise as Valdane::ThreadedCommand.
class ScaleValuesCmd : public Valdane::ThreadedCommand
{
public:
    /// @param values    attributes and texts that have a type, see requireValue(); not empty (not checked).
    /// @param failures  must not be empty (not checked).
    ScaleValuesCmd(std::span<const Selected> values, double factor, std::shared_ptr<ScaleFailures> failures);

    /// What such a command is made of.
    struct State
    {
        std::vector<Valdane::Path> values; ///< the ways to them, from the root
        double factor = 1;
        bool areFailuresLeftAlone = false;
    };

    /// A command that has failures of its own, of any number.
    ScaleValuesCmd(std::weak_ptr<Valdane::Object> tree, State state, std::string description);
    ~ScaleValuesCmd() override;

    State getState() const;

    /// Reads the values and prepares the changes.
    ///
    /// @throws VdException if one is no number, or would be of another type, unless such values are left alone; if there
    ///         were too many.
    void run() override;

    /// Makes the changes, unless the run was aborted.
    void finishRun() override;

    /// Takes the changes back if the run was aborted after them.
    void sendFinishSignal(bool ok) override;

    void undo() override;
    void redo() override;

    /// What was wrong with the values that the last run has left alone, in order.
    const std::vector<std::string>& getLeftAlone() const noexcept;

private:
    void prepareAll();
    void note(const std::string& failure);
    std::shared_ptr<CommandBase> prepare(Valdane::Object& tree, const Valdane::Path& path) const;

    std::weak_ptr<Valdane::Object> root;
    std::vector<Valdane::Path> paths;
    double by;
    std::shared_ptr<ScaleFailures> failed;
    std::vector<std::shared_ptr<CommandBase>> prepared;
    std::vector<std::shared_ptr<CommandBase>> done;
    std::vector<std::string> leftAlone;
};

} // namespace ModelEditor

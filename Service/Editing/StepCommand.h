#pragma once

#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/MergeableCommand.h"

#include <cstddef>
#include <memory>

namespace Valdane
{

/// A step of undo that grows by the commands that MergePolicy adds.
///
/// Thread: as CommandBase.
class StepCommand final : public MacroCommand, public MergeableCommand
{
public:
    /// A step of one command.
    /// @param intoStep  the only step that may take this one in; may be null. Not owned, and only compared.
    StepCommand(std::shared_ptr<CommandBase> command, const StepCommand* intoStep);

    /// Takes in the commands of a step that is meant for this one.
    bool mergeWith(const CommandBase& next) override;

    /// How many commands were executed in it. A command that took in others makes size() less than that.
    std::size_t executedCount() const noexcept;

private:
    const StepCommand* target;
    std::size_t executed = 1;
};

} // namespace Valdane

#include "Service/Editing/StepCommand.h"

#include <utility>

namespace Valdane
{

StepCommand::StepCommand(std::shared_ptr<CommandBase> command, const StepCommand* intoStep) : target(intoStep)
{
    addCommand(std::move(command));
}

bool StepCommand::mergeWith(const CommandBase& next)
{
    const auto* const nextStep = dynamic_cast<const StepCommand*>(&next);
    if (nextStep == nullptr || nextStep->target != this)
    {
        return false;
    }
    const std::shared_ptr<CommandBase> added = *nextStep->begin();
    const std::shared_ptr<CommandBase> newest = getLastCommand();
    auto* const mergeable = dynamic_cast<MergeableCommand*>(newest.get());
    if (mergeable == nullptr || !mergeable->mergeWith(*added))
    {
        addCommand(added);
    }
    ++executed;
    return true;
}

std::size_t StepCommand::executedCount() const noexcept
{
    return executed;
}

} // namespace Valdane

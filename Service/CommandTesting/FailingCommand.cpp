#include "Service/CommandTesting/FailingCommand.h"

#include <stdexcept>

namespace Valdane
{

FailingCommand::FailingCommand(Step stepToFail) : CommandBase("made to fail"), failingStep(stepToFail) {}

void FailingCommand::execute()
{
    failIn(Step::Execute);
}

void FailingCommand::undo()
{
    failIn(Step::Undo);
}

void FailingCommand::redo()
{
    failIn(Step::Redo);
}

void FailingCommand::failIn(Step step) const
{
    if (step == failingStep)
    {
        throw std::runtime_error("made to fail");
    }
}

} // namespace Valdane

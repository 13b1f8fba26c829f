#pragma once

#include "Service/CommandPattern/CommandBase.h"

namespace Valdane
{

/// Fails in one of its steps, and does nothing in the others.
class FailingCommand final : public CommandBase
{
public:
    /// Where it throws a `std::runtime_error`.
    enum class Step
    {
        Execute,
        Undo,
        Redo,
    };

    explicit FailingCommand(Step stepToFail);

    void execute() override;
    void undo() override;
    void redo() override;

private:
    void failIn(Step step) const;

    Step failingStep;
};

} // namespace Valdane

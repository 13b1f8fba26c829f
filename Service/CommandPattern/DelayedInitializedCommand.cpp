#include "Service/CommandPattern/DelayedInitializedCommand.h"

#include <utility>

namespace Valdane
{

const std::string DelayedInitializedCommand::valdaneDefaultDescription = "DelayedInitializedCommand";

DelayedInitializedCommand::DelayedInitializedCommand(std::function<std::shared_ptr<CommandBase>()> factory)
    : ThreadedMacroCommand(valdaneDefaultDescription), valdaneCommandFactory(std::move(factory))
{
}

DelayedInitializedCommand::~DelayedInitializedCommand() = default;

bool DelayedInitializedCommand::startExecution(std::shared_ptr<ThreadManager> threadManager)
{
    // First, because a factory that fails has the run rolled back, and nothing has been executed yet.
    rewind();
    if (valdaneCommandFactory)
    {
        makeCommand();
    }
    return ThreadedMacroCommand::startExecution(std::move(threadManager));
}

void DelayedInitializedCommand::makeCommand()
{
    const std::shared_ptr<CommandBase> command = valdaneCommandFactory();
    if (command == nullptr)
    {
        return;
    }
    // Compares the text that was set, not getDescription(), which may be a sub-command's.
    const bool isToBeDescribed =
        getLogDescription() == valdaneDefaultDescription && !command->getDescription().empty();
    std::string text = isToBeDescribed ? command->getDescription() : std::string();
    addCommand(command);
    // From here on nothing fails.
    if (isToBeDescribed)
    {
        setDescription(std::move(text));
    }
    valdaneCommandFactory = nullptr;
}

} // namespace Valdane

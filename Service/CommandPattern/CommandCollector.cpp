#include "Service/CommandPattern/CommandCollector.h"

#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <set>

namespace Valdane
{

CommandCollector::CommandCollector(CommandManager& targetManager)
    : commandManager(std::make_unique<CommandManager>()),
      collectedCommands(std::make_shared<MacroCommand>()),
      target(targetManager)
{
}

CommandCollector::~CommandCollector()
{
    // Before the connection: this order is laid down.
    commandManager.reset();
}

CommandManager* CommandCollector::getCommandManager() const
{
    return commandManager.get();
}

void CommandCollector::connect(bool connect)
{
    if (connect)
    {
        connection = commandManager->connectToSigCommandQueueChanged([this](CommandManager::QueueChangeReason)
                                                                     { onCommandExecuted(); });
    }
    else
    {
        connection.disconnect();
    }
}

std::shared_ptr<MacroCommand> CommandCollector::getExecutedCommands()
{
    const std::shared_ptr<MacroCommand> taken = target.takeExecutedCommands();
    std::set<const CommandBase*> executed;
    if (taken != nullptr)
    {
        for (const std::shared_ptr<CommandBase>& command : *taken)
        {
            executed.insert(command.get());
        }
    }
    auto result = std::make_shared<MacroCommand>();
    for (const std::shared_ptr<CommandBase>& command : *collectedCommands)
    {
        if (executed.contains(command.get()))
        {
            result->addCommand(command);
        }
    }
    collectedCommands->clear();
    return result;
}

bool CommandCollector::onCommandExecuted()
{
    if (const std::shared_ptr<CommandBase> command = commandManager->takeLastExecutedCommand())
    {
        target.addExecutedCommand(command);
        collectedCommands->addCommand(command);
    }
    return true;
}

} // namespace Valdane

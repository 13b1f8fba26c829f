// Every step that the manager takes with a command, written down in the order in which it comes.

#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using Valdane::CommandBase;
using Valdane::CommandManager;

void note(const std::string& what)
{
    std::cout << "  " << what << "\n";
}

// A command that does nothing but say so.
class Press : public CommandBase
{
public:
    explicit Press(const std::string& button) : CommandBase("Press " + button) {}

    void execute() override { note("execute()"); }
    void undo() override { note("undo()"); }

    bool isRedoCapable() override
    {
        note("isRedoCapable()");
        return true;
    }
};

// One that fails.
class Stuck : public CommandBase
{
public:
    Stuck() : CommandBase("Press stuck") {}

    void execute() override
    {
        note("execute()");
        throw std::runtime_error("it does not move");
    }

    void undo() override {}
};

class Modules : public Valdane::ModuleAccessInterface
{
public:
    std::set<const Valdane::Object*> getModifiedModulesFromBusiness() override
    {
        note("getModifiedModulesFromBusiness()");
        return {};
    }

    void markAllModulesInBusinessAsUnmodified() override
    {
        note("markAllModulesInBusinessAsUnmodified()");
    }
};

std::string nameOf(CommandManager::QueueChangeReason reason)
{
    switch (reason)
    {
    case CommandManager::CommandUndone:
        return "CommandUndone";
    case CommandManager::CommandRedone:
        return "CommandRedone";
    case CommandManager::QueueCleared:
        return "QueueCleared";
    case CommandManager::CommandAdded:
        return "CommandAdded";
    }
    return {};
}

std::vector<Valdane::Signals::Connection> listenTo(CommandManager& manager)
{
    std::vector<Valdane::Signals::Connection> connections;
    connections.push_back(
        manager.connectToSigCommandExecuted([] { note("signal CommandExecuted"); }));
    connections.push_back(manager.connectToSigCommandUndone([] { note("signal CommandUndone"); }));
    connections.push_back(manager.connectToSigCommandFailed(
        [](const char* what, const std::string& description)
        { note("signal CommandFailed: " + description + ", " + what); }));
    connections.push_back(manager.connectToSigCommandQueueChanged(
        [](CommandManager::QueueChangeReason reason)
        { note("signal CommandQueueChanged: " + nameOf(reason)); }));
    return connections;
}

// All lines of the log, traces too, go where the other lines go.
void setUpLog()
{
    const auto sink = std::make_shared<spdlog::sinks::stdout_sink_mt>();
    sink->set_pattern("  log: %v");
    spdlog::apply_all(
        [&](const std::shared_ptr<spdlog::logger>& logger)
        {
            logger->sinks() = {sink};
            logger->set_level(spdlog::level::trace);
        });
}

} // namespace

int main()
{
    setUpLog();
    CommandManager manager;
    manager.setModuleAccessInterface(std::make_shared<Modules>());
    const auto connections = listenTo(manager);

    std::cout << "A command that succeeds:\n";
    manager.addCommand(std::make_shared<Press>("A"));

    std::cout << "A command that fails:\n";
    manager.addCommand(std::make_shared<Stuck>());

    std::cout << "Undo:\n";
    manager.undo(1);

    std::cout << "Redo:\n";
    manager.redo(1);

    std::cout << "Two that wait to be merged with a third:\n";
    manager.addCommandToMergeWithNextCommand(std::make_shared<Press>("B"), false);
    manager.addCommandToMergeWithNextCommand(std::make_shared<Press>("C"), false);
    manager.addCommand(std::make_shared<Press>("D"));

    std::cout << "Undo of the three:\n";
    manager.undo(1);
}

#pragma once

#include "CommandModel.h"
#include "ManagerModel.h"
#include "State.h"
#include "World.h"

#include <list>
#include <memory>
#include <string>

namespace Valdane::Model
{

/// The model in its place.
class ModelSide
{
public:
    static Modules bits(Modules modules)
    {
        return modules;
    }

    static std::string describe(const CommandPtr& command)
    {
        return command == nullptr ? "-" : descriptionOf(*command);
    }

    CommandPtr makeCommand(const std::string& name, const Plan& plan)
    {
        return std::make_shared<Command>(
            Command{name, std::make_shared<Script>(name, plan, world), {}, {}, false});
    }

    CommandPtr makeThread(const std::string& name, const Plan& plan)
    {
        const CommandPtr command = makeCommand(name, plan);
        command->thread = std::make_shared<ModelThread>(name, command->script);
        return command;
    }

    void setProgress()
    {
        manager.setProgress();
    }

    ThreadManager& threads()
    {
        return manager.threads;
    }

    std::string prefix() const
    {
        return prefixOf(manager.isProcessing, describe(manager.slot));
    }

    State observe() const
    {
        return {
            describe(manager.undoQueue),
            describe(manager.redoQueue),
            manager.undoQueue.empty() ? "-" : descriptionOf(*manager.undoQueue.back().command),
            manager.redoQueue.empty() ? "-" : descriptionOf(*manager.redoQueue.back().command),
            manager.undoQueue.size() + manager.redoQueue.size(),
            manager.maxQueueSize,
            manager.groups.empty() && !manager.undoQueue.empty(),
            manager.groups.empty() && !manager.redoQueue.empty(),
            manager.usesMaxQueueSize,
            manager.isProcessing,
            describe(manager.slot),
            manager.threads.getCurrentThread() != nullptr,
            {manager.getModifiedModules(0), manager.getModifiedModules(1)},
            {manager.getModifiedOrSaveOnNextSaveModules(0), manager.getModifiedOrSaveOnNextSaveModules(1)},
            {manager.getSavedPosition(0), manager.getSavedPosition(1)},
            manager.undoQueue.size(),
            manager.modulesOfCommands(),
            manager.openGroups()};
    }

    World world;
    ManagerModel manager{world};
    CommandPtr taken;

private:
    static std::list<std::string> describe(const std::list<ManagerModel::Entry>& queue)
    {
        std::list<std::string> descriptions;
        for (const ManagerModel::Entry& entry : queue)
        {
            descriptions.push_front(descriptionOf(*entry.command));
        }
        return descriptions;
    }
};

} // namespace Valdane::Model

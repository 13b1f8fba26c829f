#pragma once

#include "Journal.h"
#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "State.h"
#include "World.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Valdane::Model
{

/// The real manager, its commands and its slots.
class RealSide
{
    class PlainCommand : public CommandBase, public MergeableCommand
    {
    public:
        PlainCommand(const std::string& name, const Plan& plan, World& world)
            : CommandBase(name), script(name, plan, world)
        {
            getProgressPtr()->label = name + ".progress";
        }

        void execute() override
        {
            script.run(Call::Execute);
        }

        void undo() override
        {
            script.run(Call::Undo);
        }

        void redo() override
        {
            script.run(Call::Redo);
        }

        bool isRedoCapable() override
        {
            return script.isRedoCapable();
        }

        bool mergeWith(const CommandBase& /*next*/) override
        {
            return script.takesIn();
        }

    private:
        Script script;
    };

    class ThreadCommand : public ThreadedCommand
    {
    public:
        ThreadCommand(const std::string& name, const Plan& plan, World& world)
            : ThreadedCommand(name), script(std::make_shared<Script>(name, plan, world))
        {
            getProgressPtr()->label = name + ".progress";
            connectToRunFinishedSignal([this](bool ok, const CommandBase* /*ended*/)
                                       { script->noteEnd(ok); });
        }

        void run() override
        {
            script->run(Call::Run);
        }

        void finishRun() override
        {
            script->run(Call::FinishRun);
        }

        void undo() override
        {
            script->run(Call::Undo);
        }

        bool isRedoCapable() override
        {
            return script->isRedoCapable();
        }

        bool isAddableToCommandManager() const override
        {
            return script->isAddable();
        }

    protected:
        void prepareRun() override
        {
            script->run(Call::PrepareRun);
        }

        void abortRun() override
        {
            script->run(Call::AbortRun);
        }

    private:
        std::shared_ptr<Script> script;
    };

    class WorldModules : public ModuleAccessInterface
    {
    public:
        explicit WorldModules(World& surroundings) : world(surroundings) {}

        std::set<const Object*> getModifiedModulesFromBusiness() override
        {
            return objects(world.ask("modules.modified", world.modified));
        }

        std::set<const Object*> getSaveOnNextSaveModulesFromBusiness() override
        {
            return objects(world.ask("modules.saveOnNextSave", world.saveOnNextSave));
        }

        void markAllModulesInBusinessAsUnmodified() override
        {
            world.mark();
        }

        std::set<const Object*> getAllModulesAsModified() override
        {
            return objects(world.ask("modules.all", world.all));
        }

    private:
        World& world;
    };

    /// Modules are only ever compared by their address.
    static const Object* module(std::size_t number)
    {
        static const char addresses[moduleCount] = {};
        return reinterpret_cast<const Object*>(addresses + number);
    }

    static std::set<const Object*> objects(Modules modules)
    {
        std::set<const Object*> found;
        for (std::size_t number = 0; number < moduleCount; ++number)
        {
            if ((modules >> number & 1U) != 0)
            {
                found.insert(module(number));
            }
        }
        return found;
    }

    static std::string join(const std::list<std::string>& texts)
    {
        std::string joined;
        for (const std::string& text : texts)
        {
            joined += (joined.empty() ? "" : " ") + text;
        }
        return joined;
    }

    void emitted(const std::string& signal)
    {
        note(signal + " [" + join(manager.collectUndoCommandDescriptions()) + "|" +
             join(manager.collectRedoCommandDescriptions()) + "]");
        world.onMoment();
    }

    static int positionOf(const std::optional<std::uint64_t>& saved)
    {
        return saved.has_value() ? static_cast<int>(*saved) : -1;
    }

    /// Has the rows of a view follow those of the manager.
    void applyRows(const HistoryChange& change)
    {
        for (const RowChange& row : change.rows)
        {
            const auto first = rows.begin() + static_cast<std::ptrdiff_t>(row.first);
            rows.erase(first, first + static_cast<std::ptrdiff_t>(row.removed));
            rows.insert(rows.begin() + static_cast<std::ptrdiff_t>(row.first), row.inserted, nullptr);
        }
        for (std::size_t index = 0; index < rows.size(); ++index)
        {
            const CommandBase* command = manager.getCommand(index).get();
            if (rows[index] != nullptr && rows[index] != command)
            {
                note("row " + std::to_string(index) + " is another one");
            }
            rows[index] = command;
        }
        if (rows.size() != manager.getQueueSize())
        {
            note("the rows are " + std::to_string(rows.size()));
        }
    }

    void historyChanged(const HistoryChange& change)
    {
        applyRows(change);
        note("history " + std::to_string(change.positionBefore) + " to " +
             std::to_string(change.positionAfter) + (change.savedPositionsChanged ? " saved otherwise" : "") +
             " modules " + std::to_string(bits(change.modulesOfRemoved)));
        world.onMoment();
    }

public:
    RealSide()
    {
        bar->label = "bar";
        manager.setModuleAccessInterface(std::make_shared<WorldModules>(world));
    }

    static Modules bits(const std::set<const Object*>& modules)
    {
        Modules found = 0;
        for (std::size_t number = 0; number < moduleCount; ++number)
        {
            found |= static_cast<Modules>(modules.count(module(number))) << number;
        }
        return found;
    }

    static std::string describe(const std::shared_ptr<const CommandBase>& command)
    {
        return command == nullptr ? "-" : command->getDescription();
    }

    std::shared_ptr<CommandBase> makeCommand(const std::string& name, const Plan& plan)
    {
        return std::make_shared<PlainCommand>(name, plan, world);
    }

    std::shared_ptr<ThreadedCommand> makeThread(const std::string& name, const Plan& plan)
    {
        return std::make_shared<ThreadCommand>(name, plan, world);
    }

    void setProgress()
    {
        manager.setProgress(bar);
    }

    ThreadManager& threads() const
    {
        return *manager.getThreadManager();
    }

    std::string prefix() const
    {
        return prefixOf(manager.isProcessingCommand(), describe(manager.getCurrentThreadedCommand()));
    }

    State observe() const
    {
        return {manager.collectUndoCommandDescriptions(),
                manager.collectRedoCommandDescriptions(),
                describe(manager.getUndoCommand()),
                describe(manager.getRedoCommand()),
                manager.getQueueSize(),
                manager.getMaxQueueSize(),
                manager.canUndo(),
                manager.canRedo(),
                manager.usesMaxQueueSize(),
                manager.isProcessingCommand(),
                describe(manager.getCurrentThreadedCommand()),
                threads().getCurrentThread() != nullptr,
                {bits(manager.getModifiedModules(0)), bits(manager.getModifiedModules(1))},
                {bits(manager.getModifiedOrSaveOnNextSaveModules(0)),
                 bits(manager.getModifiedOrSaveOnNextSaveModules(1))},
                {positionOf(manager.getSavedPosition(0)), positionOf(manager.getSavedPosition(1))},
                manager.getPosition(),
                modulesOfCommands(),
                manager.getOpenGroups()};
    }

    World world;
    CommandManager manager;
    std::shared_ptr<CommandBase> taken;

private:
    std::list<unsigned> modulesOfCommands() const
    {
        std::list<unsigned> modules;
        for (std::uint64_t index = 0; manager.getCommand(index) != nullptr; ++index)
        {
            modules.push_back(bits(manager.getModulesOfCommand(index)));
        }
        return modules;
    }

    /// What a view of the history knows.
    std::vector<const CommandBase*> rows;
    std::shared_ptr<LegacyProgress> bar = std::make_shared<LegacyProgress>();
    Signals::Connection changed =
        manager.connectToSigHistoryChanged([this](const HistoryChange& change) { historyChanged(change); });
    Signals::Connection completed =
        manager.connectToSigUndoRedoProcessCompleted([this] { emitted("completed"); });
    Signals::Connection queueChanged =
        manager.connectToSigCommandQueueChanged([this](CommandManager::QueueChangeReason reason)
                                                { emitted("queueChanged " + std::to_string(reason)); });
    Signals::Connection started = manager.connectToSigThreadedCommandStarted([this] { emitted("started"); });
    Signals::Connection finished =
        manager.connectToSigThreadedCommandFinished([this] { emitted("finished"); });
    Signals::Connection executed = manager.connectToSigCommandExecuted([this] { emitted("executed"); });
    Signals::Connection undone = manager.connectToSigCommandUndone([this] { emitted("undone"); });
    Signals::Connection groupsChanged = manager.connectToSigOpenGroupsChanged([this] { emitted("groups"); });
    Signals::Connection failed = manager.connectToSigCommandFailed(
        [this](const char* what, const std::string& description)
        { emitted("failed(" + std::string(what) + ", " + description + ")"); });
};

} // namespace Valdane::Model

#pragma once

#include "Operation.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/Editing/History.h"
#include "Service/Editing/MergePolicy.h"
#include "Service/Editing/SaveState.h"
#include "Tests/Service/Editing/History/HistoryFixture.h"
#include "Tests/Support/Failures.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Valdane::EditingModel
{

/// An application's data. It reports the modules that have changed since the manager last took note.
class World : public ModuleAccessInterface
{
public:
    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        std::set<const Object*> modified;
        const Layers layers = drawing.differingFrom(known);
        for (std::size_t layer = 0; layer < moduleCount; ++layer)
        {
            if ((layers >> layer & 1U) != 0)
            {
                modified.insert(&modules[layer]);
            }
        }
        return modified;
    }

    void markAllModulesInBusinessAsUnmodified() override
    {
        known = drawing;
    }

    /// @throws if this is the call that is to fail.
    void call(Call kind)
    {
        if (fault.hits(kind, 1))
        {
            fault.isStrange ? failStrangely() : fail();
        }
    }

    Drawing drawing;
    Fault fault;

private:
    Drawing known;
    /// In one array, so that sets of them have them in this order.
    std::array<Object, moduleCount> modules{Object("0"), Object("1"), Object("2"), Object("3")};
};

/// Draws strokes.
class Edit : public CommandBase
{
public:
    Edit(World& data, const Plan& editPlan) : CommandBase(editPlan.description), world(data), plan(editPlan)
    {
    }

    void execute() override
    {
        world.call(Call::Execute);
        world.drawing.draw(plan.strokes);
    }

    void undo() override
    {
        world.call(Call::Undo);
        if (!plan.isUndoCapable)
        {
            world.fault = {};
            fail();
        }
        world.drawing.erase(plan.strokes);
    }

    void redo() override
    {
        world.call(Call::Redo);
        world.drawing.draw(plan.strokes);
    }

    bool isRedoCapable() override
    {
        return plan.isRedoCapable;
    }

protected:
    World& world;
    Plan plan;
};

/// The same, and takes in the next one of its shape.
class GrowingEdit : public Edit, public MergeableCommand
{
public:
    using Edit::Edit;

    bool mergeWith(const CommandBase& next) override
    {
        const auto* const edit = dynamic_cast<const GrowingEdit*>(&next);
        if (edit == nullptr || edit->plan.shape != plan.shape)
        {
            return false;
        }
        world.call(Call::Merge);
        plan.strokes.insert(plan.strokes.end(), edit->plan.strokes.begin(), edit->plan.strokes.end());
        setDescription(edit->getDescription());
        return true;
    }
};

/// A manager with all that follows it.
class RealSide
{
public:
    RealSide()
    {
        manager.setModuleAccessInterface(world);
        saveState = std::make_unique<SaveState>(manager);
        view.connect(history);
        modified = saveState->connectToSigModifiedChanged(
            [this](std::uint64_t tracker, bool isModified)
            { toldModified[tracker].push_back(isModified ? 'm' : 's'); });
        moved = history.connectToSigMoved([this](History::MoveResult result)
                                          { toldMoves += ", told " + nameOf(result); });
    }

    std::shared_ptr<CommandBase> make(const Plan& plan)
    {
        if (plan.shape == 0)
        {
            return std::make_shared<Edit>(*world, plan);
        }
        return std::make_shared<GrowingEdit>(*world, plan);
    }

    /// A line for each module, those without commands in the order of their names.
    std::vector<std::string> unsavedLines(std::size_t tracker) const
    {
        std::vector<UnsavedModule> unsaved = saveState->unsavedChanges(tracker);
        const auto hasCommands = [](const UnsavedModule& module)
        {
            return !module.commands.empty();
        };
        const auto others = std::ranges::find_if_not(unsaved, hasCommands);
        std::vector<std::string> lines;
        for (const UnsavedModule& module : unsaved)
        {
            std::string line = module.module == nullptr ? "-" : module.module->getKey();
            for (const std::string& words : module.words())
            {
                line += "|" + words;
            }
            lines.push_back(std::move(line));
        }
        std::sort(lines.begin() + (others - unsaved.begin()), lines.end());
        return lines;
    }

    std::shared_ptr<World> world = std::make_shared<World>();
    CommandManager manager;
    History history{manager};
    /// Made when the manager can tell the modules.
    std::unique_ptr<SaveState> saveState;
    std::chrono::steady_clock::time_point now;
    MergePolicy policy{manager,
                       {.pause = std::chrono::seconds(longestPause), .commands = longestStep},
                       [this]
                       {
                           return now;
                       }};
    /// What a view knows that is told of the rows.
    Valdane::Model view{history};
    /// "m" for modified and "s" for saved, as told.
    std::array<std::string, 2> toldModified = {"s", "s"};
    /// What was told of moves since this was empty.
    std::string toldMoves;

private:
    Signals::Connection modified;
    Signals::Connection moved;
};

} // namespace Valdane::EditingModel

#pragma once

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Tests/Service/CommandTesting/Mistakes/Plant.h"

#include <string>
#include <utility>

namespace Valdane::Plants
{

/// Right: one move of a slider; those of one part that follow each other are one step.
class DragFlow : public CommandBase, public MergeableCommand
{
public:
    DragFlow(Plant& draggedPlant, std::string draggedKey, double targetFlow)
        : CommandBase("Drag the flow of the " + draggedKey),
          plant(draggedPlant),
          key(std::move(draggedKey)),
          target(targetFlow)
    {
    }

    void execute() override
    {
        oldFlow = plant.setFlow(plant.getPart(key), target);
    }

    void undo() override
    {
        plant.setFlow(plant.getPart(key), oldFlow);
    }

    void redo() override
    {
        plant.setFlow(plant.getPart(key), target);
    }

    bool mergeWith(const CommandBase& next) override
    {
        const auto* const drag = dynamic_cast<const DragFlow*>(&next);
        if (drag == nullptr || drag->key != key)
        {
            return false;
        }
        target = drag->target;
        return true;
    }

    const std::string& getKey() const
    {
        return key;
    }

    double getTarget() const
    {
        return target;
    }

    double getOldFlow() const
    {
        return oldFlow;
    }

protected:
    Plant& plant;
    std::string key;
    double target;
    double oldFlow = 0;
};

} // namespace Valdane::Plants

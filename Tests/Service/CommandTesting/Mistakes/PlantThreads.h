#pragma once

#include "Service/CommandPattern/ThreadedCommand.h"
#include "Tests/Service/CommandTesting/Mistakes/Plant.h"

#include <string>

namespace Valdane::Plants
{

/// Right: computes with data of its own, and hands the result over when it knows that it may.
class FindBestFlow : public ThreadedCommand
{
public:
    explicit FindBestFlow(Plant& searchedPlant)
        : ThreadedCommand("Find the best flow of the pump"), plant(searchedPlant)
    {
    }

    void execute() override
    {
        ThreadedCommand::execute();
        if (!isAborted())
        {
            handOver();
        }
    }

    void undo() override
    {
        if (isHandedOver)
        {
            plant.setFlow(plant.getPump(), oldFlow);
            isHandedOver = false;
        }
    }

    void run() override
    {
        found = 0;
        for (int step = 1; step <= steps && !isAborted(); ++step)
        {
            found += 0.5;
            getProgress()->moveTo(LegacyProgress::FullRange / double{steps} * step);
        }
    }

    void finishRun() override {}

    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            handOver();
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

protected:
    static constexpr int steps = 3;

    void handOver()
    {
        oldFlow = plant.setFlow(plant.getPump(), found);
        isHandedOver = true;
    }

    Plant& plant;
    double found = 0;
    double oldFlow = 0;
    bool isHandedOver = false;
};

/// Right: works on the plant itself, and takes all of it back if the run is aborted.
class TuneInPlace : public ThreadedCommand
{
public:
    explicit TuneInPlace(Plant& tunedPlant) : ThreadedCommand("Tune the pump"), plant(tunedPlant) {}

    void undo() override
    {
        if (isChanged)
        {
            plant.getPump().data.stages = oldStages;
            plant.setFlow(plant.getPump(), oldFlow);
            isChanged = false;
        }
    }

    void run() override
    {
        Part& pump = plant.getPump();
        oldStages = pump.data.stages;
        oldFlow = pump.data.flow;
        for (int step = 1; step <= 2 && !isAborted(); ++step)
        {
            isChanged = true;
            pump.data.stages = step + 1;
            plant.setFlow(pump, pump.data.flow / 2);
        }
    }

    void finishRun() override {}

    void sendFinishSignal(bool ok) override
    {
        if (!ok)
        {
            takeBack();
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

protected:
    virtual void takeBack()
    {
        undo();
    }

    Plant& plant;
    int oldStages = 0;
    double oldFlow = 0;
    bool isChanged = false;
};

} // namespace Valdane::Plants

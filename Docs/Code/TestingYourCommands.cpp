// The program of Docs/testing-your-commands.md. It links Valdane::CommandTesting, Valdane::CommandTestingAllocations
// and RapidCheck.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandTesting/CommandKit.h"
#include "Service/CommandTesting/RandomHistories.h"

#include <spdlog/spdlog.h>

#include <cstddef>
#include <iostream>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

namespace
{

using namespace Valdane;

struct Pump
{
    std::string name;
    int speed = 0;
};

struct Plant
{
    std::vector<Pump> pumps = {{"north", 10}, {"south", 20}};
    int totalSpeed = 30;
};

std::string textOf(const Plant& plant)
{
    std::string text = "total " + std::to_string(plant.totalSpeed) + "\n";
    for (const Pump& pump : plant.pumps)
    {
        text += pump.name + " " + std::to_string(pump.speed) + "\n";
    }
    return text;
}

class SetSpeed : public CommandBase, public MergeableCommand
{
public:
    SetSpeed(Plant& pumpPlant, std::size_t pumpIndex, int newSpeed)
        : CommandBase("Set speed to " + std::to_string(newSpeed)),
          plant(pumpPlant),
          index(pumpIndex),
          speed(newSpeed)
    {
    }

    void execute() override { exchange(); }
    void undo() override { exchange(); }

    bool mergeWith(const CommandBase& next) override
    {
        const auto* const other = dynamic_cast<const SetSpeed*>(&next);
        // The older one has the speed from before both; the data have that of the next one.
        return other != nullptr && other->index == index;
    }

private:
    void exchange()
    {
        Pump& pump = plant.pumps.at(index);
        plant.totalSpeed += speed - pump.speed;
        std::swap(pump.speed, speed);
    }

    Plant& plant;
    std::size_t index;
    int speed;
};

// Wrong: the total is forgotten.
class RemovePump : public CommandBase
{
public:
    explicit RemovePump(Plant& pumpPlant) : CommandBase("Remove pump"), plant(pumpPlant) {}

    void execute() override
    {
        removed = plant.pumps.back();
        plant.pumps.pop_back();
        plant.totalSpeed -= removed.speed;
    }

    void undo() override { plant.pumps.push_back(removed); }

private:
    Plant& plant;
    Pump removed;
};

// Wrong: if the file cannot be written, the name has changed all the same.
class RenameAndExport : public CommandBase
{
public:
    RenameAndExport(Plant& pumpPlant, std::string newName, std::function<void()> writeFile)
        : CommandBase("Rename and export"),
          plant(pumpPlant),
          name(std::move(newName)),
          write(std::move(writeFile))
    {
    }

    void execute() override
    {
        plant.pumps.front().name.swap(name);
        write();
    }

    void undo() override { plant.pumps.front().name.swap(name); }

private:
    Plant& plant;
    std::string name;
    std::function<void()> write;
};

// Computes on a worker, and hands the result over on the caller's thread.
class Balance : public ThreadedCommand
{
public:
    explicit Balance(Plant& pumpPlant)
        : ThreadedCommand("Balance"), plant(pumpPlant), speeds(speedsOf(pumpPlant))
    {
    }

    void run() override
    {
        const int mean =
            std::accumulate(speeds.begin(), speeds.end(), 0) / static_cast<int>(speeds.size());
        for (int& speed : speeds)
        {
            if (isAborted())
            {
                return;
            }
            speed = mean;
        }
    }

    void finishRun() override {}

    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            exchange();
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    void execute() override
    {
        ThreadedCommand::execute();
        exchange();
    }

    // In synchronous mode an aborted command is in the history, too.
    void undo() override
    {
        if (isDone)
        {
            exchange();
        }
    }

    void redo() override { exchange(); }

private:
    static std::vector<int> speedsOf(const Plant& plant)
    {
        std::vector<int> speeds;
        speeds.reserve(plant.pumps.size());
        for (const Pump& pump : plant.pumps)
        {
            speeds.push_back(pump.speed);
        }
        return speeds;
    }

    void exchange()
    {
        for (std::size_t i = 0; i < speeds.size(); ++i)
        {
            std::swap(plant.pumps.at(i).speed, speeds[i]);
        }
        isDone = !isDone;
        plant.totalSpeed = 0;
        for (const Pump& pump : plant.pumps)
        {
            plant.totalSpeed += pump.speed;
        }
    }

    Plant& plant;
    std::vector<int> speeds;
    bool isDone = false;
};

void prove()
{
    CommandKit<Plant> kit([] { return std::make_unique<Plant>(); }, textOf);

    const auto setSpeed = [](Plant& plant)
    {
        return std::make_shared<SetSpeed>(plant, 1, 25);
    };
    const auto remove = [](Plant& plant)
    {
        return std::make_shared<RemovePump>(plant);
    };
    const auto balance = [](Plant& plant)
    {
        return std::make_shared<Balance>(plant);
    };

    std::cout << kit.all(setSpeed) << kit.all(remove) << kit.all(balance);

    const auto rename = [&kit](Plant& plant)
    {
        const auto writeFile = [&kit]
        {
            kit.failAt("write file");
        };
        return std::make_shared<RenameAndExport>(plant, "west", writeFile);
    };
    std::cout << kit.failures(rename);

    const auto faster = [](Plant& plant)
    {
        return std::make_shared<SetSpeed>(plant, 1, 26);
    };
    std::cout << kit.merging(setSpeed, faster) << kit.inMacro({setSpeed, balance, faster});
}

void playRandomHistories()
{
    const CommandKit<Plant> kit([] { return std::make_unique<Plant>(); }, textOf);

    using Generator = CommandKit<Plant>::Generator;
    const Generator anySpeed = [](Plant& plant, Choices& choices) -> std::shared_ptr<CommandBase>
    {
        if (plant.pumps.empty())
        {
            return nullptr;
        }
        const std::size_t pump = choices.below(plant.pumps.size());
        return std::make_shared<SetSpeed>(plant, pump, static_cast<int>(choices.between(0, 99)));
    };
    const Generator anyRemoval = [](Plant& plant, Choices&) -> std::shared_ptr<CommandBase>
    {
        return plant.pumps.empty() ? nullptr : std::make_shared<RemovePump>(plant);
    };

    std::cout << atRandom(kit, {anySpeed});
    std::cout << kit.replay({anySpeed, anyRemoval}, {HistoryStep::add(1, 0), HistoryStep::undo(1)});
}

} // namespace

int main()
{
    // Commands fail on purpose; their error lines would be printed, too.
    spdlog::set_level(spdlog::level::off);
    prove();
    playRandomHistories();
}

// What is wrong around execute(), undo() and redo(): progress, marks of modules, making and owning commands.

#include "Platform/ExceptionHandling/VdException.h"
#include "Tests/Service/CommandTesting/Mistakes/BreakableCycle.h"
#include "Tests/Service/CommandTesting/Mistakes/MistakeTable.h"
#include "Tests/Service/CommandTesting/Mistakes/PlantCommands.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>

namespace Valdane::Plants
{
namespace
{

class ProgressRunsBackwards : public Throttle
{
public:
    using Throttle::Throttle;

    void execute() override
    {
        getProgress()->moveTo(LegacyProgress::FullRange * 0.6);
        getProgress()->reset(); // for a second phase
        getProgress()->moveTo(LegacyProgress::FullRange * 0.5);
        Throttle::execute();
    }
};

class ProgressMovesOnlyAtTheEnd : public InspectAll
{
public:
    using InspectAll::InspectAll;

    void execute() override
    {
        Throttle::execute();
    }
};

class ChangesAModuleThatItDoesNotMark : public Rename
{
public:
    using Rename::Rename;

    void execute() override
    {
        oldName = std::exchange(plant.getPump().data.name, newName);
    }
};

class MarksAModuleThatItDoesNotChange : public Throttle
{
public:
    using Throttle::Throttle;

    void execute() override
    {
        Throttle::execute();
        plant.getPart("valve").mark();
    }
};

class ExecutesInItsConstructor : public HalveFlow
{
public:
    explicit ExecutesInItsConstructor(Plant& halvedPlant) : HalveFlow(halvedPlant)
    {
        HalveFlow::execute();
    }
};

class KeepsTheWorldAlive : public Throttle
{
public:
    explicit KeepsTheWorldAlive(std::shared_ptr<Plant> ownedPlant)
        : Throttle(*ownedPlant), owned(std::move(ownedPlant))
    {
    }

private:
    std::shared_ptr<Plant> owned;
};

/// Right, and may live longer than its plant.
class ThrottleWhatIsThere : public CommandBase
{
public:
    explicit ThrottleWhatIsThere(const std::shared_ptr<Plant>& throttledPlant)
        : CommandBase("Throttle pump"), weakPlant(throttledPlant)
    {
    }

    void execute() override
    {
        oldFlow = setFlow(1);
    }

    void undo() override
    {
        setFlow(oldFlow);
    }

private:
    double setFlow(double flow) const
    {
        const auto plant = weakPlant.lock();
        if (plant == nullptr)
        {
            throw VdException("The plant is gone");
        }
        return plant->setFlow(plant->getPump(), flow);
    }

    std::weak_ptr<Plant> weakPlant;
    double oldFlow = 0;
};

/// Somebody wants to be told, with the command, when it is done; the command keeps what tells.
class KeepsItself : public Throttle, public BreakableCycle
{
public:
    using Throttle::Throttle;

    void execute() override
    {
        Throttle::execute();
        whenDone();
    }

    std::function<void()> whenDone;

protected:
    void breakUp() noexcept override
    {
        // The last owner of this object is in it.
        const std::function<void()> ended = std::move(whenDone);
    }
};

std::shared_ptr<CommandBase> makeCommandThatKeepsItself(Plant& plant)
{
    auto command = std::make_shared<KeepsItself>(plant);
    command->whenDone = [command]
    {
        command->setDescription("Throttle pump, done");
    };
    return command;
}

Maker giveTheSameCommandEachTime()
{
    const auto kept = std::make_shared<std::shared_ptr<CommandBase>>();
    return Maker(
        [kept](const std::shared_ptr<Plant>& plant)
        {
            if (*kept == nullptr)
            {
                *kept = std::make_shared<ThrottleWhatIsThere>(plant);
            }
            return *kept;
        });
}

const MistakeRow otherMistakes[] = {
    {"ProgressRunsBackwards",
     [](const CommandKit<Plant>& kit) { return kit.progress(make<ProgressRunsBackwards>()); },
     R"(Progress of "Throttle pump": 1 mistake
  The progress runs backwards, from 60 % to 0 %
)"},
    {"ProgressMovesOnlyAtTheEnd",
     [](const CommandKit<Plant>& kit) { return kit.progress(make<ProgressMovesOnlyAtTheEnd>(), 0.1); },
     R"(Progress of "Inspect the pump": 1 mistake
  The progress moves from 0 % to 100 % at once; the largest move allowed is 10 %
)"},
    {"ChangesAModuleThatItDoesNotMark", checkTracking<ChangesAModuleThatItDoesNotMark>,
     R"(Tracking of "Rename pump": 1 mistake
  After execute() and redo(): module "Water" is not as before execute(), but the manager does not list it as modified (- before, + after):
      tank.medium: water
    - pump.name: "Circulation pump of the first loop"
    + pump.name: "Circulation pump P-101"
)"},
    {"MarksAModuleThatItDoesNotChange", checkTracking<MarksAModuleThatItDoesNotChange>,
     R"(Tracking of "Throttle pump": 1 mistake
  After execute() and redo(): the manager lists module "Heat" as modified, but it is as before execute()
)"},
    {"ExecutesInItsConstructor",
     [](const CommandKit<Plant>& kit) { return kit.misuse(make<ExecutesInItsConstructor>()); },
     R"(Misuse of "Halve the flow of the pump": 1 mistake
  Making the command changes the data, and executing it would do so again (- before, + after):
    - total flow: 15
    + total flow: 13
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 4
    + pump.flow: 2
)"},
    {"KeepsTheWorldAlive",
     [](const CommandKit<Plant>& kit)
     {
         return kit.misuse([](const std::shared_ptr<Plant>& plant)
                           { return std::make_shared<KeepsTheWorldAlive>(plant); });
     },
     R"(Misuse of "Throttle pump": 1 mistake
  The command owns the world, so a history keeps the world alive; let the command find the world by a reference, or hold it by a weak pointer
)"},
    {"KeepsItself", [](const CommandKit<Plant>& kit) { return kit.misuse(makeCommandThatKeepsItself); },
     R"(Misuse of "Throttle pump": 1 mistake
  The command lives on after its manager and its world are gone: somebody else owns it, or it owns itself by way of something that it owns
)"},
    {"TheMakerGivesTheSameCommandEachTime",
     [](const CommandKit<Plant>& kit) { return kit.misuse(giveTheSameCommandEachTime()); },
     R"(Misuse of "Throttle pump": 1 mistake
  Making the command twice gives the same command twice; a command can be in one place of one history only
)"},
};

class OtherMistakes : public testing::TestWithParam<MistakeRow>
{
protected:
    ~OtherMistakes() override
    {
        BreakableCycle::breakAll();
    }
};

TEST_P(OtherMistakes, AreFoundAndTold)
{
    expectTheReport(GetParam());
}

INSTANTIATE_TEST_SUITE_P(, OtherMistakes, testing::ValuesIn(otherMistakes), nameOf);

} // namespace
} // namespace Valdane::Plants

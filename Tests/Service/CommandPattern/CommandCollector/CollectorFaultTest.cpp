#include "Service/CommandPattern/CommandCollector.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Tests/Support/Faults/ManagerSteps.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace Valdane::Faults::Collectors
{
namespace
{

/// A collector that records into a manager, which has a and b from it.
class CollectorWorld : public ManagerWorld
{
public:
    CollectorWorld()
    {
        collector->getCommandManager()->setModuleAccessInterface(document);
        collector->connect(true);
        collector->getCommandManager()->addCommand(make('a'));
        collector->getCommandManager()->addCommand(make('b'));
    }

    /// What can be observed of the target, of what the collector has for it, and of what was recorded.
    std::string takeState()
    {
        CommandManager& own = *collector->getCommandManager();
        std::string state = "own: " + std::to_string(own.getQueueSize()) +
                            (own.isProcessingCommand() ? " processing" : "") +
                            "\nresult: " + lettersOf(result) + "\n";
        own.clear();
        state += "recorded: " + lettersOf(collector->getExecutedCommands()) + "\n";
        return state + ManagerWorld::takeState();
    }

    std::unique_ptr<CommandCollector> collector = std::make_unique<CommandCollector>(manager);
    std::shared_ptr<MacroCommand> result;

private:
    static std::string lettersOf(const std::shared_ptr<MacroCommand>& macro)
    {
        std::string letters;
        if (macro != nullptr)
        {
            for (const auto& command : *macro)
            {
                letters += command->getDescription().back();
            }
        }
        return letters;
    }
};

using Row = FaultRow<CollectorWorld>;

class CollectorFaults : public testing::TestWithParam<Row>
{
};

TEST_P(CollectorFaults, LeaveWhatIsPromised)
{
    failEverywhere(GetParam());
}

void addX(CollectorWorld& world)
{
    world.answer = answerOf(world.collector->getCommandManager()->addCommand(world.make('x')));
}

/// The command was executed, and is in neither manager.
void loseX(CollectorWorld& world)
{
    world.applyAside('x');
}

/// The same, where the modules that it modified are known as such already.
void loseNotedX(CollectorWorld& world)
{
    world.document->apply('x');
    world.document->modified.clear();
}

/// The command is in the collector's manager, and was not handed over.
void keepX(CollectorWorld& world)
{
    world.collector->connect(false);
    addX(world);
    world.collector->connect(true);
}

/// The command is in the target manager, and not recorded.
void addToTarget(CollectorWorld& world)
{
    world.manager.addExecutedCommand(world.make('x'));
    world.document->applied('x') = 1;
}

void collect(CollectorWorld& world)
{
    world.result = world.collector->getExecutedCommands();
}

void collectForNobody(CollectorWorld& world)
{
    collect(world);
    world.result = nullptr;
}

/// The target is empty, and what was recorded waits to be asked for again, in vain.
void clearTarget(CollectorWorld& world)
{
    world.manager.takeExecutedCommands();
}

const std::vector<Row> rows = {
    {.name = "Recording a command", .operation = addX, .mayLeave = {loseX, loseNotedX, keepX, addToTarget}},
    {.name = "Collecting", .operation = collect, .mayLeave = {clearTarget, collectForNobody}},
    {.name = "Connecting again",
     .operation = [](CollectorWorld& world) { world.collector->connect(true); },
     .callsOut = false},
    {.name = "Disconnecting",
     .operation = [](CollectorWorld& world) { world.collector->connect(false); },
     .callsOut = false,
     .allocates = false},
    {.name = "Making a collector",
     .operation = [](CollectorWorld& world) { const CommandCollector other(world.manager); },
     .callsOut = false},
};

INSTANTIATE_TEST_SUITE_P(All, CollectorFaults, testing::ValuesIn(rows), nameOfTest<CollectorWorld>);

} // namespace
} // namespace Valdane::Faults::Collectors

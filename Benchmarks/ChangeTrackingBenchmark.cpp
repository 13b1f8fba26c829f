#include "Benchmarks/Each.h"
#include "Benchmarks/Histories/ValdaneHistory.h"
#include "Benchmarks/ModulesInTurn.h"

#include <benchmark/benchmark.h>
#include <cstddef>
#include <memory>

namespace Valdane::Benchmarks
{
namespace
{

constexpr std::size_t commandCount = 100'000;
constexpr std::size_t moduleCount = 1000;

struct World
{
    std::shared_ptr<ModulesInTurn> modules;
    int number = 0;
    std::size_t calls = 0;
    CommandManager manager;
    Signals::Connection connection =
        manager.connectToSigCommandQueueChanged([this](CommandManager::QueueChangeReason) { hear(calls); });

    explicit World(std::size_t modulesInTurn) : modules(std::make_shared<ModulesInTurn>(modulesInTurn))
    {
        manager.setModuleAccessInterface(modules);
    }

    void add(std::size_t times)
    {
        for (std::size_t i = 0; i < times; ++i)
        {
            manager.addCommand(std::make_shared<SetNumber>(number, 1, commandText));
        }
    }
};

std::unique_ptr<World> makeWorld()
{
    return std::make_unique<World>(moduleCount);
}

std::unique_ptr<World> makeHistory()
{
    auto world = makeWorld();
    world->add(commandCount);
    return world;
}

/// Half of the commands before a save, half of them after it; the save itself does not count.
void addCommandOverModules(benchmark::State& state)
{
    const auto prepare = []
    {
        auto world = makeWorld();
        world->add(commandCount / 2);
        world->manager.adjustOnSave(0);
        return world;
    };
    measureEach(state, commandCount / 2, prepare, [](World& world) { world.add(commandCount / 2); });
}

void adjustOnSave(benchmark::State& state)
{
    const auto prepare = []
    {
        auto world = makeHistory();
        world->manager.undo(commandCount / 2);
        return world;
    };
    measureEach(state, commandCount, prepare, [](World& world) { world.manager.adjustOnSave(0); });
}

/// Each command modifies a module of its own.
void adjustOnSaveOfOwnModules(benchmark::State& state)
{
    const auto size = static_cast<std::size_t>(state.range(0));
    const auto prepare = [size]
    {
        auto world = std::make_unique<World>(size);
        world->add(size);
        return world;
    };
    measureEach(state, size, prepare, [](World& world) { world.manager.adjustOnSave(0); });
}

void getModifiedModules(benchmark::State& state)
{
    const auto world = makeHistory();
    world->modules->tells = false;
    for ([[maybe_unused]] auto iteration : state)
    {
        benchmark::DoNotOptimize(world->manager.getModifiedModules(0));
    }
}

/// Commands that modify nothing, undone with as many modules modified before them as the argument says.
void undoWithModifiedModules(benchmark::State& state)
{
    const std::size_t size = 1000;
    const auto prepare = [&]
    {
        auto world = makeWorld();
        world->add(static_cast<std::size_t>(state.range(0)));
        world->modules->tells = false;
        world->add(size);
        return world;
    };
    measureEach(state, size, prepare, [](World& world) { world.manager.undo(size); });
}

BENCHMARK(addCommandOverModules)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(adjustOnSave)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(adjustOnSaveOfOwnModules)->Arg(20'000)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(getModifiedModules)->Unit(benchmark::kMicrosecond);
BENCHMARK(undoWithModifiedModules)->ArgName("modules")->Arg(0)->Arg(moduleCount)->UseManualTime();

} // namespace
} // namespace Valdane::Benchmarks

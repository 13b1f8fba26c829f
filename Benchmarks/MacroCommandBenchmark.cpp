#include "Benchmarks/Each.h"
#include "Benchmarks/Histories/ValdaneHistory.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <benchmark/benchmark.h>
#include <cstddef>
#include <memory>

namespace Valdane::Benchmarks
{
namespace
{

struct World
{
    int number = 0;
    std::shared_ptr<MacroCommand> macro = std::make_shared<MacroCommand>(commandText);
    std::size_t calls = 0;
    CommandManager manager;
    Signals::Connection connection =
        manager.connectToSigCommandQueueChanged([this](CommandManager::QueueChangeReason) { hear(calls); });

    explicit World(std::size_t size)
    {
        for (std::size_t i = 0; i < size; ++i)
        {
            macro->addCommand(std::make_shared<SetNumber>(number, 1, commandText));
        }
    }
};

void executeMacro(benchmark::State& state)
{
    const auto size = static_cast<std::size_t>(state.range(0));
    measureEach(
        state, size, [&] { return std::make_unique<World>(size); },
        [](World& world) { world.manager.addCommand(world.macro); });
}

void undoMacro(benchmark::State& state)
{
    const auto size = static_cast<std::size_t>(state.range(0));
    const auto prepare = [&]
    {
        auto world = std::make_unique<World>(size);
        world->manager.addCommand(world->macro);
        return world;
    };
    measureEach(state, size, prepare, [](World& world) { world.manager.undo(1); });
}

void redoMacro(benchmark::State& state)
{
    const auto size = static_cast<std::size_t>(state.range(0));
    const auto prepare = [&]
    {
        auto world = std::make_unique<World>(size);
        world->manager.addCommand(world->macro);
        world->manager.undo(1);
        return world;
    };
    measureEach(state, size, prepare, [](World& world) { world.manager.redo(1); });
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("sub_commands")->Arg(1'000)->Arg(100'000)->UseManualTime();
}

BENCHMARK(executeMacro)->Apply(sizes);
BENCHMARK(undoMacro)->Apply(sizes);
BENCHMARK(redoMacro)->Apply(sizes);

} // namespace
} // namespace Valdane::Benchmarks

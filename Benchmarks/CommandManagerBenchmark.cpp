#include "Benchmarks/Each.h"
#include "Benchmarks/Histories/ValdaneHistory.h"

#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <benchmark/benchmark.h>
#include <cstddef>
#include <memory>

namespace Valdane::Benchmarks
{
namespace
{

using Step = void (*)(ValdaneHistory&);

void push(ValdaneHistory& history)
{
    history.push(1);
}

void undo(ValdaneHistory& history)
{
    history.undo();
}

void redo(ValdaneHistory& history)
{
    history.redo();
}

void repeat(ValdaneHistory& history, Step step, std::size_t times)
{
    for (std::size_t i = 0; i < times; ++i)
    {
        step(history);
    }
}

/// As many operations as the first argument says, with as many listeners of each kind as the second says.
void measure(benchmark::State& state, std::initializer_list<Step> before, Step measured)
{
    const auto size = static_cast<std::size_t>(state.range(0));
    const auto listeners = static_cast<std::size_t>(state.range(1));
    const auto prepare = [&]
    {
        auto history = std::make_unique<ValdaneHistory>(
            Setting{.listeners = listeners, .listensToEverySignal = state.range(2) != 0});
        for (const Step step : before)
        {
            repeat(*history, step, size);
        }
        return history;
    };
    measureEach(state, size, prepare, [&](ValdaneHistory& history) { repeat(history, measured, size); });
}

void addCommand(benchmark::State& state)
{
    measure(state, {}, push);
}

void undoCommand(benchmark::State& state)
{
    measure(state, {push}, undo);
}

void redoCommand(benchmark::State& state)
{
    measure(state, {push, undo}, redo);
}

void sizesAndListeners(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgNames({"commands", "listeners", "every_signal"});
    for (const int size : {1'000, 100'000, 1'000'000})
    {
        benchmark->Args({size, 1, 0});
    }
    benchmark->Args({1'000, 0, 0})->Args({1'000, 10, 0})->Args({1'000, 1, 1})->UseManualTime();
}

BENCHMARK(addCommand)->Apply(sizesAndListeners);
BENCHMARK(undoCommand)->Apply(sizesAndListeners);
BENCHMARK(redoCommand)->Apply(sizesAndListeners);

/// In steady state: the history is as long as it may become.
void addCommandAtTheLimit(benchmark::State& state)
{
    const std::size_t size = 1000;
    const auto limit = static_cast<std::size_t>(state.range(0));
    const auto prepare = [&]
    {
        auto history = std::make_unique<ValdaneHistory>(Setting{.limit = limit});
        repeat(*history, push, 2 * limit);
        return history;
    };
    measureEach(state, size, prepare, [&](ValdaneHistory& history) { repeat(history, push, size); });
}

BENCHMARK(addCommandAtTheLimit)->ArgName("limit")->Arg(25)->Arg(1000)->UseManualTime();

/// Trace lines are written, to a sink that drops them; against addCommand/1000/1/0.
void addCommandTraced(benchmark::State& state)
{
    const auto logger = spdlog::get("Service/CommandPattern/CommandManager");
    const auto sinks = logger->sinks();
    const auto level = logger->level();
    logger->sinks() = {std::make_shared<spdlog::sinks::null_sink_mt>()};
    logger->set_level(spdlog::level::trace);
    const std::size_t size = 1000;
    const auto prepare = []
    {
        return std::make_unique<ValdaneHistory>(Setting{});
    };
    measureEach(state, size, prepare, [&](ValdaneHistory& history) { repeat(history, push, size); });
    logger->sinks() = sinks;
    logger->set_level(level);
}

BENCHMARK(addCommandTraced)->UseManualTime();

} // namespace
} // namespace Valdane::Benchmarks

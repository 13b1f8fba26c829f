// Emissions, and the same with Boost.Signals2.

#include "Platform/Signals/Signal.h"

#include <boost/signals2/signal.hpp>

#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Valdane::Benchmarks
{
namespace
{

/// An emission to as many slots as the argument says.
template <typename Signal, typename Connection>
void emit(benchmark::State& state)
{
    Signal signal;
    std::uint64_t calls = 0;
    std::vector<Connection> connections;
    connections.reserve(static_cast<std::size_t>(state.range(0)));
    for (std::int64_t i = 0; i < state.range(0); ++i)
    {
        connections.emplace_back(signal.connect([&calls](int) { ++calls; }));
    }
    for ([[maybe_unused]] auto iteration : state)
    {
        signal(1);
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(calls);
}

void emitSignal(benchmark::State& state)
{
    emit<Signals::Signal<void(int)>, Signals::Connection>(state);
}

void emitSignals2(benchmark::State& state)
{
    emit<boost::signals2::signal<void(int)>, boost::signals2::scoped_connection>(state);
}

void slots(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("slots")->Arg(0)->Arg(1)->Arg(10);
}

BENCHMARK(emitSignal)->Apply(slots);
BENCHMARK(emitSignals2)->Apply(slots);

} // namespace
} // namespace Valdane::Benchmarks

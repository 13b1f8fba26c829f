#pragma once

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstddef>

namespace Valdane::Benchmarks
{

/// Measures @p work, which does @p size operations on what @p prepare makes for each repetition;
/// neither making that nor destroying it counts. The counter `each` is the time of one operation.
template <typename Prepare, typename Work>
void measureEach(benchmark::State& state, std::size_t size, const Prepare& prepare, const Work& work)
{
    for ([[maybe_unused]] auto iteration : state)
    {
        auto subject = prepare();
        const auto start = std::chrono::steady_clock::now();
        work(*subject);
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    state.counters["each"] =
        benchmark::Counter(static_cast<double>(size),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

} // namespace Valdane::Benchmarks

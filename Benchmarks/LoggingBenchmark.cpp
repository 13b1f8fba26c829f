#include "Platform/Logging/Logging.h"

#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <benchmark/benchmark.h>
#include <memory>
#include <string>

namespace Valdane::Benchmarks
{
namespace
{

const Logging logger("Benchmarks/LoggingBenchmark");

void isTraceEnabled(benchmark::State& state)
{
    for ([[maybe_unused]] auto iteration : state)
    {
        benchmark::DoNotOptimize(logger.isTraceEnabled());
    }
}

/// A line that is ready, to a sink that drops it: what the logging library itself takes.
void writeTraceLine(benchmark::State& state)
{
    const auto target = spdlog::get("Benchmarks/LoggingBenchmark");
    target->sinks() = {std::make_shared<spdlog::sinks::null_sink_mt>()};
    target->set_level(spdlog::level::trace);
    const std::string line = "Execute command 'Set the pump's flow rate'...";
    for ([[maybe_unused]] auto iteration : state)
    {
        logger.logTRACE(line, __FILE__, "", 1);
    }
    target->set_level(spdlog::level::info);
}

BENCHMARK(isTraceEnabled);
BENCHMARK(writeTraceLine);

} // namespace
} // namespace Valdane::Benchmarks

#include "Benchmarks/SecondThread.h"

#include <benchmark/benchmark.h>

int main(int argc, char** argv)
{
    const Valdane::Benchmarks::SecondThread thread;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
    {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

#pragma once

#include <benchmark/benchmark.h>

/// Runs the registered benchmarks with the program's arguments; the result is that of main.
inline int RunBenchmarks(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
    {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

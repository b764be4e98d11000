/** Benchmarks on a full card; the options are Google Benchmark's (--help lists them). */
#include "full_card.h"

#include <benchmark/benchmark.h>

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    bench::print_rule_table();
    return 0;
}

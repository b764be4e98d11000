/** Benchmarks on generated cards; the options are Google Benchmark's (--help lists them). */
#include "benchmarks.h"
#include "reports.h"
#include "rule_trial.h"

#include <benchmark/benchmark.h>

#include <iostream>

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    bench::register_rules();
    bench::register_commits();
    bench::register_yang_rules();
    bench::register_latency();
    bench::Results results;
    benchmark::RunSpecifiedBenchmarks(&results);
    bench::forget_rule_trial(); // Before the schema goes.
    std::cerr << "\r\033[K";
    bench::report_rules(results, std::cout);
    bench::report_growth(results, std::cout);
    bench::report_commits(results, std::cout);
    bench::report_yang(results, std::cout);
    bench::report_latency(results, std::cout);
    for (const auto &failure : results.failures()) {
        std::cerr << "FAILED " << failure << '\n';
    }
    return results.failures().empty() ? 0 : 1;
}

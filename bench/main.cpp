/**
 * Benchmarks on generated cards. The options are Google Benchmark's (--help lists them), and
 * --curves=FILE for the data of the plot.
 */
#include "benchmarks.h"
#include "reports.h"
#include "rule_trial.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

namespace
{

/** Takes --curves=FILE off the options; empty when it is not there. */
std::string take_curves_option(int &argc, char **argv)
{
    constexpr std::string_view kOption = "--curves=";
    const auto is_option = [=](const char *argument) {
        return std::string_view(argument).substr(0, kOption.size()) == kOption;
    };
    char **found = std::find_if(argv, argv + argc, is_option);
    if (found == argv + argc) {
        return {};
    }
    std::string file = *found + kOption.size();
    std::move(found + 1, argv + argc, found);
    --argc;
    return file;
}

} // namespace

int main(int argc, char **argv)
{
    const std::string curves = take_curves_option(argc, argv);
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
    if (!curves.empty()) {
        std::ofstream file(curves);
        bench::write_curves(results, file);
        if (!file.flush()) {
            std::cerr << curves << " cannot be written\n";
            return 1;
        }
    }
    for (const auto &failure : results.failures()) {
        std::cerr << "FAILED " << failure << '\n';
    }
    return results.failures().empty() ? 0 : 1;
}

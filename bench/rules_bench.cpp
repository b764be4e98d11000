/** What each rule costs, beside its requests alone. */
#include "benchmarks.h"
#include "rule_trial.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <numeric>

namespace bench
{
namespace
{

double milliseconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

void measure_rule(benchmark::State &state, const std::string &rule, std::uint32_t links)
{
    RuleTrial &trial = rule_trial(links);
    trial.choose(rule);
    Sum asked;
    auto best = std::chrono::nanoseconds::max();
    auto best_floor = std::chrono::nanoseconds::max();
    for (auto _ : state) {
        asked = trial.ask();
        best = std::min(best, asked.time);
        best_floor = std::min(best_floor, trial.replay().time);
        state.SetIterationTime(std::chrono::duration<double>(asked.time).count());
    }
    for (const auto &[call, count] : asked.calls) {
        state.counters["calls:" + call] = static_cast<double>(count);
    }
    state.counters["links"] = links;
    state.counters["instances"] = static_cast<double>(trial.instances());
    state.counters["requests"] = static_cast<double>(asked.requests());
    state.counters["bytes"] = static_cast<double>(trial.allocated_bytes());
    state.counters["rule_ms"] = milliseconds(best);
    state.counters["floor_ms"] = milliseconds(best_floor);
}

} // namespace

void register_rules()
{
    for (const std::uint32_t links : kLinks) {
        for (const std::string &rule : RuleTrial::rules()) {
            benchmark::RegisterBenchmark(
                ("rule/" + rule + "/" + std::to_string(links)).c_str(),
                [rule, links](benchmark::State &state) { measure_rule(state, rule, links); })
                ->UseManualTime()
                ->MinTime(links < 8 ? 0.02 : 0.2) // The shortest of several askings counts.
                ->Unit(benchmark::kMillisecond);
        }
    }
}

} // namespace bench

/** What each rule costs, beside its requests alone. */
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

/** Answered by the client library by itself: schema, conversions, freeing. */
bool is_local(const std::string &call)
{
    return call.rfind("confd_", 0) == 0 || call == "maapi_query_free_result";
}

void measure_rule(benchmark::State &state, const std::string &rule, std::uint32_t links)
{
    RuleTrial &trial = rule_trial(links);
    trial.choose(rule);
    Asked asked;
    auto best = std::chrono::nanoseconds::max();
    auto best_floor = std::chrono::nanoseconds::max();
    for (auto _ : state) {
        asked = trial.ask();
        best = std::min(best, asked.time);
        best_floor = std::min(best_floor, trial.replay().time);
        state.SetIterationTime(std::chrono::duration<double>(asked.time).count());
    }
    double requests = 0;
    for (const auto &[call, count] : asked.calls) {
        state.counters["calls:" + call] = static_cast<double>(count);
        requests += is_local(call) ? 0 : static_cast<double>(count);
    }
    state.counters["links"] = links;
    state.counters["instances"] = static_cast<double>(trial.instances());
    state.counters["requests"] = requests;
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
                ->Unit(benchmark::kMillisecond);
        }
    }
}

} // namespace bench

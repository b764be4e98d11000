/** What a commit costs on a framework that takes its time to answer. */
#include "benchmarks.h"
#include "call_recorder.h"
#include "card.h"
#include "commit.h"
#include "rule_trial.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <map>
#include <string>

namespace bench
{
namespace
{

/** Adds up by rule. */
class SumByRule : public engine::Observer
{
public:
    explicit SumByRule(const std::vector<engine::Request> &requests) : m_requests(requests) {}

    void after(std::size_t request, const engine::Answer &answer) override
    {
        rules[m_requests[request].point->opaque].after(request, answer);
    }
    std::map<std::string, Sum> rules;

private:
    const std::vector<engine::Request> &m_requests;
};

void measure_latency(benchmark::State &state, bool is_everyday, std::chrono::microseconds latency)
{
    forget_rule_trial();
    const Card &full = card(kFullCard);
    const auto edit = is_everyday ? full.everyday_edit() : full.rewriting_edit();
    Commit commit(full, full.candidate(edit));
    const auto plan = engine::plan(commit.transaction());
    const auto slow_plugin = recorded_plugin(kFullCard);
    Recorder::instance().set_latency(latency);
    for (auto _ : state) {
        SumByRule sums(plan);
        commit.ask(plan, sums, slow_plugin);
        for (const auto &[rule, sum] : sums.rules) {
            state.counters["requests:" + rule] = static_cast<double>(sum.requests());
            state.counters["ms:" + rule] =
                std::chrono::duration<double, std::milli>(sum.time).count();
        }
    }
    Recorder::instance().set_latency({});
    state.counters["links"] = kFullCard;
}

} // namespace

void register_latency()
{
    constexpr std::chrono::microseconds kLatency{100};
    for (const bool is_everyday : {true, false}) {
        benchmark::RegisterBenchmark(
            (std::string("latency/") + (is_everyday ? "everyday" : "rewriting")).c_str(),
            [=](benchmark::State &state) { measure_latency(state, is_everyday, kLatency); })
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    }
}

} // namespace bench

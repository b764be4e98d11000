/** What a whole commit costs, phase by phase. */
#include "benchmarks.h"
#include "card.h"
#include "commit.h"
#include "engine/data/yang_check.h"
#include "engine/edit/edit.h"
#include "rule_trial.h"
#include "stopwatch.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <string>

namespace bench
{
namespace
{

/** The shortest time of each phase, in milliseconds. */
class Phases
{
public:
    template <typename Work>
    auto time(const std::string &phase, const Work &work)
    {
        const Stopwatch stopwatch;
        auto result = work();
        note(phase, stopwatch.elapsed());
        return result;
    }

    void note(const std::string &phase, std::chrono::nanoseconds time)
    {
        const double taken = std::chrono::duration<double, std::milli>(time).count();
        const auto [found, is_new] = m_best.try_emplace(phase, taken);
        found->second = std::min(found->second, taken);
    }

    const std::map<std::string, double> &best() const { return m_best; }

private:
    std::map<std::string, double> m_best;
};

/** Adds up by rule. */
class ByRule : public engine::Observer
{
public:
    explicit ByRule(const std::vector<engine::Request> &plan) : m_plan(plan) {}

    void after(std::size_t request, const engine::Answer &answer) override
    {
        times["rule:" + m_plan[request].point->opaque] += answer.time;
        for (const auto &[call, count] : answer.calls) {
            requests += static_cast<double>(count);
        }
    }
    std::map<std::string, std::chrono::nanoseconds> times;
    double requests = 0;

private:
    const std::vector<engine::Request> &m_plan;
};

/** The yardstick: what libyang takes to read the same file. */
bool parse_with_libyang_alone(const engine::Source &text)
{
    lyd_node *tree = nullptr;
    const auto result = lyd_parse_data_mem(schema()->context(), text.text.c_str(), LYD_XML,
                                           LYD_PARSE_STRICT | LYD_PARSE_ONLY, 0, &tree);
    lyd_free_all(tree);
    return result == LY_SUCCESS;
}

void commit_once(const Card &card, const engine::Source &edit, Phases &phases, double &requests)
{
    phases.time("parse", [&] { return parse_with_libyang_alone(card.text()); });
    phases.time("load", [&] { return engine::Datastore::parse(schema(), card.text()); });
    auto candidate = phases.time("edit", [&] { return engine::apply_edit(card.running(), edit); });
    phases.time("YANG check", [&] {
        engine::check_yang(candidate, edit);
        return true;
    });
    Commit commit(card, std::move(candidate));
    phases.time("compare", [&] { return commit.transaction().changes().size(); });
    const auto plan = phases.time("plan", [&] { return engine::plan(commit.transaction()); });
    ByRule rules(plan);
    phases.time("rules", [&] { return commit.ask(plan, rules); });
    for (const auto &[rule, time] : rules.times) {
        phases.note(rule, time);
    }
    requests = rules.requests;
}

void measure_commit(benchmark::State &state, bool is_everyday, std::uint32_t links)
{
    forget_rule_trial();
    const Card &measured = card(links);
    const auto edit = is_everyday ? measured.everyday_edit() : measured.rewriting_edit();
    Phases phases;
    double requests = 0;
    for (auto _ : state) {
        commit_once(measured, edit, phases, requests);
    }
    for (const auto &[phase, time] : phases.best()) {
        state.counters[phase] = time;
    }
    state.counters["links"] = links;
    state.counters["requests"] = requests;
}

} // namespace

void register_commits()
{
    constexpr int kRounds = 5;
    for (const bool is_everyday : {true, false}) {
        for (const std::uint32_t links : kLinks) {
            benchmark::RegisterBenchmark(
                (std::string("commit/") + (is_everyday ? "everyday" : "rewriting") + "/" +
                 std::to_string(links))
                    .c_str(),
                [=](benchmark::State &state) { measure_commit(state, is_everyday, links); })
                ->Iterations(is_everyday || links < kFullCard ? kRounds : 2)
                ->Unit(benchmark::kMillisecond);
        }
    }
}

} // namespace bench

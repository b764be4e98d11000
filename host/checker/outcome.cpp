#include "checker/outcome.h"

#include "engine/data/document.h"

#include <algorithm>
#include <array>
#include <new>
#include <numeric>
#include <set>
#include <string_view>

namespace host
{

const char *name_of(Step step)
{
    switch (step) {
    case Step::kLoad:
        return "loading";
    case Step::kInit:
        return "lib_init";
    case Step::kName:
        return "get_validation_point";
    case Step::kValidate:
        return "validate";
    case Step::kFinish:
        return "lib_finish";
    }
    return "an unknown step";
}

const char *name_of(Result result)
{
    switch (result) {
    case Result::kAccepted:
        return "accepted";
    case Result::kRejected:
        return "rejected";
    case Result::kNotConfirmed:
        return "not-confirmed";
    case Result::kNotChecked:
        return "not-checked";
    case Result::kPluginDied:
        return "plugin-died";
    }
    return "unknown";
}

const char *name_of(Death::Kind kind)
{
    switch (kind) {
    case Death::Kind::kSignal:
        return "signal";
    case Death::Kind::kExit:
        return "exit";
    case Death::Kind::kException:
        return "exception";
    case Death::Kind::kTimeout:
        return "timeout";
    }
    return "unknown";
}

Result worse_of(Result one, Result other)
{
    constexpr std::array kFromWorst{Result::kPluginDied, Result::kNotChecked, Result::kRejected,
                                    Result::kNotConfirmed, Result::kAccepted};
    for (const Result result : kFromWorst) {
        if (one == result || other == result) {
            return result;
        }
    }
    return one;
}

void add_phase(std::vector<Phase> &phases, const Phase &phase)
{
    const auto found = std::find_if(phases.begin(), phases.end(), [&phase](const Phase &known) {
        return known.name == phase.name;
    });
    if (found == phases.end()) {
        phases.push_back(phase);
    } else {
        found->time += phase.time;
    }
}

bool Confirmation::covers(const std::string &rule) const
{
    return answer.value_or(false) || std::find(rules.begin(), rules.end(), rule) != rules.end();
}

std::set<std::string> Outcome::unconfirmed_rules() const
{
    std::set<std::string> left;
    for (const auto &run : runs) {
        if (run.answer.verdict == engine::Verdict::kWarning && !confirmation.covers(run.rule)) {
            left.insert(run.rule);
        }
    }
    return left;
}

bool Outcome::has(engine::Verdict verdict) const
{
    return std::any_of(runs.begin(), runs.end(),
                       [verdict](const RuleRun &run) { return run.answer.verdict == verdict; });
}

std::size_t Outcome::answered() const
{
    return std::accumulate(
        reused.begin(), reused.end(), runs.size(),
        [](std::size_t sum, const ReusedAnswers &answers) { return sum + answers.count; });
}

std::size_t Outcome::rules() const
{
    std::set<std::string_view> rules;
    for (const auto &run : runs) {
        rules.insert(run.rule);
    }
    for (const auto &answers : reused) {
        rules.insert(answers.rule);
    }
    return rules.size();
}

std::size_t Outcome::reused_count() const
{
    const auto among_runs =
        std::count_if(runs.begin(), runs.end(), [](const RuleRun &run) { return run.is_reused; });
    return answered() - runs.size() + static_cast<std::size_t>(among_runs);
}

Result Outcome::result() const
{
    if (!problems.empty()) {
        return Result::kNotChecked;
    }
    if (death) {
        return Result::kPluginDied;
    }
    const bool warns = has(engine::Verdict::kWarning);
    if (has(engine::Verdict::kRejected) || (warns && warnings_are_errors)) {
        return Result::kRejected;
    }
    if (!completed) {
        return Result::kNotChecked;
    }
    return unconfirmed_rules().empty() ? Result::kAccepted : Result::kNotConfirmed;
}

std::vector<SkippedPart> skipped_in(const engine::Schema &schema, const engine::Source &source,
                                    engine::Content content)
{
    std::vector<SkippedPart> parts;
    for (auto &nodes : engine::skipped_nodes(schema, source, content)) {
        parts.push_back({source.name, std::move(nodes)});
    }
    return parts;
}

std::vector<engine::Problem> problems_of(const std::exception &failure)
{
    if (const auto *input = dynamic_cast<const engine::InputError *>(&failure)) {
        return input->problems();
    }
    const bool no_memory = dynamic_cast<const std::bad_alloc *>(&failure) != nullptr;
    return {{engine::Fault::kInternal, "", 0, "",
             no_memory ? "out of memory" : engine::shortened(failure.what()), ""}};
}

std::vector<RuleSummary> summarise(const std::vector<RuleRun> &runs)
{
    std::vector<RuleSummary> summaries;
    std::map<std::string, std::size_t> places;
    std::set<std::pair<std::string, std::string>> seen_causes;
    for (const auto &run : runs) {
        const auto [place, is_new] = places.emplace(run.rule, summaries.size());
        if (is_new) {
            summaries.emplace_back();
            summaries.back().rule = run.rule;
        }
        RuleSummary &summary = summaries[place->second];
        ++summary.instances;
        summary.verdict = std::max(summary.verdict, run.answer.verdict);
        summary.time += run.answer.time;
        for (const auto &[name, count] : run.answer.calls) {
            summary.calls[name] += count;
            summary.call_count += count;
        }
        if (seen_causes.emplace(run.rule, run.cause).second) {
            summary.causes.push_back(run.cause);
        }
    }
    return summaries;
}

} // namespace host

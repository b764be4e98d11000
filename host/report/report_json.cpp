#include "report/report_json.h"

#include "report/assumptions.h"
#include "report/finding.h"
#include "report/report_diff.h"
#include "report/report_reads.h"
#include "report/report_text.h"

namespace host
{
namespace
{

using Json = nlohmann::ordered_json;

const char *word_for(engine::Verdict verdict)
{
    switch (verdict) {
    case engine::Verdict::kAccepted:
        return "accepted";
    case engine::Verdict::kWarning:
        return "warning";
    case engine::Verdict::kRejected:
        return "rejected";
    }
    return "unknown";
}

std::int64_t microseconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration_cast<std::chrono::microseconds>(time).count();
}

Json cause(const std::optional<ChangedNode> &changed)
{
    if (!changed) {
        return {};
    }
    Json json{{"path", changed->path}, {"operation", changed->operation}};
    if (changed->before) {
        json["before"] = *changed->before;
    }
    if (changed->after) {
        json["after"] = *changed->after;
    }
    return json;
}

void add_evidence(Json &remark, const Evidence &evidence)
{
    const auto &[file, line, column] = evidence.location;
    remark["cause"] = cause(evidence.cause);
    remark["location"] = {{"file", file}, {"line", line}, {"column", column}};
    remark["new"] = evidence.is_new ? Json(*evidence.is_new) : Json();
}

Json remarks(const Outcome &outcome, engine::Verdict verdict)
{
    Json array = Json::array();
    for (const auto &run : outcome.runs) {
        if (run.answer.verdict == verdict) {
            Json remark{{"rule", run.rule},
                        {"path", run.path},
                        {"result", run.answer.result},
                        {"text", run.answer.text},
                        {"resolution", resolution_of(run.rule, run.answer.text)}};
            add_evidence(remark, run.evidence.value_or(Evidence{}));
            array.push_back(std::move(remark));
        }
    }
    return array;
}

Json unchecked_links(const Outcome &outcome)
{
    Json array = Json::array();
    for (const auto &unchecked : outcome.unchecked_links) {
        array.push_back({{"link", unchecked.link}, {"missing", unchecked.missing}});
    }
    return array;
}

Json confirmation(const Confirmation &confirmation)
{
    Json json{{"needed", confirmation.needed}};
    json["answer"] = confirmation.answer ? Json(*confirmation.answer ? "yes" : "no") : Json();
    if (!confirmation.rules.empty()) {
        json["rules"] = confirmation.rules;
    }
    return json;
}

Json death(const Outcome &outcome)
{
    const Death &end = *outcome.death;
    Json json{{"kind", name_of(end.kind)}, {"step", name_of(end.step)},
              {"rule", end.rule},          {"path", end.path},
              {"number", end.number},      {"exception", end.exception},
              {"sentence", sentence(end)}};
    return json;
}

Json requests(const Outcome &outcome)
{
    Json array = Json::array();
    for (const auto &run : outcome.runs) {
        array.push_back({{"rule", run.rule},
                         {"path", run.path},
                         {"cause", run.cause},
                         {"verdict", word_for(run.answer.verdict)},
                         {"calls", run.answer.calls},
                         {"time-us", microseconds(run.answer.time)}});
    }
    return array;
}

Json explanation(const Outcome &outcome)
{
    Json rules = Json::array();
    for (const auto &summary : summarise(outcome.runs)) {
        rules.push_back({{"rule", summary.rule},
                         {"requests", summary.instances},
                         {"verdict", word_for(summary.verdict)},
                         {"calls", summary.calls},
                         {"time-us", microseconds(summary.time)},
                         {"reads", json_reads(outcome, summary.rule)}});
    }
    Json phases = Json::array();
    for (const auto &phase : outcome.phases) {
        phases.push_back({{"phase", phase.name}, {"time-us", microseconds(phase.time)}});
    }
    return {{"planned", outcome.planned},
            {"requests", requests(outcome)},
            {"reused", outcome.reused_count()},
            {"rules", rules},
            {"phases", phases}};
}

} // namespace

Json json_problems(const std::vector<engine::Problem> &found)
{
    Json array = Json::array();
    for (const auto &problem : found) {
        array.push_back({{"fault", engine::names_of(problem.fault).identifier},
                         {"source", problem.source},
                         {"line", problem.line},
                         {"column", problem.column},
                         {"path", problem.path},
                         {"message", problem.message},
                         {"hint", problem.hint}});
    }
    return array;
}

Json json_skipped(const std::vector<SkippedPart> &skipped)
{
    Json array = Json::array();
    for (const auto &[file, nodes] : skipped) {
        array.push_back({{"source", file},
                         {"line", nodes.place.line},
                         {"column", nodes.place.column},
                         {"model", nodes.space},
                         {"name", nodes.name},
                         {"nodes", nodes.count}});
    }
    return array;
}

Json json_report(const Outcome &outcome, bool with_explanation)
{
    Json json{{"result", name_of(outcome.result())},
              {"exit-code", static_cast<int>(outcome.result())},
              {"running", outcome.running}};
    if (outcome.form != ChangeForm::kNone) {
        json[outcome.form == ChangeForm::kEdit ? "edit" : "candidate"] = outcome.change;
    }
    json["differs"] = outcome.differs;
    for (const auto &filter : outcome.only) {
        json["only"] = {{"rule", filter.rule}, {"path", filter.path}};
    }
    json["rules-ran"] = outcome.rules();
    json["requests-made"] = outcome.answered();
    json["rejections"] = remarks(outcome, engine::Verdict::kRejected);
    json["warnings"] = remarks(outcome, engine::Verdict::kWarning);
    json["unchecked-links"] = unchecked_links(outcome);
    if (const auto assumed = assumed_capabilities(outcome); !assumed.empty()) {
        for (const auto &[name, value] : assumed) {
            json["assumed"][name] = value;
        }
    }
    json["confirmation"] = confirmation(outcome.confirmation);
    json["problems"] = json_problems(outcome.problems);
    if (!outcome.skipped.empty()) {
        json["skipped"] = json_skipped(outcome.skipped);
    }
    if (outcome.differences) {
        json["changes"] = json_differences(*outcome.differences);
    }
    if (outcome.death) {
        json["death"] = death(outcome);
    }
    if ((outcome.death || !outcome.problems.empty()) && !outcome.plugin_output.empty()) {
        json["plugin-output"] = outcome.plugin_output;
    }
    if (with_explanation) {
        json["explanation"] = explanation(outcome);
    }
    return json;
}

std::string print_json(const Json &json, bool for_terminal)
{
    return json.dump(2, ' ', for_terminal, Json::error_handler_t::replace) + '\n';
}

std::string print_json_line(const Json &json, bool for_terminal)
{
    return json.dump(-1, ' ', for_terminal, Json::error_handler_t::replace) + '\n';
}

} // namespace host

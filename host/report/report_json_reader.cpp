#include "report/report_json_reader.h"

#include <string_view>
#include <utility>

namespace host
{
namespace
{

using Json = nlohmann::json;

/** The value of an enumeration whose name this is. @throws Json::exception as other faults do */
template <typename Value, typename NameOf>
Value value_named(const std::string &name, Value last, const NameOf &name_of_value)
{
    for (int i = 0; i <= static_cast<int>(last); ++i) {
        if (name_of_value(static_cast<Value>(i)) == name) {
            return static_cast<Value>(i);
        }
    }
    throw Json::other_error::create(0, "unknown name " + name, nullptr);
}

Evidence read_evidence(const Json &remark)
{
    Evidence evidence;
    if (const auto &cause = remark.at("cause"); !cause.is_null()) {
        evidence.cause = ChangedNode{cause.at("path"), cause.at("operation"), {}, {}};
        for (const auto &[name, value] :
             {std::pair("before", &evidence.cause->before), {"after", &evidence.cause->after}}) {
            if (cause.contains(name)) {
                *value = cause[name].get<std::string>();
            }
        }
    }
    const auto &location = remark.at("location");
    evidence.location = {location.at("file"), location.at("line"), location.at("column")};
    if (const auto &is_new = remark.at("new"); !is_new.is_null()) {
        evidence.is_new = is_new.get<bool>();
    }
    return evidence;
}

void read_remarks(const Json &remarks, engine::Verdict verdict, Outcome &outcome)
{
    for (const auto &remark : remarks) {
        RuleRun run;
        run.rule = remark.at("rule");
        run.path = remark.at("path");
        run.answer.verdict = verdict;
        run.answer.result = remark.at("result");
        run.answer.text = remark.at("text");
        run.evidence = read_evidence(remark);
        outcome.runs.push_back(std::move(run));
    }
}

engine::Problem read_problem(const Json &json)
{
    engine::Problem problem;
    problem.fault = value_named(json.at("fault").get<std::string>(), engine::Fault::kInternal,
                                [](engine::Fault fault) { return names_of(fault).identifier; });
    problem.source = json.at("source");
    problem.line = json.at("line");
    problem.column = json.at("column");
    problem.path = json.at("path");
    problem.message = json.at("message");
    problem.hint = json.at("hint");
    return problem;
}

SkippedPart read_skipped(const Json &json)
{
    SkippedPart part;
    part.file = json.at("source");
    part.nodes.place.line = json.at("line");
    part.nodes.place.column = json.at("column");
    part.nodes.space = json.at("model");
    part.nodes.name = json.at("name");
    part.nodes.count = json.at("nodes");
    return part;
}

Death read_death(const Json &json)
{
    Death death;
    death.kind = value_named(json.at("kind").get<std::string>(), Death::Kind::kTimeout,
                             [](Death::Kind kind) { return name_of(kind); });
    death.step = value_named(json.at("step").get<std::string>(), Step::kFinish,
                             [](Step step) { return name_of(step); });
    death.rule = json.at("rule");
    death.path = json.at("path");
    death.number = json.at("number");
    death.exception = json.at("exception");
    return death;
}

Confirmation read_confirmation(const Json &json)
{
    Confirmation confirmation;
    confirmation.needed = json.at("needed");
    if (const auto &answer = json.at("answer"); !answer.is_null()) {
        confirmation.answer = answer.get<std::string>() == "yes";
        confirmation.by_option = true;
    }
    confirmation.rules = json.value("rules", std::vector<std::string>());
    return confirmation;
}

Outcome read(const Json &report)
{
    Outcome outcome;
    outcome.running = report.at("running");
    if (const auto edit = report.find("edit"); edit != report.end()) {
        outcome.form = ChangeForm::kEdit;
        outcome.change = *edit;
    } else if (const auto candidate = report.find("candidate"); candidate != report.end()) {
        outcome.form = ChangeForm::kCandidate;
        outcome.change = *candidate;
    }
    outcome.differs = report.at("differs");
    read_remarks(report.at("rejections"), engine::Verdict::kRejected, outcome);
    read_remarks(report.at("warnings"), engine::Verdict::kWarning, outcome);
    for (const auto &link : report.at("unchecked-links")) {
        outcome.unchecked_links.push_back({link.at("link"), link.at("missing")});
    }
    outcome.assumes_card = report.contains("assumed");
    outcome.confirmation = read_confirmation(report.at("confirmation"));
    for (const auto &problem : report.at("problems")) {
        outcome.problems.push_back(read_problem(problem));
    }
    for (const auto &part : report.value("skipped", Json::array())) {
        outcome.skipped.push_back(read_skipped(part));
    }
    if (const auto death = report.find("death"); death != report.end()) {
        outcome.death = read_death(*death);
    }
    outcome.plugin_output = report.value("plugin-output", "");
    const auto result = static_cast<Result>(report.at("exit-code").get<int>());
    outcome.completed = result == Result::kAccepted || result == Result::kNotConfirmed;
    outcome.warnings_are_errors =
        result == Result::kRejected && !outcome.has(engine::Verdict::kRejected);
    return outcome;
}

} // namespace

std::optional<Outcome> read_json_report(const Json &report)
{
    try {
        Outcome outcome = read(report);
        const bool agrees = report.at("exit-code") == static_cast<int>(outcome.result());
        return agrees ? std::make_optional(std::move(outcome)) : std::nullopt;
    } catch (const Json::exception &) {
        return std::nullopt;
    }
}

} // namespace host

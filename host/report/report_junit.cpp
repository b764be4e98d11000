#include "report/report_junit.h"

#include "report/finding_place.h"
#include "report/printable.h"
#include "report/words.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <pugixml.hpp>
#include <sstream>

namespace host
{
namespace
{

using End = JunitCase::End;

constexpr const char *kProgram = "gpon-validate";
constexpr const char *kCandidate = "candidate";
constexpr const char *kPlugin = "plug-in";
constexpr const char *kRulesPhase = "rules";

/** Warnings that were confirmed, and notes, stop nothing. */
End end_of(const Finding &finding, Result result)
{
    switch (finding.kind) {
    case Finding::Kind::kProblem:
    case Finding::Kind::kDeath:
        return End::kError;
    case Finding::Kind::kRejection:
        return End::kFailure;
    case Finding::Kind::kWarning:
        return result == Result::kNotConfirmed ? End::kFailure : End::kPassed;
    case Finding::Kind::kUncheckedLink:
    case Finding::Kind::kSkipped:
        break;
    }
    return End::kPassed;
}

/** The first of its worst findings is the reason. */
void judge(JunitCase &judged, Result result)
{
    for (const auto &finding : judged.findings) {
        const End end = end_of(finding, result);
        if (end > judged.end) {
            judged.end = end;
            judged.reason = on_one_line(finding.text);
            judged.type = finding.id;
        }
    }
}

/** The case of a finding about one change. */
std::string case_of(const Finding &finding)
{
    switch (finding.kind) {
    case Finding::Kind::kProblem:
        return finding.id == engine::names_of(engine::Fault::kUnusablePlugin).identifier
                   ? kPlugin
                   : kCandidate;
    case Finding::Kind::kUncheckedLink:
    case Finding::Kind::kSkipped:
        return kCandidate;
    default:
        return finding.id;
    }
}

JunitCase &case_named(std::vector<JunitCase> &cases, const std::string &name)
{
    const auto known = std::find_if(cases.begin(), cases.end(),
                                    [&](const JunitCase &each) { return each.name == name; });
    return known != cases.end() ? *known : cases.emplace_back(JunitCase{name});
}

std::vector<JunitCase> cases_of_change(const Outcome &outcome)
{
    std::vector<JunitCase> cases{{kCandidate}};
    for (const auto &phase : outcome.phases) {
        if (phase.name != kRulesPhase) {
            cases.front().time += phase.time;
        }
    }
    for (const auto &rule : summarise(outcome.runs)) {
        cases.push_back({rule.rule, rule.time});
    }
    for (const auto &finding : findings_of(outcome)) {
        case_named(cases, case_of(finding)).findings.push_back(finding);
    }
    for (auto &each : cases) {
        judge(each, outcome.result());
    }
    return cases;
}

JunitCase case_of_edit(const Outcome &outcome)
{
    JunitCase edit{outcome.change.empty() ? kProgram : outcome.change};
    for (const auto &phase : outcome.phases) {
        edit.time += phase.time;
    }
    edit.findings = findings_of(outcome);
    judge(edit, outcome.result());
    if (edit.end == End::kPassed && outcome.result() != Result::kAccepted) {
        edit.end = End::kError;
        edit.reason = words_for(outcome.result());
    }
    return edit;
}

std::string seconds(std::chrono::nanoseconds time)
{
    std::array<char, 32> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%.6f",
                                    std::chrono::duration<double>(time).count()));
    return text.data();
}

std::string lines_of(const std::vector<Finding> &findings)
{
    std::ostringstream lines;
    for (const auto &finding : findings) {
        const FileLocation &place = finding.evidence.location;
        if (!place.file.empty()) {
            lines << place.file << ':';
        }
        if (place.line != 0) {
            lines << place.line << ':';
        }
        if (place.column != 0) {
            lines << place.column << ':';
        }
        lines << (place.file.empty() ? "" : " ") << finding.id << ": " << finding.text << '\n';
        for (const auto &more : {finding.path, cause_of(finding), finding.help}) {
            if (!more.empty()) {
                lines << "  " << more << '\n';
            }
        }
    }
    return printable_lines(lines.str());
}

/** XML cannot carry every character, whatever its escapes. */
void set(pugi::xml_node node, const char *name, const std::string &value)
{
    node.append_attribute(name).set_value(printable(value).c_str());
}

void set(pugi::xml_node node, const char *name, std::size_t value)
{
    node.append_attribute(name).set_value(static_cast<unsigned long long>(value));
}

void append_case(pugi::xml_node suite, const JunitCase &each)
{
    auto node = suite.append_child("testcase");
    set(node, "classname", kProgram);
    set(node, "name", each.name);
    set(node, "time", seconds(each.time));
    const std::string lines = lines_of(each.findings);
    if (each.end == End::kPassed) {
        if (!lines.empty()) {
            node.append_child("system-out").text().set(lines.c_str());
        }
        return;
    }
    if (each.end == End::kSkipped) {
        set(node.append_child("skipped"), "message", each.reason);
        return;
    }
    auto fault = node.append_child(each.end == End::kError ? "error" : "failure");
    set(fault, "message", each.reason);
    set(fault, "type", each.type.empty() ? kProgram : each.type);
    fault.text().set(lines.c_str());
}

void set_sums(pugi::xml_node node, const std::vector<JunitCase> &cases)
{
    const auto count = [&cases](End end) {
        return static_cast<std::size_t>(std::count_if(
            cases.begin(), cases.end(), [end](const JunitCase &each) { return each.end == end; }));
    };
    std::chrono::nanoseconds time{0};
    for (const auto &each : cases) {
        time += each.time;
    }
    set(node, "tests", cases.size());
    set(node, "failures", count(End::kFailure));
    set(node, "errors", count(End::kError));
    if (std::string_view(node.name()) == "testsuite") {
        set(node, "skipped", count(End::kSkipped));
    }
    set(node, "time", seconds(time));
}

} // namespace

std::string JunitReport::conclusion(const Outcome &outcome, Place /*place*/)
{
    if (m_settings.is_series) {
        m_suite = outcome.running;
        m_cases.push_back(case_of_edit(outcome));
    } else {
        m_suite = outcome.change.empty() ? outcome.running : outcome.change;
        m_cases = cases_of_change(outcome);
    }
    return {};
}

std::string JunitReport::end(const RunSummary &summary)
{
    for (const auto &edit : summary.left_out) {
        m_cases.push_back(
            {edit, {}, {}, End::kSkipped, "not checked, after " + summary.stopped_at});
    }
    const auto has_fault = [](const JunitCase &each) {
        return each.end == End::kFailure || each.end == End::kError;
    };
    if (summary.worst != Result::kAccepted &&
        std::none_of(m_cases.begin(), m_cases.end(), has_fault)) {
        m_cases.push_back({kProgram, {}, {}, End::kError, words_for(summary.worst)});
    }
    pugi::xml_document document;
    auto declaration = document.append_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    declaration.append_attribute("encoding") = "UTF-8";
    auto suites = document.append_child("testsuites");
    set(suites, "name", kProgram);
    set_sums(suites, m_cases);
    auto suite = suites.append_child("testsuite");
    set(suite, "name", m_suite.empty() ? kProgram : m_suite);
    set_sums(suite, m_cases);
    for (const auto &each : m_cases) {
        append_case(suite, each);
    }
    std::ostringstream text;
    document.save(text, "  ");
    return text.str();
}

} // namespace host

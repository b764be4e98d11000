#include "report/finding.h"

#include "report/report_text.h"
#include "rules/rules.h"

#include <algorithm>
#include <string_view>

namespace host
{
namespace
{

/** Whether a text is one of a rule's, in which what varies stands in braces. */
bool fits(std::string_view pattern, std::string_view text)
{
    const auto open = pattern.find('{');
    if (open == std::string_view::npos) {
        return pattern == text;
    }
    if (text.substr(0, open) != pattern.substr(0, open)) {
        return false;
    }
    const auto rest = pattern.substr(pattern.find('}', open) + 1);
    for (auto end = open; end <= text.size(); ++end) {
        if (fits(rest, text.substr(end))) {
            return true;
        }
    }
    return false;
}

/** Null: no text of the rule fits. */
const RuleText *find_text(const std::string &rule, const std::string &text)
{
    const Rule *known = find_rule(rule);
    if (known == nullptr) {
        return nullptr;
    }
    const auto said = std::find_if(known->texts.begin(), known->texts.end(),
                                   [&](const RuleText &each) { return fits(each.text, text); });
    return said != known->texts.end() ? &*said : nullptr;
}

Finding finding_of(const RuleRun &run)
{
    const bool is_warning = run.answer.verdict == engine::Verdict::kWarning;
    Finding finding;
    finding.kind = is_warning ? Finding::Kind::kWarning : Finding::Kind::kRejection;
    finding.severity = is_warning ? Severity::kWarning : Severity::kError;
    finding.id = run.rule;
    finding.path = run.path;
    finding.text = text_of(run.answer);
    finding.help = resolution_of(run.rule, run.answer.text);
    if (run.evidence) {
        finding.evidence = *run.evidence;
    }
    return finding;
}

Finding finding_of(const engine::Problem &problem)
{
    Finding finding;
    finding.id = engine::names_of(problem.fault).identifier;
    finding.path = problem.path;
    finding.text = problem.message;
    finding.help = problem.hint;
    finding.evidence.location = {problem.source, problem.line, problem.column};
    return finding;
}

Finding finding_of(const Death &death)
{
    Finding finding;
    finding.kind = Finding::Kind::kDeath;
    finding.id = death.rule.empty() ? "plugin-died" : death.rule;
    finding.path = death.path;
    finding.text = sentence(death);
    return finding;
}

Finding finding_of(const UncheckedLink &unchecked)
{
    Finding finding;
    finding.kind = Finding::Kind::kUncheckedLink;
    finding.severity = Severity::kNote;
    finding.id = "unchecked-link";
    finding.path = unchecked.missing;
    finding.text =
        "PON link " + unchecked.link + " has no entry here, and no bandwidth check looks at it";
    return finding;
}

void append_remarks(std::vector<Finding> &findings, const Outcome &outcome, engine::Verdict verdict)
{
    for (const auto &run : outcome.runs) {
        if (run.answer.verdict == verdict) {
            findings.push_back(finding_of(run));
            if (outcome.warnings_are_errors) {
                findings.back().severity = Severity::kError;
            }
        }
    }
}

} // namespace

std::vector<Finding> findings_of(const Outcome &outcome)
{
    std::vector<Finding> findings;
    for (const auto &problem : outcome.problems) {
        findings.push_back(finding_of(problem));
    }
    append_remarks(findings, outcome, engine::Verdict::kRejected);
    append_remarks(findings, outcome, engine::Verdict::kWarning);
    for (const auto &unchecked : outcome.unchecked_links) {
        findings.push_back(finding_of(unchecked));
    }
    if (outcome.death) {
        findings.push_back(finding_of(*outcome.death));
    }
    return findings;
}

std::string resolution_of(const std::string &rule, const std::string &text)
{
    const RuleText *known = find_text(rule, text);
    return known != nullptr ? known->resolve : std::string();
}

std::string pattern_of(const std::string &rule, const std::string &text)
{
    const RuleText *known = find_text(rule, text);
    return known != nullptr ? known->text : text;
}

} // namespace host

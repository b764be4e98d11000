#include "report/finding.h"

#include "report/words.h"
#include "rules/rules.h"

#include <algorithm>
#include <sstream>
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

std::string guarded_by(const std::string &rule)
{
    const Rule *known = find_rule(rule);
    return known == nullptr ? "" : known->guards;
}

/** Some rules end their texts with a newline, which means nothing. */
std::string without_end(std::string text)
{
    text.erase(text.find_last_not_of(" \n") + 1);
    return text;
}

const RuleText *text_that_fits(const Rule &rule, std::string_view said)
{
    const auto found = std::find_if(rule.texts.begin(), rule.texts.end(),
                                    [said](const RuleText &text) { return fits(text.text, said); });
    return found == rule.texts.end() ? nullptr : &*found;
}

/** Some rules object to several things at once: a line for each. */
std::string resolution_of_lines(const Rule &rule, const std::string &said)
{
    std::string resolution;
    std::istringstream lines(said);
    for (std::string line; std::getline(lines, line);) {
        if (const RuleText *text = text_that_fits(rule, line); text != nullptr) {
            resolution += (resolution.empty() ? "" : " ") + text->resolve;
        }
    }
    return resolution;
}

Finding finding_of(const RuleRun &run)
{
    const bool is_warning = run.answer.verdict == engine::Verdict::kWarning;
    Finding finding;
    finding.kind = is_warning ? Finding::Kind::kWarning : Finding::Kind::kRejection;
    finding.severity = is_warning ? Severity::kWarning : Severity::kError;
    finding.id = run.rule;
    finding.path = run.path;
    finding.text = without_end(text_of(run.answer));
    finding.help = resolution_of(run.rule, run.answer.text);
    finding.about = guarded_by(run.rule);
    if (run.evidence) {
        finding.evidence = *run.evidence;
    }
    return finding;
}

Finding finding_of(const engine::Problem &problem)
{
    Finding finding;
    finding.id = engine::names_of(problem.fault).identifier;
    finding.about = engine::names_of(problem.fault).sentence;
    finding.path = problem.path;
    finding.text = problem.message;
    finding.help = problem.hint;
    finding.culprit = problem.culprit;
    finding.evidence.location = {problem.source, problem.line, problem.column};
    return finding;
}

Finding finding_of(const Death &death)
{
    Finding finding;
    finding.kind = Finding::Kind::kDeath;
    finding.id = death.rule.empty() ? "plugin-died" : death.rule;
    finding.about = death.rule.empty() ? "The plug-in came to an end that it should not come to."
                                       : guarded_by(death.rule);
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
    finding.about = "No bandwidth check looks at a PON link that the change touches.";
    finding.path = unchecked.missing;
    finding.text =
        "PON link " + unchecked.link + " has no entry here, and no bandwidth check looks at it";
    return finding;
}

Finding finding_of(const SkippedPart &skipped)
{
    const auto &nodes = skipped.nodes;
    Finding finding;
    finding.kind = Finding::Kind::kSkipped;
    finding.severity = Severity::kNote;
    finding.id = "skipped-nodes";
    finding.text = skipped_text(nodes);
    finding.evidence.location = {skipped.file, nodes.place.line,
                                 static_cast<unsigned>(nodes.place.column)};
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
    for (const auto &skipped : outcome.skipped) {
        findings.push_back(finding_of(skipped));
    }
    for (const auto &unchecked : outcome.unchecked_links) {
        findings.push_back(finding_of(unchecked));
    }
    if (outcome.death) {
        findings.push_back(finding_of(*outcome.death));
    }
    return findings;
}

bool is_known(const Finding &finding)
{
    return finding.evidence.is_new == false;
}

std::string cause_of(const Finding &finding)
{
    const auto &cause = finding.evidence.cause;
    if (!cause) {
        return {};
    }
    std::string text = "because " + (cause->path == finding.path ? "it" : cause->path) + " " +
                       (cause->operation == "changed" ? "" : "was ") + cause->operation;
    if (cause->before && cause->after) {
        return text + ": " + *cause->before + " → " + *cause->after;
    }
    if (cause->after) {
        return text + ": " + *cause->after;
    }
    return text + (cause->before ? " (" + *cause->before + ")" : "");
}

std::string resolution_of(const std::string &rule, const std::string &text)
{
    const Rule *known = find_rule(rule);
    if (known == nullptr) {
        return {};
    }
    const RuleText *whole = text_that_fits(*known, without_end(text));
    return whole != nullptr ? whole->resolve : resolution_of_lines(*known, text);
}

std::string pattern_of(const std::string &rule, const std::string &text)
{
    const Rule *known = find_rule(rule);
    const std::string said = without_end(text);
    const RuleText *whole = known != nullptr ? text_that_fits(*known, said) : nullptr;
    return whole != nullptr ? whole->text : said;
}

} // namespace host

#include "report/report_text.h"

#include "report/assumptions.h"
#include "report/printable.h"
#include "report/words.h"

#include <ostream>
#include <sstream>
#include <string_view>

namespace host
{
namespace
{

constexpr std::size_t kMaxOutputLines = 40;

std::vector<std::string> lines_of(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

void print_plugin_output(std::ostream &out, const std::string &output)
{
    const auto lines = lines_of(output);
    if (lines.empty()) {
        return;
    }
    const std::size_t first = lines.size() > kMaxOutputLines ? lines.size() - kMaxOutputLines : 0;
    out << (first == 0 ? "The plug-in had written:\n" : "The plug-in had written, in the end:\n");
    for (std::size_t i = first; i < lines.size(); ++i) {
        out << "  " << printable(lines[i]) << '\n';
    }
}

std::string accepted_sentence(const Outcome &outcome)
{
    if (!outcome.only.empty()) {
        return "No objection (" + plural(outcome.answered(), "request") + ").";
    }
    std::string text = outcome.confirmation.needed ? "Accepted after confirmation. " : "Accepted. ";
    if (!outcome.differs) {
        text += "The candidate does not differ from the running configuration. ";
    }
    if (outcome.answered() == 0) {
        return text + "No rules apply.";
    }
    return text + plural(outcome.rules(), "rule") + " ran (" +
           plural(outcome.answered(), "request") + ").";
}

std::string not_confirmed_sentence(const Outcome &outcome)
{
    if (outcome.confirmation.answer) {
        return "Not confirmed.";
    }
    if (outcome.confirmation.rules.empty()) {
        return "Not confirmed: nobody answered. Answer beforehand with --yes or --no.";
    }
    std::string left;
    for (const auto &rule : outcome.unconfirmed_rules()) {
        left += (left.empty() ? "" : ", ") + rule;
    }
    return "Not confirmed: nobody answered, and --yes does not name " + left + ".";
}

} // namespace

void print_skipped(std::ostream &out, const std::vector<SkippedPart> &skipped, const Style &style)
{
    for (const auto &[file, nodes] : skipped) {
        out << style.strong(printable(file)) << ':' << nodes.place.line << ':' << nodes.place.column
            << ": " << printable(skipped_text(nodes)) << '\n';
    }
}

void print_problems(std::ostream &out, const std::vector<engine::Problem> &problems,
                    const Style &style)
{
    for (const auto &problem : problems) {
        out << location_text({problem.source, problem.line, problem.column}, style);
        if (!problem.path.empty()) {
            out << printable(problem.path) << ": ";
        }
        out << printable(problem.message) << '\n';
        if (!problem.hint.empty()) {
            out << "  " << printable(problem.hint) << '\n';
        }
    }
}

void print_findings(std::ostream &out, const Outcome &outcome, const Style &style,
                    const TextDetail &detail)
{
    print_problems(out, outcome.problems, style);
    print_skipped(out, outcome.skipped, style);
    print_remarks(out, findings_of(outcome), style, detail);
    for (const auto &unchecked : outcome.unchecked_links) {
        out << style.warning("Not covered by a bandwidth check:") << " PON link "
            << printable(unchecked.link) << " has no entry under " << printable(unchecked.missing)
            << ".\n";
    }
    if (outcome.death) {
        out << style.bad(printable(sentence(*outcome.death))) << ".\n";
    }
    if (outcome.death || !outcome.problems.empty()) {
        print_plugin_output(out, outcome.plugin_output);
    }
}

void print_conclusion(std::ostream &out, const Outcome &outcome, const Style &style)
{
    for (const auto &filter : outcome.only) {
        out << "Only " << filter.rule << " was asked" << (filter.path.empty() ? "" : " at ")
            << printable(filter.path) << ": this is no verdict on the change.\n";
    }
    const auto assumed = assumed_capabilities(outcome);
    for (const auto &[name, value] : assumed) {
        out << (name == assumed.front().first ? "Assumed, because there is no --card: " : ", ")
            << name << ' ' << value;
    }
    out << (assumed.empty() ? "" : ".\n");
    if (outcome.confirmation.by_option) {
        out << "Proceed? [yes,no] " << (*outcome.confirmation.answer ? "yes" : "no") << '\n';
    }
    switch (outcome.result()) {
    case Result::kAccepted:
        out << style.good(accepted_sentence(outcome)) << '\n';
        break;
    case Result::kRejected:
        out << style.bad(outcome.has(engine::Verdict::kRejected)
                             ? "Rejected."
                             : "Rejected: warnings count as errors.")
            << '\n';
        break;
    case Result::kNotConfirmed:
        out << style.warning(not_confirmed_sentence(outcome)) << '\n';
        break;
    case Result::kNotChecked:
        out << style.bad("Not checked.") << '\n';
        break;
    case Result::kPluginDied:
        out << style.bad("Inconclusive: the plug-in died.") << '\n';
        break;
    }
}

} // namespace host

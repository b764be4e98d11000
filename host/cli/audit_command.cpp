#include "cli/audit_command.h"

#include "audit/audit.h"
#include "checker/checker.h"
#include "cli/check_inputs.h"
#include "cli/check_report.h"
#include "report/printable.h"
#include "report/report_json.h"

#include <algorithm>
#include <optional>
#include <ostream>
#include <utility>

namespace host
{
namespace
{

using Json = nlohmann::ordered_json;
using Kind = AuditFinding::Kind;

void print_findings(std::ostream &out, const std::vector<AuditFinding> &findings, Kind kind,
                    const char *heading)
{
    bool has_heading = false;
    for (const auto &finding : findings) {
        if (finding.kind != kind) {
            continue;
        }
        out << (has_heading ? "" : heading);
        has_heading = true;
        out << "  " << finding.rule << " at " << finding.point << "\n    " << finding.path << '\n';
        if (const auto &reason = reason_for(finding); !reason.empty()) {
            out << "      known: " << reason << '\n';
        }
    }
}

void print_text(std::ostream &out, const Audit &audit, const std::vector<AuditFinding> &findings,
                std::size_t unknown)
{
    print_findings(out, findings, Kind::kUncovered,
                   "Read, but no dependency covers it: a change there would slip through.\n");
    print_findings(out, findings, Kind::kUnread,
                   "Declared as a dependency, but never read: it costs time only.\n");
    out << audit.points() << " validation points asked, " << findings.size() << " findings, "
        << unknown << " of them without a known reason.\n";
}

Json to_json(const Audit &audit, const std::vector<AuditFinding> &findings)
{
    Json array = Json::array();
    for (const auto &finding : findings) {
        array.push_back({{"finding", word_for(finding.kind)},
                         {"rule", finding.rule},
                         {"point", finding.point},
                         {"path", finding.path},
                         {"reason", reason_for(finding)}});
    }
    return {{"points-asked", audit.points()}, {"findings", array}};
}

/** Asks everything about one change. @return What came in the way, if something did. */
std::optional<Outcome> add(Checker &checker, const Change &change, const CheckOptions &options,
                           Audit &audit)
{
    Policy policy = policy_of(options);
    policy.all = true;
    policy.everything = true;
    policy.reads = engine::ReadLog::Mode::kPlaces;
    CheckListener nobody;
    Outcome outcome = checker.check(change, policy, nobody);
    audit.add(outcome.runs);
    const bool is_asked = outcome.completed;
    return is_asked ? std::nullopt : std::make_optional(std::move(outcome));
}

} // namespace

int run_audit(const CheckOptions &options, const Console &console)
{
    Audit audit;
    std::optional<Outcome> failure;
    try {
        CardInputs inputs = read_card(options);
        Checker checker(inputs.card, std::move(inputs.running), options.plugin);
        failure = add(checker, {}, options, audit);
        for (std::size_t i = 0; i < options.edits.size() && !failure; ++i) {
            const Change change{ChangeForm::kEdit, read_input(options.edits[i], options)};
            failure = add(checker, change, options, audit);
        }
    } catch (const std::exception &caught) {
        failure.emplace();
        failure->problems = problems_of(caught);
    }
    if (failure) {
        print_report(*failure, options, console);
        return static_cast<int>(failure->result());
    }
    const auto findings = audit.findings();
    const auto unknown = static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(),
                      [](const AuditFinding &each) { return reason_for(each).empty(); }));
    if (options.json) {
        console.out << print_json(to_json(audit, findings), console.out_is_terminal);
    } else {
        print_text(console.out, audit, findings, unknown);
    }
    flush_or_throw(console.out);
    return static_cast<int>(unknown == 0 ? Result::kAccepted : Result::kRejected);
}

} // namespace host

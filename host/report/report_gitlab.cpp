#include "report/report_gitlab.h"

#include "report/report_json.h"

namespace host
{
namespace
{

const char *severity_of(const Finding &finding)
{
    if (finding.kind == Finding::Kind::kDeath) {
        return "blocker";
    }
    switch (is_known(finding) ? Severity::kNote : finding.severity) {
    case Severity::kNote:
        return "info";
    case Severity::kWarning:
        return "minor";
    case Severity::kError:
        break;
    }
    return "critical";
}

/** It is shown on one line, and nothing else is shown. */
std::string description_of(const Finding &finding)
{
    return on_one_line(finding.path.empty() ? finding.text
                                            : finding.text + " (" + finding.path + ")");
}

} // namespace

std::string GitlabReport::conclusion(const Outcome &outcome, Place /*place*/)
{
    for (const auto &finding : findings_of(outcome)) {
        const FileLocation place = place_of(finding, outcome);
        const std::string file = path_from(m_settings.working_folder, place.file);
        nlohmann::ordered_json issue{
            {"description", description_of(finding)},
            {"check_name", finding.id},
            {"fingerprint", m_fingerprints.next(finding, file)},
            {"severity", severity_of(finding)},
            {"location", {{"path", file}, {"lines", {{"begin", place.line}}}}}};
        if (!finding.help.empty()) {
            issue["content"] = {{"body", finding.help}};
        }
        m_issues.push_back(std::move(issue));
    }
    return {};
}

std::string GitlabReport::end(const RunSummary & /*summary*/)
{
    return print_json(m_issues, m_settings.for_terminal);
}

} // namespace host

#include "report/report_github.h"

#include "report/finding_place.h"
#include "report/printable.h"

namespace host
{
namespace
{

/** What is not new is told, and alarms nobody. */
const char *command_of(const Finding &finding)
{
    switch (is_known(finding) ? Severity::kNote : finding.severity) {
    case Severity::kNote:
        return "notice";
    case Severity::kWarning:
        return "warning";
    case Severity::kError:
        break;
    }
    return "error";
}

/** What would end a command, or one of its properties, or would be taken for an escape. */
std::string escaped(const std::string &text, std::string_view special)
{
    std::string out;
    for (const char character : text) {
        if (special.find(character) == std::string_view::npos) {
            out += character;
        } else {
            out += percent_encoded(character);
        }
    }
    return out;
}

std::string property(const std::string &text)
{
    return escaped(printable(text), "%\r\n:,");
}

std::string message_of(const Finding &finding)
{
    std::string text = finding.text;
    for (const auto &more : {finding.path, cause_of(finding), finding.help}) {
        text += (more.empty() ? "" : "\n") + more;
    }
    return escaped(printable_lines(text), "%\r\n");
}

} // namespace

std::string GithubReport::conclusion(const Outcome &outcome, Place /*place*/)
{
    std::string lines;
    for (const auto &finding : findings_of(outcome)) {
        const FileLocation place = place_of(finding, outcome);
        lines += std::string("::") + command_of(finding) + ' ';
        if (!place.file.empty()) {
            lines += "file=" + property(path_from(m_settings.working_folder, place.file)) +
                     ",line=" + std::to_string(place.line) + ',';
        }
        if (place.column != 0) {
            lines += "col=" + std::to_string(place.column) + ',';
        }
        lines += "title=" + property(finding.id) + "::" + message_of(finding) + '\n';
    }
    return lines;
}

} // namespace host

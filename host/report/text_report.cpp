#include "report/text_report.h"

#include "report/printable.h"
#include "report/report_diff.h"
#include "report/report_text.h"
#include "report/words.h"

#include <sstream>

namespace host
{
namespace
{

std::string edits_text(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " edit" : " edits");
}

} // namespace

std::string TextReport::findings(const Outcome &outcome, Place place)
{
    const Style style(m_settings.is_colored);
    std::ostringstream out;
    out << (m_has_begun ? "\n" : "");
    m_has_begun = true;
    if (place.number != 0) {
        out << style.strong("Edit " + std::to_string(place.number) + " of " +
                            std::to_string(place.total) + ": " + printable(outcome.change))
            << '\n';
    }
    if (outcome.differences) {
        print_differences(out, *outcome.differences, style);
        out << '\n';
    }
    print_findings(out, outcome, style, m_settings.text);
    return out.str();
}

std::string TextReport::conclusion(const Outcome &outcome, Place /*place*/)
{
    std::ostringstream out;
    print_conclusion(out, outcome, Style(m_settings.is_colored));
    if (m_settings.explains) {
        print_explanation(out, outcome, m_settings.detail);
    }
    return out.str();
}

std::string TextReport::end(const RunSummary &summary)
{
    if (summary.counts.empty()) { // There was one change only, or what failed was no edit's.
        return {};
    }
    std::ostringstream out;
    out << '\n';
    if (!summary.stopped_at.empty()) {
        out << "The first edit that failed is " << printable(summary.stopped_at) << ": "
            << words_for(summary.stopped_with);
        if (!summary.left_out.empty()) {
            out << "; " << edits_text(summary.left_out.size()) << " after it not checked";
        }
        out << ".\n";
    }
    std::size_t total = 0;
    for (const auto &[result, count] : summary.counts) {
        total += count;
    }
    out << edits_text(total) << ": ";
    const char *separator = "";
    for (const auto &[result, count] : summary.counts) {
        out << separator << count << ' ' << words_for(result);
        separator = ", ";
    }
    out << ".\n";
    return out.str();
}

} // namespace host

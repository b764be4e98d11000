#include "fleet/fleet_page.h"

#include "report/finding.h"
#include "report/markup.h"
#include "report/words.h"

#include <sstream>

namespace host
{

extern const char *const kFleetPage; // page.html, built in

namespace
{

void append_cell(std::string &row, const std::string &markup)
{
    row += "<td>" + markup + "</td>";
}

} // namespace

void FleetPage::add(const ResultLine &line)
{
    const Result result = line.outcome.result();
    std::string rules;
    std::string texts;
    std::string last;
    for (const auto &finding : findings_of(line.outcome)) {
        if (finding.id != last) {
            rules += (rules.empty() ? "" : "<br>") + escaped(finding.id);
            last = finding.id;
        }
        texts += "<div>" + escaped(finding.text);
        for (const auto &more : {finding.path, finding.help}) {
            texts += more.empty() ? "" : "<p class=\"path\">" + escaped(more) + "</p>";
        }
        texts += "</div>";
    }
    m_rows += "<tr>";
    append_cell(m_rows, escaped(line.name));
    m_rows += "<td class=\"" + std::string(name_of(result)) + "\">" + words_for(result) + "</td>";
    append_cell(m_rows, rules);
    append_cell(m_rows, texts);
    m_rows += "</tr>\n";
}

std::string FleetPage::text(const FleetSummary &summary) const
{
    std::ostringstream sums;
    summary.print(sums, Style(false));
    std::string page(kFleetPage);
    fill_in(page, "<!--SUMMARY-->", escaped(sums.str()));
    fill_in(page, "<!--ROWS-->\n", m_rows);
    return page;
}

} // namespace host

#include "cli/fleet_reports.h"

namespace host
{

void FleetReports::add(const ResultLine &line)
{
    if (!m_options.reports.empty()) {
        m_page.add(line);
    }
}

void FleetReports::finish(const FleetSummary &summary) const
{
    for (const auto &report : m_options.reports) {
        OutputFile file(report);
        if (const int error = file.write(m_page.text(summary)); error != 0) {
            file.fail(error);
        }
        file.commit();
    }
}

} // namespace host

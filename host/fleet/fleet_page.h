/**
 * @file
 * The results of a fleet as a page for a browser.
 */
#pragma once

#include "fleet/fleet_summary.h"
#include "fleet/result_line.h"

#include <string>

namespace host
{

/**
 * One file without references to others: a row for each card, which can be sorted and filtered, and
 * read without scripts as well.
 */
class FleetPage
{
public:
    void add(const ResultLine &line);
    std::string text(const FleetSummary &summary) const;

private:
    std::string m_rows;
};

} // namespace host

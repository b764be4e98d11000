/**
 * @file
 * The reports of a fleet's check that go to files, beside its results.
 */
#pragma once

#include "cli/fleet_options.h"
#include "cli/output_file.h"
#include "fleet/fleet_page.h"

#include <memory>
#include <vector>

namespace host
{

class FleetReports
{
public:
    explicit FleetReports(const FleetOptions &options) : m_options(options) {}

    /** Cards come in the order of the list. */
    void add(const ResultLine &line);
    /** Writes the files. @throws engine::InputError */
    void finish(const FleetSummary &summary) const;

private:
    const FleetOptions &m_options;
    FleetPage m_page;
};

} // namespace host

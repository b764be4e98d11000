/**
 * @file
 * The reports of a fleet's check that go to files, beside its results.
 */
#pragma once

#include "cli/fleet_options.h"
#include "fleet/fleet_page.h"
#include "report/report.h"

#include <memory>
#include <string>
#include <vector>

namespace host
{

class FleetReports
{
public:
    explicit FleetReports(const FleetOptions &options);

    /** Cards come in the order of the list. */
    void add(const ResultLine &line);
    /** Writes the files. @throws engine::InputError */
    void finish(const FleetSummary &summary);

private:
    /** A report with its text so far. */
    struct File {
        ReportOption option;
        std::unique_ptr<Report> report;
        std::string text;
    };

    std::string m_list; /**< As it was named. */
    std::vector<std::string> m_pages;
    FleetPage m_page;
    std::vector<File> m_files;
};

} // namespace host

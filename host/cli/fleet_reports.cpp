#include "cli/fleet_reports.h"

#include "cli/output_file.h"

#include <filesystem>
#include <system_error>

namespace host
{
namespace
{

void write_file(const std::string &path, const std::string &text)
{
    OutputFile file(path);
    if (const int error = file.write(text); error != 0) {
        file.fail(error);
    }
    file.commit();
}

} // namespace

FleetReports::FleetReports(const FleetOptions &options)
    : m_list(options.list_from.empty() ? options.list : options.list_from), m_pages(options.pages)
{
    ReportSettings settings;
    settings.is_series = true;
    std::error_code unknown; // Then file names stay as they are.
    settings.working_folder = std::filesystem::current_path(unknown).string();
    for (const auto &option : options.reports) {
        m_files.push_back({option, make_report(option.format, settings), ""});
    }
}

void FleetReports::add(const ResultLine &line)
{
    if (!m_pages.empty()) {
        m_page.add(line);
    }
    for (auto &file : m_files) {
        Outcome outcome = line.outcome;
        if (file.option.format == ReportFormat::kJunit) {
            // Suites and cases have the names of what was checked.
            outcome.running = m_list;
            outcome.change = line.name;
        }
        file.text += file.report->findings(outcome, {});
        file.text += file.report->conclusion(outcome, {});
    }
}

void FleetReports::finish(const FleetSummary &summary)
{
    for (const auto &page : m_pages) {
        write_file(page, m_page.text(summary));
    }
    RunSummary end;
    end.worst = summary.worst();
    for (auto &file : m_files) {
        write_file(file.option.file, file.text + file.report->end(end));
    }
}

} // namespace host

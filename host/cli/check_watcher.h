/**
 * @file
 * Watches checks for the console: progress, traces, and what the plug-in writes.
 */
#pragma once

#include "checker/check_listener.h"
#include "cli/check_report.h"
#include "cli/progress.h"
#include "cli/trace_file.h"
#include "report/printable.h"

#include <optional>

namespace host
{

/** Shows how far the checks are, and what the plug-in writes that no report will show. */
class CheckWatcher : public CheckListener
{
public:
    CheckWatcher(const CheckOptions &options, const Console &console, CheckReports &reports);

    /** A big configuration takes its time. */
    void loading(const engine::Source &running);
    /** The checks that follow are of this edit. */
    void begin(const Place &place, const std::string &edit);

    void asking(std::size_t number, std::size_t total, const std::string &rule) override;
    void tick() override { m_progress.tick(); }
    /** Traces are shown at once, the rest when it is known where it belongs. */
    void plugin_wrote(std::string_view text) override;
    void process_ends(const Outcome &outcome) override;

    /** A failure's report shows what the plug-in wrote; otherwise it is passed on. */
    void finish(const Outcome &outcome);

    void open_traces();
    /** Traces that cannot be written are no fault of the plug-in's, but the outcome's. */
    void close_traces(Outcome &outcome);

private:
    void show(std::string_view text);

    const CheckOptions &m_options;
    const Console &m_console;
    CheckReports &m_reports;
    bool m_is_live;
    Place m_place;
    std::optional<TraceFile> m_traces;
    PrintableStream m_printable;
    Progress m_progress;
};

} // namespace host

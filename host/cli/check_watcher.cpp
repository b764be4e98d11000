#include "cli/check_watcher.h"

#include "engine/data/error.h"

#include <zlog_host.h>

#include <ostream>

namespace host
{

CheckWatcher::CheckWatcher(const CheckOptions &options, const Console &console,
                           CheckReports &reports)
    : m_options(options), m_console(console), m_reports(reports),
      m_is_live(options.trace_level && options.trace_file.empty()),
      m_progress(console.err_is_terminal && !is_dumb_terminal() ? &console.err : nullptr)
{
}

void CheckWatcher::loading(const engine::Source &running)
{
    constexpr std::size_t kBig = std::size_t{8} << 20U;
    constexpr std::size_t kMebibyte = std::size_t{1} << 20U;
    if (running.text.size() >= kBig) {
        m_progress.show("loading " + printable(running.name) + " (" +
                        std::to_string(running.text.size() / kMebibyte) + " MiB)");
    }
}

void CheckWatcher::begin(const Place &place, const std::string &edit)
{
    m_place = place;
    m_progress.within("edit " + std::to_string(place.number) + " of " +
                      std::to_string(place.total) + " (" + printable(edit) + ")");
}

void CheckWatcher::asking(std::size_t number, std::size_t total, const std::string &rule)
{
    m_progress.at(number, total, rule);
}

void CheckWatcher::plugin_wrote(std::string_view text)
{
    if (m_is_live) {
        show(text);
    }
}

void CheckWatcher::process_ends(const Outcome &outcome)
{
    m_progress.clear();
    Outcome last = outcome;
    close_traces(last);
    m_reports.add(last, m_place);
    RunSummary summary;
    summary.worst = last.result();
    static_cast<void>(m_reports.finish(summary));
}

void CheckWatcher::finish(const Outcome &outcome)
{
    m_progress.clear();
    m_console.err << m_printable.end() << std::flush;
    if (!m_is_live && !outcome.death && outcome.problems.empty()) {
        m_console.err << printable_lines(outcome.plugin_output) << std::flush;
    }
}

void CheckWatcher::open_traces()
{
    zlog_host::set_level(m_options.trace_level.value_or(zlog_host::kOff));
    zlog_host::write_to_stderr();
    if (m_options.trace_level && !m_options.trace_file.empty()) {
        m_traces.emplace(m_options.trace_file);
        zlog_host::write_text_to([this](std::string_view line) { m_traces->write(line); });
    } else if (m_options.in_process) {
        zlog_host::write_text_to([this](std::string_view line) { show(line); });
    }
}

void CheckWatcher::close_traces(Outcome &outcome)
{
    zlog_host::write_to_stderr();
    try {
        if (m_traces) {
            m_traces->commit();
        }
    } catch (const engine::InputError &failure) {
        outcome.problems.insert(outcome.problems.end(), failure.problems().begin(),
                                failure.problems().end());
    }
    m_traces.reset();
}

void CheckWatcher::show(std::string_view text)
{
    m_progress.clear();
    m_console.err << m_printable.take(text) << std::flush;
}

} // namespace host

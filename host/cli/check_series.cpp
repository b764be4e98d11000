#include "cli/check_series.h"

#include "checker/checker.h"
#include "cli/check_inputs.h"
#include "cli/check_report.h"
#include "cli/check_watcher.h"
#include "report/report_text.h"

#include <memory>
#include <utility>

namespace host
{
namespace
{

class Series
{
public:
    Series(const CheckOptions &options, const Console &console)
        : m_options(options), m_console(console), m_policy(policy_of(options)),
          m_reports(options, console), m_watcher(options, console, m_reports)
    {
    }

    int run()
    {
        if (open()) {
            check_all();
            finish();
            close_traces();
            sum_up();
        }
        return static_cast<int>(m_reports.finish(m_summary));
    }

private:
    bool open();
    void check_all();
    Outcome check(const std::string &edit);
    Outcome check_or_explain(const std::string &edit);
    void note(Outcome &outcome, const Place &place);
    void finish();
    void close_traces();
    void sum_up();

    const CheckOptions &m_options;
    const Console &m_console;
    Policy m_policy;
    CheckReports m_reports;
    CheckWatcher m_watcher;
    std::vector<std::string> m_edits;
    std::unique_ptr<Checker> m_checker;
    std::vector<Phase> m_load_phases; /**< Part of the first report. */
    RunSummary m_summary;
    std::size_t m_reported = 0;
};

/** What comes in the way of all edits is one report, of none of them. */
bool Series::open()
{
    Outcome outcome;
    outcome.running = m_options.running;
    try {
        m_reports.allow_files(m_options.edits);
        m_edits = list_edits(m_options);
        m_reports.allow_files(m_edits);
        CardInputs inputs = read_card(m_options);
        m_watcher.open_traces();
        if (inputs.running) {
            m_watcher.loading(*inputs.running);
        }
        m_checker = std::make_unique<Checker>(inputs.card, std::move(inputs.running),
                                              m_options.plugin, m_options.check_running);
        m_load_phases = m_checker->load_phases();
    } catch (const std::exception &failure) {
        outcome.problems = problems_of(failure);
        m_watcher.close_traces(outcome);
        note(outcome, {});
    }
    return outcome.problems.empty();
}

void Series::check_all()
{
    for (std::size_t i = 0; i < m_edits.size(); ++i) {
        const Place place{i + 1, m_edits.size(), m_options.in_turn};
        m_watcher.begin(place, m_edits[i]);
        Outcome outcome = check_or_explain(m_edits[i]);
        note(outcome, place);
        if (m_options.in_turn) {
            if (outcome.result() != Result::kAccepted) {
                m_summary.stopped_at = m_edits[i];
                m_summary.stopped_with = outcome.result();
                return;
            }
            m_checker->commit(outcome);
        }
    }
}

Outcome Series::check(const std::string &edit)
{
    const Change change{ChangeForm::kEdit, read_input(edit, m_options)};
    return m_checker->check(change, m_policy, m_watcher);
}

/** A file that cannot be read is one report among the others. */
Outcome Series::check_or_explain(const std::string &edit)
{
    try {
        return check(edit);
    } catch (const std::exception &failure) {
        Outcome outcome;
        outcome.running = m_options.running;
        outcome.form = ChangeForm::kEdit;
        outcome.change = edit;
        outcome.problems = problems_of(failure);
        return outcome;
    }
}

void Series::note(Outcome &outcome, const Place &place)
{
    for (const auto &phase : outcome.phases) {
        add_phase(m_load_phases, phase);
    }
    outcome.phases = std::exchange(m_load_phases, {});
    m_watcher.finish(outcome);
    note_need(outcome, m_options);
    m_reports.add(outcome, place);
    m_summary.worst = worse_of(m_summary.worst, outcome.result());
    if (place.number != 0) {
        ++m_summary.counts[outcome.result()];
        ++m_reported;
    }
}

/** The plug-in's end is no edit's: one that it should not have come to has its own report. */
void Series::finish()
{
    Outcome outcome = m_checker->finish(m_policy, m_watcher);
    if (outcome.result() == Result::kAccepted) {
        m_watcher.finish(outcome);
    } else {
        note(outcome, {});
    }
    if (m_console.ends_process) {
        m_checker->leave_card();
    }
}

/** By now all reports are out. */
void Series::close_traces()
{
    Outcome traces;
    m_watcher.close_traces(traces);
    if (!traces.problems.empty()) {
        print_problems(m_console.err, traces.problems, Style(false));
        m_summary.worst = worse_of(m_summary.worst, Result::kNotChecked);
    }
}

void Series::sum_up()
{
    m_summary.left_out.assign(m_edits.begin() + static_cast<std::ptrdiff_t>(m_reported),
                              m_edits.end());
}

} // namespace

int run_series(const CheckOptions &options, const Console &console)
{
    return Series(options, console).run();
}

} // namespace host

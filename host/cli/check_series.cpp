#include "cli/check_series.h"

#include "checker/checker.h"
#include "cli/check_inputs.h"
#include "cli/check_report.h"
#include "cli/check_watcher.h"
#include "report/printable.h"
#include "report/report_text.h"

#include <map>
#include <memory>
#include <ostream>
#include <utility>

namespace host
{
namespace
{

std::string edits_text(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " edit" : " edits");
}

class Series
{
public:
    Series(const CheckOptions &options, const Console &console)
        : m_options(options), m_console(console), m_policy(policy_of(options)),
          m_watcher(options, console)
    {
    }

    int run()
    {
        if (open()) {
            check_all();
            finish();
            close_traces();
            conclude();
        }
        return static_cast<int>(m_worst);
    }

private:
    bool open();
    void check_all();
    Outcome check(const std::string &edit);
    Outcome check_or_explain(const std::string &edit);
    void note(Outcome &outcome, const Place &place);
    void finish();
    void close_traces();
    void conclude();

    const CheckOptions &m_options;
    const Console &m_console;
    Policy m_policy;
    CheckWatcher m_watcher;
    std::vector<std::string> m_edits;
    std::unique_ptr<Checker> m_checker;
    std::vector<Phase> m_load_phases; /**< Part of the first report. */
    Result m_worst = Result::kAccepted;
    std::map<Result, std::size_t> m_counts;
    std::size_t m_reported = 0;
};

/** What comes in the way of all edits is one report, of none of them. */
bool Series::open()
{
    Outcome outcome;
    outcome.running = m_options.running;
    try {
        m_edits = list_edits(m_options);
        require_separate_files(m_options, m_edits);
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
        const Place place{i + 1, m_edits.size()};
        m_watcher.begin(place, m_edits[i]);
        Outcome outcome = check_or_explain(m_edits[i]);
        note(outcome, place);
        if (m_options.in_turn) {
            if (outcome.result() != Result::kAccepted) {
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
    print_report(outcome, m_options, m_console, place);
    m_worst = worse_of(m_worst, outcome.result());
    if (place.number != 0) {
        ++m_counts[outcome.result()];
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
        m_console.out << (m_options.json ? "" : "\n");
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
        m_worst = worse_of(m_worst, Result::kNotChecked);
    }
}

void Series::conclude()
{
    if (m_options.json) {
        return;
    }
    m_console.out << '\n';
    if (const auto left = m_edits.size() - m_reported; left != 0) {
        m_console.out << "Stopped at " << printable(m_edits[m_reported - 1]) << ": "
                      << edits_text(left) << " after it not checked.\n";
    }
    m_console.out << edits_text(m_reported) << ": ";
    const char *separator = "";
    for (const auto &[result, count] : m_counts) {
        m_console.out << separator << count << ' ' << words_for(result);
        separator = ", ";
    }
    m_console.out << ".\n";
    flush_or_throw(m_console.out);
}

} // namespace

int run_series(const CheckOptions &options, const Console &console)
{
    return Series(options, console).run();
}

} // namespace host

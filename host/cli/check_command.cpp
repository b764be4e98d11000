#include "cli/check_command.h"

#include "checker/checker.h"
#include "cli/check_inputs.h"
#include "cli/check_report.h"
#include "cli/check_series.h"
#include "cli/check_watcher.h"
#include "engine/data/error.h"

#include <utility>

namespace host
{
namespace
{

ChangeForm form_of(const CheckOptions &options)
{
    return !options.edits.empty()       ? ChangeForm::kEdit
           : !options.candidate.empty() ? ChangeForm::kCandidate
                                        : ChangeForm::kNone;
}

/** Empty: the running configuration itself is checked. */
const std::string &file_of(const CheckOptions &options)
{
    return options.edits.empty() ? options.candidate : options.edits.front();
}

Outcome check(const CheckOptions &options, const Console &console, CheckReports &reports,
              CheckWatcher &watcher)
{
    reports.allow_files(options.edits);
    CardInputs inputs = read_card(options);
    Change change{form_of(options), {}};
    if (change.form != ChangeForm::kNone) {
        change.source = read_input(file_of(options), options);
    }
    // Not before all inputs were read.
    watcher.open_traces();
    if (inputs.running) {
        watcher.loading(*inputs.running);
    }
    Checker checker(inputs.card, std::move(inputs.running), options.plugin, options.check_running);
    Outcome outcome = checker.check(change, policy_of(options), watcher);
    if (console.ends_process) {
        checker.leave_card();
    }
    // Loading checks the running configuration, which is one phase with the candidate's check.
    auto phases = checker.load_phases();
    for (const auto &phase : outcome.phases) {
        add_phase(phases, phase);
    }
    outcome.phases = std::move(phases);
    return outcome;
}

/** Whatever comes in the way becomes a report, too. */
Outcome check_or_explain(const CheckOptions &options, const Console &console, CheckReports &reports,
                         CheckWatcher &watcher)
{
    try {
        return check(options, console, reports, watcher);
    } catch (const std::exception &failure) {
        Outcome outcome;
        outcome.running = options.running;
        outcome.form = form_of(options);
        outcome.change = file_of(options);
        outcome.problems = problems_of(failure);
        return outcome;
    }
}

int run_one(const CheckOptions &options, const Console &console)
{
    CheckReports reports(options, console);
    CheckWatcher watcher(options, console, reports);
    Outcome outcome = check_or_explain(options, console, reports, watcher);
    watcher.close_traces(outcome);
    watcher.finish(outcome);
    note_need(outcome, options);
    reports.add(outcome);
    RunSummary summary;
    summary.worst = outcome.result();
    return static_cast<int>(reports.finish(summary));
}

} // namespace

int run_check(const CheckOptions &options, const Console &console)
{
    return options.is_series() ? run_series(options, console) : run_one(options, console);
}

} // namespace host

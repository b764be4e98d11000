#include "cli/check_command.h"

#include "checker/checker.h"
#include "cli/progress.h"
#include "report/report_explain.h"
#include "report/report_json.h"
#include "report/report_text.h"

#include <zlog_host.h>

#include <ostream>
#include <stdexcept>

namespace host
{
namespace
{

/** Shows how far the check is, and what the plug-in writes that no report will show. */
class CheckWatcher : public CheckListener
{
public:
    CheckWatcher(const CheckOptions &options, const Console &console)
        : m_is_live(options.trace_level && options.trace_file.empty()), m_err(console.err),
          m_progress(console.err_is_terminal ? &console.err : nullptr)
    {
    }

    void asking(std::size_t number, std::size_t total, const std::string &rule) override
    {
        m_progress.at(number, total, rule);
    }
    void tick() override { m_progress.tick(); }
    /** Traces are shown at once, the rest when it is known where it belongs. */
    void plugin_wrote(std::string_view text) override
    {
        if (m_is_live) {
            show(text);
        }
    }

    /** A failure's report shows what the plug-in wrote; otherwise it is passed on. */
    void finish(const Outcome &outcome)
    {
        m_progress.clear();
        if (!m_is_live && !outcome.death && outcome.problems.empty()) {
            show(outcome.plugin_output);
        }
    }

private:
    void show(std::string_view text)
    {
        m_progress.clear();
        m_err << text << std::flush;
    }

    bool m_is_live;
    std::ostream &m_err;
    Progress m_progress;
};

fm::Card card_of(const CheckOptions &options)
{
    if (options.card.empty()) {
        return fm::default_card();
    }
    const engine::Source source = engine::read_source(options.card);
    try {
        return fm::parse_card(source.text);
    } catch (const std::runtime_error &failure) {
        throw engine::InputError(
            {{engine::Fault::kInvalidCard, options.card, 0, "", failure.what(), ""}});
    }
}

void set_up_traces(const CheckOptions &options)
{
    zlog_host::set_level(options.trace_level.value_or(zlog_host::kOff));
    if (!options.trace_level || options.trace_file.empty()) {
        zlog_host::write_to_stderr();
        return;
    }
    try {
        zlog_host::write_to_file(options.trace_file);
    } catch (const std::runtime_error &failure) {
        throw engine::InputError(
            {{engine::Fault::kUnreadable, options.trace_file, 0, "", failure.what(), ""}});
    }
}

Change change_of(const CheckOptions &options)
{
    if (!options.edit.empty()) {
        return {ChangeForm::kEdit, engine::read_source(options.edit)};
    }
    if (!options.candidate.empty()) {
        return {ChangeForm::kCandidate, engine::read_source(options.candidate)};
    }
    return {};
}

Outcome check(const CheckOptions &options, CheckWatcher &watcher)
{
    const fm::Card card = card_of(options);
    set_up_traces(options);
    std::optional<engine::Source> running;
    if (!options.running.empty()) {
        running = engine::read_source(options.running);
    }
    Checker checker(card, running, options.plugin);
    Outcome outcome = checker.check(change_of(options),
                                    {options.all, options.timeout, options.in_process}, watcher);
    // Loading checks the running configuration, which is one phase with the candidate's check.
    auto phases = checker.load_phases();
    for (const auto &phase : outcome.phases) {
        add_phase(phases, phase);
    }
    outcome.phases = std::move(phases);
    return outcome;
}

/** Whatever comes in the way becomes a report, too. */
Outcome check_or_explain(const CheckOptions &options, CheckWatcher &watcher)
{
    try {
        return check(options, watcher);
    } catch (const std::exception &failure) {
        Outcome outcome;
        outcome.running = options.running;
        outcome.form = !options.edit.empty()        ? ChangeForm::kEdit
                       : !options.candidate.empty() ? ChangeForm::kCandidate
                                                    : ChangeForm::kNone;
        outcome.change = options.edit.empty() ? options.candidate : options.edit;
        outcome.problems = problems_of(failure);
        return outcome;
    }
}

/** Only a change that could be committed is worth a question. */
void note_need(Outcome &outcome, const CheckOptions &options)
{
    if (outcome.result() == Result::kNotConfirmed) {
        outcome.confirmation.needed = true;
        outcome.confirmation.answer = options.answer;
        outcome.confirmation.by_option = options.answer.has_value();
    }
}

void report_as_text(Outcome &outcome, const CheckOptions &options, const Console &console)
{
    const Style style(wants_color(options.color, console.out_is_terminal));
    print_findings(console.out, outcome, style);
    if (outcome.confirmation.needed && !options.answer && console.ask) {
        console.out << std::flush;
        outcome.confirmation.answer = console.ask();
    }
    print_conclusion(console.out, outcome, style);
    if (options.explain || options.calls) {
        print_explanation(console.out, outcome, options.calls);
    }
}

} // namespace

int run_check(const CheckOptions &options, const Console &console)
{
    CheckWatcher watcher(options, console);
    Outcome outcome = check_or_explain(options, watcher);
    watcher.finish(outcome);
    note_need(outcome, options);
    if (options.json) {
        // Whoever reads JSON is no operator: the answer is given beforehand or not at all.
        console.out << print_json(json_report(outcome, options.explain || options.calls));
    } else {
        report_as_text(outcome, options, console);
    }
    flush_or_throw(console.out);
    return static_cast<int>(outcome.result());
}

} // namespace host

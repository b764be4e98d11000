#include "cli/check_command.h"

#include "checker/checker.h"
#include "cli/progress.h"
#include "cli/trace_file.h"
#include "report/printable.h"
#include "report/report_explain.h"
#include "report/report_json.h"
#include "report/report_text.h"

#include <zlog_host.h>

#include <cerrno>
#include <ostream>
#include <stdexcept>
#include <utility>

namespace host
{
namespace
{

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

void print_report(Outcome &outcome, const CheckOptions &options, const Console &console)
{
    errno = 0; // It tells why the report cannot be written.
    if (options.json) {
        // Whoever reads JSON is no operator: the answer is given beforehand or not at all.
        console.out << print_json(json_report(outcome, options.explain || options.calls),
                                  console.out_is_terminal);
    } else {
        report_as_text(outcome, options, console);
    }
    flush_or_throw(console.out);
}

/** Shows how far the check is, and what the plug-in writes that no report will show. */
class CheckWatcher : public CheckListener
{
public:
    CheckWatcher(const CheckOptions &options, const Console &console)
        : m_options(options), m_console(console),
          m_is_live(options.trace_level && options.trace_file.empty()), m_err(console.err),
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

    void process_ends(const Outcome &outcome) override
    {
        m_progress.clear();
        Outcome last = outcome;
        close_traces(last);
        print_report(last, m_options, m_console);
    }

    /** A failure's report shows what the plug-in wrote; otherwise it is passed on. */
    void finish(const Outcome &outcome)
    {
        m_progress.clear();
        m_err << m_printable.end() << std::flush;
        if (!m_is_live && !outcome.death && outcome.problems.empty()) {
            m_err << printable_lines(outcome.plugin_output) << std::flush;
        }
    }

    void open_traces()
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

    /** Traces that cannot be written are no fault of the plug-in's. */
    void close_traces(Outcome &outcome)
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

private:
    void show(std::string_view text)
    {
        m_progress.clear();
        m_err << m_printable.take(text) << std::flush;
    }

    const CheckOptions &m_options;
    const Console &m_console;
    bool m_is_live;
    std::ostream &m_err;
    std::optional<TraceFile> m_traces;
    PrintableStream m_printable;
    Progress m_progress;
};

engine::Source read_input(const std::string &path, const CheckOptions &options)
{
    return engine::read_source(path, {options.max_size, options.timeout});
}

fm::Card card_of(const CheckOptions &options)
{
    if (options.card.empty()) {
        return fm::default_card();
    }
    const engine::Source source = read_input(options.card, options);
    try {
        return fm::parse_card(source.text);
    } catch (const std::exception &failure) {
        throw engine::InputError(
            {{engine::Fault::kInvalidCard, options.card, 0, "", failure.what(), ""}});
    }
}

Change change_of(const CheckOptions &options)
{
    if (!options.edit.empty()) {
        return {ChangeForm::kEdit, read_input(options.edit, options)};
    }
    if (!options.candidate.empty()) {
        return {ChangeForm::kCandidate, read_input(options.candidate, options)};
    }
    return {};
}

Outcome check(const CheckOptions &options, CheckWatcher &watcher)
{
    require_separate({{"--trace-file", options.trace_file}}, {{"--running", options.running},
                                                              {"--edit", options.edit},
                                                              {"CANDIDATE", options.candidate},
                                                              {"--card", options.card},
                                                              {"--plugin", options.plugin}});
    const fm::Card card = card_of(options);
    std::optional<engine::Source> running;
    if (!options.running.empty()) {
        running = read_input(options.running, options);
    }
    const Change change = change_of(options);
    // Not before all inputs were read.
    watcher.open_traces();
    Checker checker(card, std::move(running), options.plugin, options.check_running);
    Outcome outcome =
        checker.check(change, {options.all, options.timeout, options.in_process}, watcher);
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

} // namespace

int run_check(const CheckOptions &options, const Console &console)
{
    CheckWatcher watcher(options, console);
    Outcome outcome = check_or_explain(options, watcher);
    watcher.close_traces(outcome);
    watcher.finish(outcome);
    note_need(outcome, options);
    print_report(outcome, options, console);
    return static_cast<int>(outcome.result());
}

int report_usage_error(const std::string &message, const Console &console)
{
    Outcome outcome;
    outcome.problems = {
        {engine::Fault::kInvalidOption, "", 0, "", message, "see gpon-validate check --help"}};
    CheckOptions options;
    options.json = true;
    print_report(outcome, options, console);
    return static_cast<int>(outcome.result());
}

} // namespace host

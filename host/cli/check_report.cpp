#include "cli/check_report.h"

#include "report/printable.h"
#include "report/report_diff.h"
#include "report/report_explain.h"
#include "report/report_json.h"
#include "report/report_text.h"

#include <cerrno>
#include <ostream>

namespace host
{
namespace
{

void report_as_json(const Outcome &outcome, const CheckOptions &options, const Console &console)
{
    // Whoever reads JSON is no operator: the answer is given beforehand or not at all.
    const auto json = json_report(outcome, options.explains());
    console.out << (options.is_series() ? print_json_line(json, console.out_is_terminal)
                                        : print_json(json, console.out_is_terminal));
}

void report_as_text(Outcome &outcome, const CheckOptions &options, const Console &console,
                    const Place &place)
{
    const Style style(wants_color(options.color, console.out_is_terminal));
    if (place.number != 0) {
        const std::string heading = "Edit " + std::to_string(place.number) + " of " +
                                    std::to_string(place.total) + ": " + printable(outcome.change);
        console.out << (place.number > 1 ? "\n" : "") << style.strong(heading) << '\n';
    }
    if (outcome.differences) {
        print_differences(console.out, *outcome.differences, style);
        console.out << '\n';
    }
    print_findings(console.out, outcome, style);
    if (outcome.result() == Result::kNotConfirmed && !options.answer && console.ask) {
        console.out << std::flush;
        outcome.confirmation.answer = console.ask();
    }
    print_conclusion(console.out, outcome, style);
    if (options.explains()) {
        print_explanation(console.out, outcome, {options.calls, options.reads});
    }
}

} // namespace

void print_report(Outcome &outcome, const CheckOptions &options, const Console &console,
                  const Place &place)
{
    errno = 0; // It tells why the report cannot be written.
    if (options.json) {
        report_as_json(outcome, options, console);
    } else {
        report_as_text(outcome, options, console, place);
    }
    flush_or_throw(console.out);
}

/** Only a change that could be committed is worth a question. */
void note_need(Outcome &outcome, const CheckOptions &options)
{
    outcome.warnings_are_errors = options.warnings_as_errors;
    if (outcome.result() == Result::kNotConfirmed) {
        outcome.confirmation.needed = true;
        outcome.confirmation.answer = options.answer;
        outcome.confirmation.by_option = options.answer.has_value();
        outcome.confirmation.rules = options.confirmed_rules;
    }
}

} // namespace host

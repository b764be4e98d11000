#include "cli/check_command.h"

#include "cli/checking.h"
#include "report/report_explain.h"
#include "report/report_json.h"
#include "report/report_text.h"

#include <ostream>

namespace host
{
namespace
{

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
    Progress progress(console.err_is_terminal ? &console.err : nullptr);
    Outcome outcome = check(options, progress, console.err);
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

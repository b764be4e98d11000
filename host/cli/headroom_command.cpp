#include "cli/headroom_command.h"

#include "checker/checker.h"
#include "cli/check_inputs.h"
#include "cli/option_kinds.h"
#include "headroom/headroom_json.h"
#include "headroom/headroom_page.h"
#include "headroom/headroom_text.h"
#include "report/report_json.h"
#include "report/report_text.h"
#include "report/words.h"

#include <ostream>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace host
{
namespace
{

constexpr const char *kExamples =
    "Nothing is decided: `check` tells whether a change is accepted. Exit codes: 0, whatever the "
    "rules say;\n3 for a bad file or option; 4 if the plug-in died.\n"
    "\n"
    "Examples:\n"
    "  gpon-validate headroom --running running.xml --card card.json\n"
    "  gpon-validate headroom --running running.xml --edit change.xml --html room.html";

std::size_t window_width(const Console &console)
{
    winsize size{};
    const bool is_known = console.out_is_terminal && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
    return is_known ? size.ws_col : 0;
}

Change change_of(const CheckOptions &options)
{
    if (!options.edits.empty()) {
        return {ChangeForm::kEdit, read_input(options.edits.front(), options)};
    }
    if (!options.candidate.empty()) {
        return {ChangeForm::kCandidate, read_input(options.candidate, options)};
    }
    return {};
}

void write_page(const std::string &path, const Survey &survey)
{
    if (path.empty()) {
        return;
    }
    OutputFile file(path);
    if (const int error = file.write(page_of(survey)); error != 0) {
        file.fail(error);
    }
    file.commit();
}

void print(const Survey &survey, const CheckOptions &options, const Console &console)
{
    if (options.json) {
        console.out << print_json(json_survey(survey), console.out_is_terminal);
        return;
    }
    const Style of_faults(wants_color(options.color, console.err_is_terminal));
    const Outcome &outcome = survey.outcome;
    print_skipped(console.err, outcome.skipped, of_faults);
    print_problems(console.err, outcome.problems, of_faults);
    if (outcome.death) {
        console.err << of_faults.bad("The plug-in died: ") << sentence(*outcome.death) << ".\n";
    }
    if (!survey.lacks_change()) {
        print_survey(console.out, survey,
                     Style(wants_color(options.color, console.out_is_terminal)),
                     {window_width(console), options.all});
    }
}

int exit_code(const Outcome &outcome)
{
    const Result result = outcome.result();
    return result == Result::kNotChecked || result == Result::kPluginDied ? static_cast<int>(result)
                                                                          : 0;
}

int survey_card(const HeadroomOptions &options, const Console &console)
{
    const CheckOptions &inputs = options.inputs;
    const auto files = named_inputs(inputs, inputs.edits);
    require_separate({{"--html", options.html}}, files);
    require_not_printed_to(files);
    CardInputs card = read_card(inputs);
    const Change change = change_of(inputs);
    Checker checker(card.card, std::move(card.running), inputs.plugin);
    CheckListener nobody;
    const Survey found = survey(checker, change, policy_of(inputs), nobody);
    write_page(options.html, found);
    print(found, inputs, console);
    if (console.ends_process) {
        checker.leave_card();
    }
    return exit_code(found.outcome);
}

} // namespace

void add_headroom(CLI::App &program, HeadroomOptions &options)
{
    auto *app = program.add_subcommand(
        "headroom", "Show how full the PON links are, who fills them, and what still fits");
    app->footer(kExamples);
    add_change(*app, options.inputs);
    add_reading(*app, options.inputs);
    add_card(*app, options.inputs);
    auto *json = app->add_flag("--json", options.inputs.json, "Print JSON");
    app->add_flag("--all", options.inputs.all, "Leave nothing of a long list out")->excludes(json);
    app->add_option("--html", options.html, "Also write a page for a browser to this file")
        ->type_name("FILE")
        ->check(file_name());
    add_max_size(*app, options.inputs);
    add_color(*app, options.inputs);
}

int run_headroom(const HeadroomOptions &options, const Console &console)
{
    const CheckOptions &inputs = options.inputs;
    if (inputs.running.empty() && inputs.candidate.empty()) {
        throw CLI::RequiredError("A configuration: --running or CANDIDATE");
    }
    if (inputs.edits.size() > 1) {
        throw CLI::ValidationError("--edit", "only one change can be looked at");
    }
    require_one_stdin(inputs);
    int code = static_cast<int>(Result::kNotChecked);
    try {
        code = survey_card(options, console);
    } catch (const std::exception &failure) {
        const auto problems = problems_of(failure);
        if (inputs.json) {
            console.out << print_json(
                {{"running", inputs.running}, {"problems", json_problems(problems)}},
                console.out_is_terminal);
        } else {
            print_problems(console.err, problems,
                           Style(wants_color(inputs.color, console.err_is_terminal)));
        }
    }
    flush_or_throw(console.out);
    return code;
}

} // namespace host

#include "cli/check_arguments.h"

#include "cli/option_kinds.h"

#include <array>
#include <utility>

namespace host
{
namespace
{

constexpr const char *kCheckExamples =
    "Without --running the card has no configuration yet: every rule looks at all of CANDIDATE.\n"
    "\n"
    "Examples:\n"
    "  gpon-validate check --running running.xml --edit change.xml --yes\n"
    "  gpon-validate check --running running.json candidate.json --all --explain\n"
    "  gpon-validate check --running running.xml --edit first.xml --edit second.xml --in-turn\n"
    "  ssh card get-config | gpon-validate check --running - --edit change.xml --skip-foreign "
    "--diff\n"
    "  gpon-validate check --running running.xml --edits changes --report sarif=gpon.sarif\n"
    "  gpon-validate check --running running.xml --edit change.xml --bundle report.tar.zst\n"
    "  find changes -name '*.xml' | gpon-validate check --running running.xml --edits - --json\n"
    "\n";

constexpr std::array<Choice<int>, 6> kTraceLevels{
    {{"fine", 10}, {"progress", 11}, {"decisions", 12}, {"10", 10}, {"11", 11}, {"12", 12}}};
constexpr std::array<Choice<ReportFormat>, 6> kReportFormats{{{"text", ReportFormat::kText},
                                                              {"json", ReportFormat::kJson},
                                                              {"sarif", ReportFormat::kSarif},
                                                              {"junit", ReportFormat::kJunit},
                                                              {"gitlab", ReportFormat::kGitlab},
                                                              {"github", ReportFormat::kGithub}}};

void add_check_inputs(CLI::App &app, CheckOptions &options)
{
    const auto change = add_change(app, options);
    app.add_option("--edits", options.edits_from,
                   "Folder of such changes, or - for a list of their files on stdin, one a line")
        ->type_name("DIR")
        ->check(file_name())
        ->excludes(change.edit)
        ->excludes(change.candidate);
    app.add_flag("--in-turn", options.in_turn,
                 "Check each edit on top of those before it, as commits would; ends with the first "
                 "that is not accepted (if not given: each against RUNNING)");
    add_reading(app, options);
    add_card(app, options);
}

void add_reports(CLI::App &app, CheckOptions &options)
{
    app.add_flag("--json", options.json,
                 "Print the report as JSON, of several edits each on a line, and ask nothing: as "
                 "--report json");
    app.add_option_function<std::vector<std::string>>(
           "--report",
           [&options](const std::vector<std::string> &texts) {
               for (const auto &text : texts) {
                   options.reports.push_back(read_report(text));
               }
           },
           "Report as text, json, sarif, junit, gitlab (code quality) or github (annotations), to "
           "FILE or instead of the text on stdout; may be given several times")
        ->type_name("FORMAT[=FILE]")
        ->allow_extra_args(false);
}

/** @param given  As CLI11 tells it: the word behind =, or whether the flag is on. */
void take_yes(const std::string &given, CheckOptions &options)
{
    if (given == "true" || given == "false") {
        options.answer = given == "true" ? std::optional<bool>(true) : std::nullopt;
        return;
    }
    options.confirmed_rules = CLI::detail::split(given, ',');
    for (const auto &rule : options.confirmed_rules) {
        require_rule(rule);
    }
}

/** @param given  As above. */
void take_all(const std::string &given, CheckOptions &options)
{
    if (given != "true" && given != "false" && given != "full") {
        throw CLI::ValidationError("--all", given + " is not full");
    }
    options.all = given != "false";
}

/** @param is_key  It is the first word of the option: the second is a path. */
void take_rule(const std::string &word, bool is_key)
{
    if (is_key) {
        require_rule(word);
    } else if (word.rfind('/', 0) != 0) {
        throw CLI::ValidationError(word + " is no path of the card, such as "
                                          "/config/gpon{1/1}/pon-link{3}/upstream");
    }
}

void add_check_switches(CLI::App &app, CheckOptions &options)
{
    app.add_option("--rule", options.rule,
                   "Ask this rule only, about all its nodes or the one of PATH, whether the change "
                   "calls for it or not; CANDIDATE stands before it")
        ->type_name("KEY [PATH]")
        ->expected(1, 2)
        ->each([is_key = true](const std::string &word) mutable {
            take_rule(word, std::exchange(is_key, false));
        });
    app.add_flag("--new-only", options.new_only,
                 "As --all, and tell apart what the running configuration draws on its own: it is "
                 "counted, not shown. The result stays what it is");
    app.add_flag("--diff", options.differences, "Show what the change does, as the command diff");
    app.add_flag("--explain", options.explain,
                 "Show which rules ran, why, what they read, and how long everything took");
    app.add_flag("--calls", options.calls, "As --explain, with each rule's client calls by name");
    app.add_flag("--reads", options.reads,
                 "As --explain, with each place of the configuration that a rule read");
    app.add_flag("--check-running", options.check_running,
                 "Check the running configuration against the data model as well: without this "
                 "it is trusted, and only what the change makes of it is checked");
    app.add_flag("--no-reuse", options.no_reuse,
                 "Of several edits, ask the plug-in everything for each: without this, answers are "
                 "used again as long as nothing has changed that they depend on");
    app.add_flag("--in-process", options.in_process,
                 "Ask the plug-in in this very process, for debuggers: no --timeout, and whatever "
                 "kills it kills this program");
}

void add_traces(CLI::App &app, CheckOptions &options)
{
    auto *trace = add_choice(
        app, "--trace", kTraceLevels, [&options](int level) { options.trace_level = level; },
        "Write the plug-in's traces from this level up: fine (10), progress (11), decisions (12)");
    trace->type_name("LEVEL");
    app.add_option("--bundle", options.bundle,
                   "Pack all that a maintainer needs into FILE (.tar.zst), without secrets: "
                   "`replay` checks it again")
        ->type_name("FILE")
        ->check(file_name());
    app.add_option("--trace-file", options.trace_file, "Where to write them instead of to stderr")
        ->type_name("FILE")
        ->check(file_name())
        ->needs(trace);
}

} // namespace

ReportOption read_report(const std::string &text)
{
    ReportOption report;
    const auto sign = text.find('=');
    report.name = text.substr(0, sign);
    report.format = chosen("--report", kReportFormats, report.name);
    if (sign != std::string::npos) {
        report.file = text.substr(sign + 1);
        if (report.file.empty()) {
            throw CLI::ValidationError("--report", "no file is named behind " + text);
        }
    }
    return report;
}

void add_answers(CLI::App &app, CheckOptions &options)
{
    auto *yes = app.add_flag("--yes", options.yes,
                             "Confirm all warnings; with --yes=RULE,... only those of these rules")
                    ->each([&options](const std::string &given) { take_yes(given, options); });
    app.add_flag_callback(
           "--no", [&options] { options.answer = false; }, "Confirm no warning")
        ->excludes(yes);
    app.add_flag("--warnings-as-errors", options.warnings_as_errors,
                 "A warning rejects the change, and nobody is asked")
        ->excludes(yes);
    app.add_flag("--all", options.shown,
                 "Show every objection, not the first one only; with --all=full nothing of a long "
                 "list is left out")
        ->each([&options](const std::string &given) { take_all(given, options); });
}

void add_limits(CLI::App &app, CheckOptions &options)
{
    constexpr int kLongestTimeout = 1000000;
    app.add_option_function<int>(
           "--timeout",
           [&options](int seconds) { options.timeout = std::chrono::seconds(seconds); },
           "Longest time for one rule, and for an input that stays silent, in seconds; 0 is none "
           "(60 if not given)")
        ->type_name("SECONDS")
        ->transform(decimal())
        ->check(CLI::Range(0, kLongestTimeout));
    add_max_size(app, options);
}

void add_check(CLI::App &program, CheckOptions &options)
{
    auto *app =
        program.add_subcommand("check", "Check a change against the data model and all rules");
    app->footer(std::string(kCheckExamples) + kExitCodes);
    add_check_inputs(*app, options);
    add_answers(*app, options);
    add_check_switches(*app, options);
    add_reports(*app, options);
    add_limits(*app, options);
    add_traces(*app, options);
    add_color(*app, options);
}

void require_one_on_stdout(const CheckOptions &options)
{
    const auto printed =
        std::count_if(options.reports.begin(), options.reports.end(),
                      [](const ReportOption &report) { return report.file.empty(); });
    if (printed + (options.json ? 1 : 0) > 1) {
        throw CLI::ValidationError("--report",
                                   "only one report can go to stdout: name a file, as in " +
                                       options.reports.front().name + "=FILE");
    }
}

} // namespace host

#include "cli/program.h"

#include "checker/outcome.h"
#include "cli/audit_command.h"
#include "cli/check_command.h"
#include "cli/generate_command.h"
#include "cli/points_command.h"
#include "report/printable.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <ostream>
#include <string_view>
#include <utility>

namespace host
{
namespace
{

constexpr const char *kExitCodes =
    "Exit codes: 0 accepted, 1 rejected, 2 not confirmed, 3 could not be checked (bad input or\n"
    "options, unusable plug-in), 4 the plug-in died. Of several edits the worst result counts:\n"
    "4, then 3, 1, 2 and 0.";

constexpr const char *kProgramExamples =
    "Examples:\n"
    "  gpon-validate check --running running.xml --edit change.xml\n"
    "  gpon-validate points onu_bw_check";

constexpr const char *kCheckExamples =
    "Without --running the card has no configuration yet: every rule looks at all of CANDIDATE.\n"
    "\n"
    "Examples:\n"
    "  gpon-validate check --running running.xml --edit change.xml --yes\n"
    "  gpon-validate check --running running.json candidate.json --all --explain\n"
    "  gpon-validate check --running running.xml --edit first.xml --edit second.xml --in-turn\n"
    "  find changes -name '*.xml' | gpon-validate check --running running.xml --edits - --json\n"
    "  gpon-validate check --running running.xml --edits changes --report sarif=gpon.sarif\n"
    "\n";

constexpr const char *kAuditExamples =
    "All rules are asked about all their nodes, in RUNNING and after each EDIT. What a rule was "
    "seen "
    "to read\nmust be covered by its dependencies in the data model. Exit code 1: it is not, or a "
    "dependency was never\nread, and no reason is known.\n"
    "\n"
    "Examples:\n"
    "  gpon-validate audit --running running.xml\n"
    "  gpon-validate audit --running running.xml --edit change.xml --json";

constexpr const char *kPointsExamples = "Examples:\n"
                                        "  gpon-validate points\n"
                                        "  gpon-validate points onu_bw_check --json";

constexpr const char *kGenerateExamples =
    "Examples:\n"
    "  gpon-validate generate --links 16 --onus 128 --service-ports 4096 -o running.xml\n"
    "  gpon-validate generate --links 2 --format json -o running.json --card card.json";

struct Commands {
    CheckOptions check;
    CheckOptions audit;
    PointsOptions points;
    GenerateOptions generate;
};

template <typename Value>
using Choice = std::pair<const char *, Value>;

constexpr std::array<Choice<int>, 6> kTraceLevels{
    {{"fine", 10}, {"progress", 11}, {"decisions", 12}, {"10", 10}, {"11", 11}, {"12", 12}}};
constexpr std::array<Choice<ColorChoice>, 3> kColors{{{"auto", ColorChoice::kAuto},
                                                      {"always", ColorChoice::kAlways},
                                                      {"never", ColorChoice::kNever}}};
constexpr std::array<Choice<engine::Format>, 2> kFormats{
    {{"xml", engine::Format::kXml}, {"json", engine::Format::kJson}}};
constexpr std::array<Choice<ReportFormat>, 6> kReportFormats{{{"text", ReportFormat::kText},
                                                              {"json", ReportFormat::kJson},
                                                              {"sarif", ReportFormat::kSarif},
                                                              {"junit", ReportFormat::kJunit},
                                                              {"gitlab", ReportFormat::kGitlab},
                                                              {"github", ReportFormat::kGithub}}};

/** Of every option that takes a file: a variable that is not set must not pass for a choice. */
CLI::Validator file_name()
{
    return {[](std::string &text) { return std::string(text.empty() ? "no file is named" : ""); },
            ""};
}

/** Numbers are decimal, whatever zeros they begin with. */
CLI::Validator decimal()
{
    return {[](std::string &text) {
                text.erase(0, std::min(text.find_first_not_of('0'), text.size() - 1));
                return std::string();
            },
            ""};
}

/** The parser takes the next word for the value of an option that ends with `=`. */
void refuse_empty_values(int argc, const char *const *argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string_view word(argv[i]);
        if (word.starts_with("--") && word.find('=') == word.size() - 1) {
            throw CLI::ValidationError(std::string(word.substr(0, word.size() - 1)),
                                       "nothing stands behind its =");
        }
    }
}

/** Whether the command line asks for a JSON report: also one that cannot be understood. */
bool wants_json_report(int argc, const char *const *argv)
{
    const std::vector<std::string_view> words(argv + 1, argv + argc);
    const auto has = [&words](std::string_view word) {
        return std::find(words.begin(), words.end(), word) != words.end();
    };
    constexpr std::array<std::string_view, 2> kTwoWords{"--report", "json"};
    return has("check") && (has("--json") || has("--report=json") ||
                            std::search(words.begin(), words.end(), kTwoWords.begin(),
                                        kTwoWords.end()) != words.end());
}

/** What one of some words stands for. */
template <typename Choices>
auto chosen(const std::string &name, const Choices &choices, const std::string &text)
{
    std::string known;
    for (const auto &[word, value] : choices) {
        if (text == word) {
            return value;
        }
        known += (known.empty() ? "" : ", ") + std::string(word);
    }
    throw CLI::ValidationError(name, text + " is none of " + known);
}

/** An option that takes one of some words. */
template <typename Choices, typename Take>
CLI::Option *add_choice(CLI::App &app, const std::string &name, const Choices &choices,
                        const Take &take, const std::string &description)
{
    const auto read = [name, choices, take](const std::string &text) {
        take(chosen(name, choices, text));
    };
    return app.add_option_function<std::string>(name, read, description);
}

void add_card(CLI::App &app, CheckOptions &options)
{
    app.add_option("--card", options.card,
                   "Capabilities of the card, JSON (if not given: bandwidth check on, 8 PON links "
                   "of 128 ONUs)")
        ->type_name("CARD")
        ->check(file_name());
    app.add_option("--plugin", options.plugin,
                   "Plug-in to ask, instead of the card's own next to this program")
        ->type_name("PATH")
        ->check(file_name());
}

void add_check_inputs(CLI::App &app, CheckOptions &options)
{
    app.add_option("--running", options.running, "Committed configuration, XML or JSON")
        ->type_name("RUNNING")
        ->check(file_name());
    auto *edit = app.add_option("--edit", options.edits,
                                "Change with the operations of NETCONF's edit-config, XML or JSON; "
                                "may be given several times")
                     ->type_name("EDIT")
                     ->check(file_name())
                     ->allow_extra_args(false);
    auto *edits =
        app.add_option(
               "--edits", options.edits_from,
               "Folder of such changes, or - for a list of their files on stdin, one a line")
            ->type_name("DIR")
            ->check(file_name())
            ->excludes(edit);
    app.add_flag("--in-turn", options.in_turn,
                 "Check each edit on top of those before it, as commits would; ends with the first "
                 "that is not accepted (if not given: each against RUNNING)");
    app.add_option("CANDIDATE", options.candidate, "Whole configuration after the change")
        ->type_name("")
        ->check(file_name())
        ->excludes(edit)
        ->excludes(edits);
    add_card(app, options);
}

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

/** Two reports on stdout could not be told apart. */
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

void add_check_switches(CLI::App &app, CheckOptions &options)
{
    auto *yes = app.add_flag_callback(
        "--yes", [&options] { options.answer = true; }, "Confirm all warnings");
    app.add_flag_callback(
           "--no", [&options] { options.answer = false; }, "Confirm no warning")
        ->excludes(yes);
    app.add_flag("--all", options.all, "Show every objection, not the first one only");
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

void add_check_limits(CLI::App &app, CheckOptions &options)
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
    app.add_option("--max-size", options.max_size,
                   "Largest size of an input in bytes, or with a unit such as MiB (512 MiB if not "
                   "given)")
        ->transform(CLI::AsSizeValue(false))
        ->type_name("SIZE");
    auto *trace = add_choice(
        app, "--trace", kTraceLevels, [&options](int level) { options.trace_level = level; },
        "Write the plug-in's traces from this level up: fine (10), progress (11), decisions (12)");
    trace->type_name("LEVEL");
    app.add_option("--trace-file", options.trace_file, "Where to write them instead of to stderr")
        ->type_name("FILE")
        ->check(file_name())
        ->needs(trace);
    add_choice(
        app, "--color", kColors, [&options](ColorChoice choice) { options.color = choice; },
        "Colours: auto (on a terminal, unless NO_COLOR is set), always, never")
        ->type_name("WHEN");
}

void add_check(CLI::App &program, CheckOptions &options)
{
    auto *app =
        program.add_subcommand("check", "Check a change against the data model and all rules");
    app->footer(std::string(kCheckExamples) + kExitCodes);
    add_check_inputs(*app, options);
    add_check_switches(*app, options);
    add_reports(*app, options);
    add_check_limits(*app, options);
}

void add_audit(CLI::App &program, CheckOptions &options)
{
    auto *app = program.add_subcommand(
        "audit", "Compare what the rules read with their dependencies in the data model");
    app->footer(kAuditExamples);
    app->add_option("--running", options.running, "Configuration to ask about, XML or JSON")
        ->type_name("RUNNING")
        ->required()
        ->check(file_name());
    app->add_option("--edit", options.edits,
                    "Change to ask about as well; may be given several times")
        ->type_name("EDIT")
        ->check(file_name())
        ->allow_extra_args(false);
    add_card(*app, options);
    app->add_flag("--json", options.json, "Print JSON");
}

void add_points(CLI::App &program, PointsOptions &options)
{
    auto *app =
        program.add_subcommand("points", "List the rules, and where they sit in the data model");
    app->footer(kPointsExamples);
    app->add_option("KEY", options.key, "Rule to show in detail")->type_name("");
    app->add_flag("--json", options.json, "Print JSON");
}

void add_generate(CLI::App &program, GenerateOptions &options)
{
    constexpr std::uint32_t kMaxProfiles = 10000;
    constexpr std::uint32_t kMaxServicePorts = 1000000;
    auto *app = program.add_subcommand("generate", "Write a sound configuration of any size");
    app->footer(kGenerateExamples);
    CardShape &shape = options.shape;
    const auto figure = [app](const char *name, std::uint32_t &value, const char *description,
                              std::uint32_t least, std::uint32_t most) {
        app->add_option(name, value, description)
            ->type_name("N")
            ->transform(decimal())
            ->check(CLI::Range(least, most))
            ->capture_default_str();
    };
    figure("--links", shape.links, "PON links, 1 to 256", 1, 256);
    figure("--onus", shape.onus, "ONUs on each link, 1 to 128", 1, 128);
    figure("--line-profiles", shape.line_profiles, "Line profiles", 1, kMaxProfiles);
    figure("--bandwidth-profiles", shape.bandwidth_profiles, "Bandwidth profiles", 1, kMaxProfiles);
    figure("--rg-profiles", shape.rg_profiles, "RG profiles", 1, kMaxProfiles);
    figure("--service-ports", shape.service_ports, "Service ports; a card takes 4096 at most", 0,
           kMaxServicePorts);
    app->add_option("--seed", shape.seed, "Another one makes another configuration")
        ->type_name("N")
        ->transform(decimal())
        ->capture_default_str();
    add_choice(
        *app, "--format", kFormats, [&options](engine::Format format) { options.format = format; },
        "xml (if not given) or json")
        ->type_name("FORMAT");
    app->add_option("-o,--output", options.output, "Write to this file instead of to stdout")
        ->type_name("FILE")
        ->check(file_name());
    app->add_option("--card", options.card, "Also write the capabilities of a matching card")
        ->type_name("FILE")
        ->check(file_name());
}

int run_command(CLI::App &app, const Commands &commands, const Console &console)
{
    const CheckOptions &check = commands.check;
    if (app.got_subcommand("points")) {
        return run_points(commands.points, console);
    }
    if (app.got_subcommand("generate")) {
        return run_generate(commands.generate, console);
    }
    if (app.got_subcommand("audit")) {
        return run_audit(commands.audit, console);
    }
    if (!app.got_subcommand("check")) {
        throw CLI::RequiredError("A command: check, audit, points or generate");
    }
    const bool has_edits = !check.edits.empty() || !check.edits_from.empty();
    if (check.running.empty() && !has_edits && check.candidate.empty()) {
        throw CLI::RequiredError("A configuration: --running, --edit or CANDIDATE");
    }
    if (check.in_turn && !has_edits) {
        throw CLI::RequiresError("--in-turn", "--edit or --edits");
    }
    require_one_on_stdout(check);
    return run_check(check, console);
}

int parse_and_run(int argc, const char *const *argv, const Console &console)
{
    Commands commands;
    CLI::App app("Asks the GPON card's own rules whether a configuration change is sound.",
                 "gpon-validate");
    app.set_version_flag("--version", std::string("gpon-validate ") + GPON_VERSION);
    app.footer(std::string(kProgramExamples) + "\n\n" + kExitCodes);
    app.require_subcommand(0, 1);
    add_check(app, commands.check);
    add_audit(app, commands.audit);
    add_points(app, commands.points);
    add_generate(app, commands.generate);
    try {
        refuse_empty_values(argc, argv);
        app.parse(argc, argv);
        return run_command(app, commands, console);
    } catch (const CLI::ParseError &failure) {
        if (failure.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            app.exit(failure, console.out, console.err); // --help and --version
            flush_or_throw(console.out);
            return 0;
        }
        if (wants_json_report(argc, argv)) {
            return report_usage_error(failure.what(), console);
        }
        console.err
            << "gpon-validate: " << printable(failure.what())
            << "\nRun it with --help, or with a command and --help, to see what it takes.\n";
    }
    return static_cast<int>(Result::kNotChecked);
}

} // namespace

int run_program(int argc, const char *const *argv, const Console &console)
{
    try {
        return parse_and_run(argc, argv, console);
    } catch (const std::exception &failure) {
        console.err << "gpon-validate: " << printable(failure.what()) << '\n';
    }
    return static_cast<int>(Result::kNotChecked);
}

} // namespace host

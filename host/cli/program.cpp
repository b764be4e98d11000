#include "cli/program.h"

#include "checker/outcome.h"
#include "cli/check_command.h"
#include "cli/generate_command.h"
#include "cli/points_command.h"

#include <CLI/CLI.hpp>

#include <array>
#include <ostream>
#include <utility>

namespace host
{
namespace
{

constexpr const char *kExitCodes =
    "Exit codes: 0 accepted, 1 rejected, 2 not confirmed, 3 could not be checked (bad input or\n"
    "options, plug-in that cannot be used), 4 the plug-in died.";

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
    "\n";

constexpr const char *kPointsExamples = "Examples:\n"
                                        "  gpon-validate points\n"
                                        "  gpon-validate points onu_bw_check --json";

constexpr const char *kGenerateExamples =
    "Examples:\n"
    "  gpon-validate generate --links 16 --onus 128 --service-ports 4096 -o running.xml\n"
    "  gpon-validate generate --links 2 --format json -o running.json --card card.json";

template <typename Value>
using Choice = std::pair<const char *, Value>;

constexpr std::array<Choice<int>, 6> kTraceLevels{
    {{"fine", 10}, {"progress", 11}, {"decisions", 12}, {"10", 10}, {"11", 11}, {"12", 12}}};
constexpr std::array<Choice<ColorChoice>, 3> kColors{{{"auto", ColorChoice::kAuto},
                                                      {"always", ColorChoice::kAlways},
                                                      {"never", ColorChoice::kNever}}};
constexpr std::array<Choice<engine::Format>, 2> kFormats{
    {{"xml", engine::Format::kXml}, {"json", engine::Format::kJson}}};

/** An option that takes one of some words. */
template <typename Choices, typename Take>
CLI::Option *add_choice(CLI::App &app, const std::string &name, const Choices &choices,
                        const Take &take, const std::string &description)
{
    const auto read = [name, choices, take](const std::string &text) {
        std::string known;
        for (const auto &[word, value] : choices) {
            if (text == word) {
                take(value);
                return;
            }
            known += (known.empty() ? "" : ", ") + std::string(word);
        }
        throw CLI::ValidationError(name, text + " is none of " + known);
    };
    return app.add_option_function<std::string>(name, read, description);
}

void add_check_inputs(CLI::App &app, CheckOptions &options)
{
    app.add_option("--running", options.running, "Committed configuration, XML or JSON")
        ->type_name("RUNNING");
    auto *edit = app.add_option("--edit", options.edit,
                                "Change with the operations of NETCONF's edit-config, XML or JSON")
                     ->type_name("EDIT");
    app.add_option("CANDIDATE", options.candidate, "Whole configuration after the change")
        ->type_name("")
        ->excludes(edit);
    app.add_option(
           "--card", options.card,
           "Figures of the card, JSON (if not given: bandwidth check on, 8 PON links of 128 ONUs)")
        ->type_name("CARD");
    app.add_option("--plugin", options.plugin,
                   "Plug-in to ask, instead of the card's own next to this program")
        ->type_name("PATH");
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
                 "Show which rules ran, why, and how long everything took");
    app.add_flag("--calls", options.calls, "As --explain, with each rule's client calls by name");
    app.add_flag("--json", options.json, "Print the report as JSON, and ask nothing");
    app.add_flag("--in-process", options.in_process,
                 "Ask the plug-in in this very process, for debuggers: no --timeout, and whatever "
                 "kills it kills this program");
}

void add_check_figures(CLI::App &app, CheckOptions &options)
{
    constexpr int kLongestTimeout = 1000000;
    app.add_option_function<int>(
           "--timeout",
           [&options](int seconds) { options.timeout = std::chrono::seconds(seconds); },
           "Longest time for one rule in seconds; 0 is none (60 if not given)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0, kLongestTimeout));
    auto *trace = add_choice(
        app, "--trace", kTraceLevels, [&options](int level) { options.trace_level = level; },
        "Write the plug-in's traces from this level up: fine (10), progress (11), decisions (12)");
    trace->type_name("LEVEL");
    app.add_option("--trace-file", options.trace_file, "Where to write them instead of to stderr")
        ->type_name("FILE")
        ->needs(trace);
    add_choice(
        app, "--color", kColors, [&options](ColorChoice choice) { options.color = choice; },
        "Colours: auto (on a terminal, unless NO_COLOR is set), always, never")
        ->type_name("WHEN");
}

CLI::App *add_check(CLI::App &program, CheckOptions &options)
{
    auto *app =
        program.add_subcommand("check", "Check a change against the data model and all rules");
    app->footer(std::string(kCheckExamples) + kExitCodes);
    add_check_inputs(*app, options);
    add_check_switches(*app, options);
    add_check_figures(*app, options);
    return app;
}

CLI::App *add_points(CLI::App &program, PointsOptions &options)
{
    auto *app =
        program.add_subcommand("points", "List the rules, and where they sit in the data model");
    app->footer(kPointsExamples);
    app->add_option("KEY", options.key, "Rule to show in detail")->type_name("");
    app->add_flag("--json", options.json, "Print JSON");
    return app;
}

CLI::App *add_generate(CLI::App &program, GenerateOptions &options)
{
    constexpr std::uint32_t kMostProfiles = 10000;
    constexpr std::uint32_t kMostServicePorts = 1000000;
    auto *app = program.add_subcommand("generate", "Write a sound configuration of any size");
    app->footer(kGenerateExamples);
    CardShape &shape = options.shape;
    const auto figure = [app](const char *name, std::uint32_t &value, const char *description,
                              std::uint32_t least, std::uint32_t most) {
        app->add_option(name, value, description)
            ->type_name("N")
            ->check(CLI::Range(least, most))
            ->capture_default_str();
    };
    figure("--links", shape.links, "PON links, 1 to 16", 1, 16);
    figure("--onus", shape.onus, "ONUs on each link, 1 to 128", 1, 128);
    figure("--line-profiles", shape.line_profiles, "Line profiles", 1, kMostProfiles);
    figure("--bandwidth-profiles", shape.bandwidth_profiles, "Bandwidth profiles", 1,
           kMostProfiles);
    figure("--rg-profiles", shape.rg_profiles, "RG profiles", 1, kMostProfiles);
    figure("--service-ports", shape.service_ports, "Service ports; a card takes 4096 at most", 0,
           kMostServicePorts);
    app->add_option("--seed", shape.seed, "Another one makes another configuration")
        ->type_name("N")
        ->capture_default_str();
    add_choice(
        *app, "--format", kFormats, [&options](engine::Format format) { options.format = format; },
        "xml (if not given) or json")
        ->type_name("FORMAT");
    app->add_option("-o,--output", options.output, "Write to this file instead of to stdout")
        ->type_name("FILE");
    app->add_option("--card", options.card, "Also write the figures of a fitting card")
        ->type_name("FILE");
    return app;
}

} // namespace

int run_program(int argc, const char *const *argv, const Console &console)
{
    CheckOptions check;
    PointsOptions points;
    GenerateOptions generate;
    CLI::App app("Asks the GPON card's own rules whether a configuration change is sound.",
                 "gpon-validate");
    app.set_version_flag("--version", std::string("gpon-validate ") + GPON_VERSION);
    app.footer(std::string(kProgramExamples) + "\n\n" + kExitCodes);
    app.require_subcommand(0, 1);
    const auto *check_app = add_check(app, check);
    const auto *points_app = add_points(app, points);
    add_generate(app, generate);

    try {
        app.parse(argc, argv);
        if (app.get_subcommands().empty()) {
            throw CLI::RequiredError("A command: check, points or generate");
        }
        if (check_app->parsed()) {
            if (check.running.empty() && check.edit.empty() && check.candidate.empty()) {
                throw CLI::RequiredError("A configuration: --running, --edit or CANDIDATE");
            }
            return run_check(check, console);
        }
        return points_app->parsed() ? run_points(points, console) : run_generate(generate, console);
    } catch (const CLI::ParseError &failure) {
        if (failure.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            return app.exit(failure, console.out, console.err); // --help and --version
        }
        console.err
            << "gpon-validate: " << failure.what()
            << "\nRun it with --help, or with a command and --help, to see what it takes.\n";
    } catch (const std::exception &failure) {
        console.err << "gpon-validate: " << failure.what() << '\n';
    }
    return static_cast<int>(Result::kNotChecked);
}

} // namespace host

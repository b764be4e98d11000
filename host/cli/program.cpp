#include "cli/program.h"

#include "checker/outcome.h"
#include "cli/audit_command.h"
#include "cli/bundle_check.h"
#include "cli/check_arguments.h"
#include "cli/check_command.h"
#include "cli/diff_command.h"
#include "cli/fleet_command.h"
#include "cli/generate_command.h"
#include "cli/headroom_command.h"
#include "cli/option_kinds.h"
#include "cli/points_command.h"
#include "cli/replay_command.h"
#include "cli/usage_error.h"
#include "report/printable.h"

#include <algorithm>
#include <ostream>
#include <string_view>
#include <utility>

namespace host
{
namespace
{

constexpr const char *kProgramExamples =
    "Examples:\n"
    "  gpon-validate check --running running.xml --edit change.xml\n"
    "  gpon-validate points onu_bw_check";

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
    DiffOptions diff;
    FleetOptions fleet;
    PointsOptions points;
    GenerateOptions generate;
    HeadroomOptions headroom;
    ReplayOptions replay;
};

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
bool wants_json(int argc, const char *const *argv)
{
    const std::vector<std::string_view> words(argv + 1, argv + argc);
    const auto has = [&words](std::string_view word) {
        return std::find(words.begin(), words.end(), word) != words.end();
    };
    constexpr std::array<std::string_view, 2> kTwoWords{"--report", "json"};
    return has("--json") || has("--report=json") ||
           std::search(words.begin(), words.end(), kTwoWords.begin(), kTwoWords.end()) !=
               words.end();
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
    add_reading(*app, options);
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

int run_fleet(const CLI::App &app, const FleetOptions &options, const Console &console)
{
    if (options.output.empty()) {
        throw CLI::RequiredError("--output");
    }
    if (app.got_subcommand("merge")) {
        return run_fleet_merge(options, console);
    }
    if (options.list.empty() && options.list_from.empty()) {
        throw CLI::RequiredError("LIST or --list-from");
    }
    return run_fleet_command(options, console);
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
    if (app.got_subcommand("diff")) {
        return run_diff(commands.diff, console);
    }
    if (app.got_subcommand("replay")) {
        return run_replay(commands.replay, console);
    }
    if (app.got_subcommand("headroom")) {
        return run_headroom(commands.headroom, console);
    }
    if (app.got_subcommand("audit")) {
        require_one_stdin(commands.audit);
        return run_audit(commands.audit, console);
    }
    if (app.got_subcommand("fleet")) {
        return run_fleet(*app.get_subcommand("fleet"), commands.fleet, console);
    }
    if (!app.got_subcommand("check")) {
        throw CLI::RequiredError(
            "A command: check, headroom, diff, fleet, audit, points, generate or replay");
    }
    const bool has_edits = !check.edits.empty() || !check.edits_from.empty();
    if (check.running.empty() && !has_edits && check.candidate.empty()) {
        throw CLI::RequiredError("A configuration: --running, --edit or CANDIDATE");
    }
    require_one_stdin(check);
    if (check.in_turn && !check.rule.empty()) {
        throw CLI::ExcludesError("--in-turn", "--rule"); // One rule is not enough for a commit.
    }
    if (check.in_turn && !has_edits) {
        throw CLI::RequiresError("--in-turn", "--edit or --edits");
    }
    require_one_on_stdout(check);
    return check.bundle.empty() ? run_check(check, console) : check_and_bundle(check, console);
}

int parse_and_run(int argc, const char *const *argv, const Console &console)
{
    Commands commands;
    CLI::App app("Asks the GPON card's own rules whether a configuration change is sound.",
                 "gpon-validate");
    app.set_version_flag("--version", std::string("gpon-validate ") + GPON_VERSION);
    app.footer(std::string(kProgramExamples) + "\n\n" + kExitCodes);
    app.require_subcommand(0, 1);
    app.allow_config_extras(CLI::config_extras_mode::error);
    app.fallthrough(); // So that --config may stand behind the command.
    app.set_config("--config", "",
                   "Read options that are not given here from FILE (TOML): a section for each "
                   "command, such as [check] with card = \"card.json\"")
        ->type_name("FILE");
    add_check(app, commands.check);
    add_headroom(app, commands.headroom);
    add_diff(app, commands.diff);
    add_fleet(app, commands.fleet);
    add_audit(app, commands.audit);
    add_points(app, commands.points);
    add_generate(app, commands.generate);
    add_replay(app, commands.replay);
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
        return report_usage_error(explain(failure, app), wants_json(argc, argv), console);
    }
}

} // namespace

int run_program(int argc, const char *const *argv, const Console &console)
{
    try {
        return parse_and_run(argc, argv, console);
    } catch (const std::exception &failure) {
        console.err << "gpon-validate: " << printable(engine::shortened(failure.what())) << '\n';
    }
    return static_cast<int>(Result::kNotChecked);
}

} // namespace host

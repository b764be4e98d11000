#include "cli/fleet_options.h"

#include "cli/option_kinds.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace host
{
namespace
{

constexpr const char *kFleetHelp =
    "On each line of LIST: NAME, RUNNING and perhaps CARD and EDIT, separated by tabs, or a JSON\n"
    "object with the members name, running, card and edit. Each card has one line in RESULTS: its\n"
    "name, a hash of its inputs, and the report that check --json prints.\n"
    "\n"
    "Examples:\n"
    "  gpon-validate fleet cards.tsv --edit change.xml -o results.jsonl\n"
    "  gpon-validate fleet cards.tsv --edit change.xml -o results.jsonl --resume\n"
    "  gpon-validate fleet --list-from cards --edit-command 'xsltproc move.xsl {running}' -o "
    "results.jsonl\n"
    "  gpon-validate fleet cards.tsv --edit change.xml --shard 1/2 -o part1.jsonl\n"
    "  gpon-validate fleet merge cards.tsv part1.jsonl part2.jsonl -o results.jsonl\n"
    "\n";

constexpr const char *kFleetExitCodes =
    "\n5: interrupted; what is in RESULTS stands, and --resume goes on with it.";

std::size_t positive(std::string_view text)
{
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

void take_shard(const std::string &text, Shard &shard)
{
    const auto slash = std::min(text.find('/'), text.size() - 1);
    shard.number = positive(std::string_view(text).substr(0, slash));
    shard.count = positive(std::string_view(text).substr(slash + 1));
    if (shard.number < 1 || shard.number > shard.count) {
        throw CLI::ValidationError("--shard", text + " is no part such as 1/4, the first of four");
    }
}

void take_report(const std::string &text, FleetOptions &options)
{
    constexpr std::string_view kPage = "html=";
    if (text.starts_with(kPage) && text.size() > kPage.size()) {
        options.pages.push_back(text.substr(kPage.size()));
        return;
    }
    const ReportOption report = read_report(text);
    if (report.format == ReportFormat::kText || report.format == ReportFormat::kJson) {
        throw CLI::ValidationError("--report", report.name + " is what RESULTS and stdout tell");
    }
    if (report.file.empty()) {
        throw CLI::ValidationError("--report", "name a file, as in " + report.name + "=FILE");
    }
    options.reports.push_back(report);
}

void add_inputs(CLI::App &app, FleetOptions &options)
{
    auto *list = app.add_option("LIST", options.list, "Cards, one a line; - is stdin")
                     ->type_name("")
                     ->check(file_name());
    app.add_option("--list-from", options.list_from,
                   "Folder with a folder for each card instead, in which running.xml and perhaps "
                   "card.json and change.xml are")
        ->type_name("DIR")
        ->check(file_name())
        ->excludes(list);
    auto *edit = app.add_option("--edit", options.edit,
                                "Change for all cards that have none of their own, XML or JSON")
                     ->type_name("EDIT")
                     ->check(file_name());
    app.add_option("--edit-command", options.edit_command,
                   "Shell command that prints this change instead; {running}, {card} and {name} "
                   "in it are replaced, quoted")
        ->type_name("COMMAND")
        ->excludes(edit);
    add_reading(app, options.check);
    app.add_option("--plugin", options.check.plugin,
                   "Plug-in to ask, instead of the card's own next to this program")
        ->type_name("PATH")
        ->check(file_name());
}

void add_output(CLI::App &app, FleetOptions &options)
{
    app.add_option("-o,--output", options.output, "File for the results, JSON lines")
        ->type_name("RESULTS")
        ->check(file_name());
    app.add_flag("--json", options.check.json, "Print the summary as JSON");
    app.add_option_function<std::vector<std::string>>(
           "--report",
           [&options](const std::vector<std::string> &texts) {
               for (const auto &text : texts) {
                   take_report(text, options);
               }
           },
           "Also write the results as html (a page that can be sorted and filtered), junit (a test "
           "case "
           "for each card), sarif, gitlab or github; may be given several times")
        ->type_name("FORMAT=FILE")
        ->allow_extra_args(false);
    add_color(app, options.check);
}

void add_way(CLI::App &app, FleetOptions &options)
{
    constexpr unsigned kMostJobs = 4096;
    app.add_option("--jobs", options.jobs,
                   "Cards to check at a time (if not given: as many as there are processors)")
        ->type_name("N")
        ->transform(decimal())
        ->check(CLI::Range(1U, kMostJobs));
    app.add_flag("--resume", options.resume,
                 "Go on with RESULTS: only cards whose result is not in it, or whose inputs have "
                 "changed, are checked");
    app.add_option_function<std::string>(
           "--shard", [&options](const std::string &text) { take_shard(text, options.shard); },
           "Check one of several parts only, such as 1/4: every fourth card from the first on")
        ->type_name("I/N");
    app.add_flag("--check-running", options.check.check_running,
                 "Check the running configurations against the data model as well");
}

void add_merge(CLI::App &fleet, FleetOptions &options)
{
    auto *app =
        fleet.add_subcommand("merge", "Put the results of parts together, in the order of LIST");
    app->add_option("LIST", options.list, "Cards, one a line; - is stdin")
        ->type_name("")
        ->required()
        ->check(file_name());
    app->add_option("PART", options.parts, "Results of a part; each card must be in one of them")
        ->type_name("")
        ->required()
        ->check(file_name());
    add_output(*app, options);
}

} // namespace

void add_fleet(CLI::App &program, FleetOptions &options)
{
    auto *app = program.add_subcommand("fleet", "Check a change of many cards");
    app->footer(std::string(kFleetHelp) + kExitCodes + kFleetExitCodes);
    app->require_subcommand(0, 1);
    add_inputs(*app, options);
    add_output(*app, options);
    add_way(*app, options);
    add_answers(*app, options.check);
    add_limits(*app, options.check);
    add_merge(*app, options);
}

} // namespace host

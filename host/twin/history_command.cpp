#include "twin/history_command.h"

#include "checker/model_schema.h"
#include "engine/data/changes.h"
#include "report/printable.h"
#include "report/report_diff.h"
#include "report/report_json.h"
#include "twin/event_bodies.h"
#include "twin/stored_tree.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <iomanip>
#include <ostream>

namespace host::twin
{
namespace
{

constexpr const char *kHistoryExamples =
    "A server may use the folder at the same time. The commit that is running has a star.\n"
    "\n"
    "Examples:\n"
    "  gpon-twin history --state card1\n"
    "  gpon-twin history --state card1 --limit 1 --json";

constexpr const char *kShowExamples =
    "Commit 0 is the configuration that the card came with.\n"
    "\n"
    "Examples:\n"
    "  gpon-twin show 7 --state card1\n"
    "  gpon-twin show 7 --state card1 --configuration > running.xml";

History open(const HistoryOptions &options)
{
    return History::open(options.state, History::Access::kRead);
}

std::string time_text(const Commit &commit)
{
    return text_of(EventTime(std::chrono::milliseconds(commit.time_ms)));
}

/** Such as "ssh from 127.0.0.1, session 3". */
std::string way_of(const Author &author)
{
    std::string text = author.transport;
    if (!author.host.empty()) {
        text += " from " + author.host;
    }
    if (author.session != 0) {
        text += ", session " + std::to_string(author.session);
    }
    return text;
}

std::string person(const Author &author)
{
    return author.user.empty() ? "the server" : author.user + " (" + author.role + ")";
}

std::string verdict(const Commit &commit)
{
    std::string text = commit.verdict;
    const char *separator = ", confirmed ";
    for (const auto &rule : commit.confirmations) {
        text += std::exchange(separator, ", ") + rule;
    }
    return text;
}

nlohmann::ordered_json json_commit(const Commit &commit)
{
    return {{"number", commit.number},          {"time", time_text(commit)},
            {"user", commit.author.user},       {"role", commit.author.role},
            {"session", commit.author.session}, {"transport", commit.author.transport},
            {"host", commit.author.host},       {"kind", name_of(commit.kind)},
            {"verdict", commit.verdict},        {"confirmations", commit.confirmations}};
}

/** What was running after a commit, or would have been. */
engine::Datastore tree_after(const History &history, const Commit &commit)
{
    const auto step = history.step(commit.number);
    if (commit.verdict == name_of(Result::kAccepted)) {
        return tree_of(model_schema(), history.configuration(commit.number));
    }
    if (commit.kind == CommitKind::kRollback) {
        return tree_of(model_schema(), history.configuration(step.restored));
    }
    auto stored = history.configuration(commit.base);
    if (!step.text.empty()) {
        stored.edits.push_back(step.text);
    }
    return tree_of(model_schema(), stored);
}

std::vector<Difference> changes_of(const History &history, const Commit &commit)
{
    const auto before = tree_of(model_schema(), history.configuration(commit.base));
    const auto after = tree_after(history, commit);
    return differences_of(engine::compare(before, after));
}

void print_table(const std::vector<Commit> &commits, CommitNumber running, std::ostream &out)
{
    std::vector<std::array<std::string, 6>> rows;
    std::array<std::size_t, 6> widths{};
    for (const auto &commit : commits) {
        rows.push_back({std::to_string(commit.number) + (commit.number == running ? "*" : ""),
                        time_text(commit), person(commit.author), way_of(commit.author),
                        name_of(commit.kind), verdict(commit)});
        for (std::size_t i = 0; i < widths.size(); ++i) {
            rows.back()[i] = printable(rows.back()[i]);
            widths[i] = std::max(widths[i], rows.back()[i].size());
        }
    }
    for (const auto &row : rows) {
        for (std::size_t i = 0; i + 1 < row.size(); ++i) {
            out << std::left << std::setw(static_cast<int>(widths[i])) << row[i] << "  ";
        }
        out << row.back() << '\n';
    }
}

void add_state(CLI::App &app, HistoryOptions &options)
{
    app.add_option("--state", options.state, "State folder of the twin")
        ->type_name("DIR")
        ->required();
}

} // namespace

void add_history(CLI::App &program, HistoryOptions &options)
{
    auto *app = program.add_subcommand("history", "List the commits of a state folder");
    app->footer(kHistoryExamples);
    add_state(*app, options);
    app->add_option("--limit", options.limit, "Show the latest N only")->type_name("N");
    app->add_flag("--json", options.json, "Print JSON");
}

void add_show(CLI::App &program, HistoryOptions &options)
{
    auto *app = program.add_subcommand("show", "Show a commit of a state folder");
    app->footer(kShowExamples);
    app->add_option("N", options.number, "Number of the commit")
        ->type_name("")
        ->required()
        ->check(CLI::NonNegativeNumber);
    add_state(*app, options);
    auto *json = app->add_flag("--json", options.json, "Print JSON");
    app->add_flag("--configuration", options.configuration,
                  "Print the configuration after it, secrets included")
        ->excludes(json);
}

void list_commits(const HistoryOptions &options, std::ostream &out)
{
    const History history = open(options);
    const auto commits = history.commits(options.limit);
    if (!options.json) {
        print_table(commits, history.running_number(), out);
        return;
    }
    auto list = nlohmann::ordered_json::array();
    for (const auto &commit : commits) {
        list.push_back(json_commit(commit));
    }
    out << list.dump(2) << '\n';
}

void show_commit(const HistoryOptions &options, std::ostream &out, const Style &style)
{
    const History history = open(options);
    if (options.configuration) {
        const auto stored = history.configuration(options.number);
        out << tree_of(model_schema(), stored).print(engine::Format::kXml) << '\n';
        return;
    }
    const Commit commit = history.commit(options.number);
    const auto changes = changes_of(history, commit);
    if (options.json) {
        auto json = json_commit(commit);
        json["changes"] = json_differences(changes);
        out << json.dump(2) << '\n';
        return;
    }
    out << printable(std::to_string(commit.number) + ": " + name_of(commit.kind) + " by " +
                     person(commit.author) + ", " + way_of(commit.author) + ", " +
                     time_text(commit) + ": " + verdict(commit))
        << '\n';
    print_differences(out, changes, style);
}

} // namespace host::twin

#include "cli/fleet_command.h"

#include "cli/check_inputs.h"
#include "cli/check_report.h"
#include "cli/fleet_reports.h"
#include "cli/fleet_watcher.h"
#include "cli/output_file.h"
#include "fleet/fleet_run.h"
#include "fleet/fleet_summary.h"
#include "fleet/merge.h"
#include "fleet/problem_list.h"
#include "fleet/worker_pool.h"
#include "report/printable.h"
#include "report/report_json.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <utility>

namespace host
{
namespace
{

CardList read_list(const FleetOptions &options)
{
    if (!options.list_from.empty()) {
        return find_cards(options.list_from);
    }
    return parse_card_list(read_input(options.list, options.check));
}

/** Every card must have an edit. */
void require_edits(const CardList &list, const FleetOptions &options)
{
    if (!options.edit.empty() || !options.edit_command.empty()) {
        return;
    }
    ProblemList problems;
    for (const auto &card : list.cards) {
        if (card.edit.empty()) {
            problems.add({engine::Fault::kIncomplete, list.source, card.line, "",
                          "the card " + card.name + " has no edit",
                          "name one for all such cards with --edit or --edit-command"});
        }
    }
    problems.throw_if_any();
}

void require_separate_results(const FleetOptions &options, const CardList &list)
{
    std::vector<NamedFile> inputs{
        {"LIST", options.list}, {"--edit", options.edit}, {"--plugin", options.check.plugin}};
    for (const auto &part : options.parts) {
        inputs.push_back({"a part", part});
    }
    for (const auto &card : list.cards) {
        for (const auto *path : {&card.running, &card.card, &card.edit}) {
            inputs.push_back({"a file of the card " + card.name, *path});
        }
    }
    std::vector<NamedFile> outputs{{"--output", options.output}};
    for (const auto &report : options.reports) {
        outputs.push_back({"--report", report.file});
    }
    for (const auto &page : options.pages) {
        outputs.push_back({"--report", page});
    }
    require_separate(outputs, inputs);
}

FleetPolicy policy_of(const FleetOptions &options)
{
    const CheckOptions &check = options.check;
    FleetPolicy policy;
    policy.policy = policy_of(check);
    policy.limits = {check.max_size, check.timeout};
    policy.reading = {check.skip_foreign, check.default_operation};
    policy.edit = options.edit;
    policy.edit_command = options.edit_command;
    policy.plugin = check.plugin;
    policy.check_running = check.check_running;
    nlohmann::json fingerprint{GPON_VERSION,
                               check.all,
                               check.answer.has_value(),
                               check.answer.value_or(false),
                               check.confirmed_rules,
                               check.warnings_as_errors,
                               check.check_running,
                               check.skip_foreign,
                               check.default_operation,
                               check.timeout.count(),
                               check.max_size};
    policy.fingerprint = fingerprint.dump();
    policy.confirm = [&check](Outcome &outcome) { note_need(outcome, check); };
    return policy;
}

using Sink = std::function<void(std::string_view)>;

/** Reads the results in their order, for the summary and reports, and passes them on. */
template <typename Results, typename Read>
FleetSummary summarise(const Results &results, const Read &read, FleetReports &reports,
                       const Sink &sink)
{
    FleetSummary summary;
    for (const auto &result : results) {
        const std::string text = read(result);
        const auto line = parse_result_line(std::string_view(text).substr(0, text.size() - 1));
        if (!line) {
            throw std::runtime_error("the results were changed by another program");
        }
        summary.add(*line);
        reports.add(*line);
        sink(text);
    }
    return summary;
}

/** The results in their order, beside the file until all are there. */
template <typename Results, typename Read>
FleetSummary write_results(const std::string &path, const Results &results, const Read &read,
                           FleetReports &reports)
{
    OutputFile file(path);
    auto summary = summarise(results, read, reports, [&file](std::string_view text) {
        if (const int error = file.write(text); error != 0) {
            file.fail(error);
        }
    });
    file.commit();
    return summary;
}

void print_summary(const FleetSummary &summary, const std::vector<CardTime> &slowest,
                   const FleetOptions &options, const Console &console)
{
    if (options.check.json) {
        auto json = summary.to_json();
        auto times = nlohmann::ordered_json::array();
        for (const auto &card : slowest) {
            times.push_back(
                {{"name", card.name},
                 {"time-us",
                  std::chrono::duration_cast<std::chrono::microseconds>(card.time).count()}});
        }
        json["slowest"] = times;
        console.out << print_json(json, console.out_is_terminal);
    } else {
        const Style style(wants_color(options.check.color, console.out_is_terminal));
        summary.print(console.out, style);
        print_slowest(console.out, slowest, style);
    }
    flush_or_throw(console.out);
}

int tell_interrupted(const FleetEnd &end, const FleetOptions &options, const Console &console)
{
    console.err << "gpon-validate: ended by a signal (" << strsignal(end.signal)
                << "): " << end.progress.done() << " of " << end.progress.total
                << " results are in " << printable(options.output) << "; go on with --resume\n"
                << std::flush;
    return kInterrupted;
}

int check_fleet(const FleetOptions &options, const Console &console)
{
    const CardList all = read_list(options);
    require_separate_results(options, all);
    const CardList list = cards_of(all, options.shard);
    require_edits(list, options);
    ResultFile file(options.output,
                    options.resume ? ResultFile::Mode::kResume : ResultFile::Mode::kNew);
    FleetWatcher watcher(console);
    const FleetPolicy policy = policy_of(options);
    const FleetEnd end =
        run_fleet(list, policy, file, options.jobs != 0 ? options.jobs : usable_processors(),
                  [&](const FleetProgress &progress) { watcher.show(progress); });
    watcher.clear();
    if (end.signal != 0) {
        return tell_interrupted(end, options, console);
    }
    const auto read = [&](const StoredResult &result) { return file.reader().read(result); };
    FleetReports reports(options);
    const FleetSummary summary =
        file.holds_just(end.results)
            ? summarise(end.results, read, reports, [](std::string_view) {})
            : write_results(options.output, end.results, read, reports);
    print_summary(summary, end.slowest, options, console);
    reports.finish(summary);
    return static_cast<int>(summary.worst());
}

int merge_fleet(const FleetOptions &options, const Console &console)
{
    const CardList list = read_list(options);
    require_separate_results(options, {});
    std::vector<ResultReader> parts;
    parts.reserve(options.parts.size());
    for (const auto &part : options.parts) {
        parts.emplace_back(part);
    }
    const auto results = merge_results(list, parts);
    const auto read = [&parts](const PartResult &result) {
        return parts[result.part].read(result.result);
    };
    FleetReports reports(options);
    const auto summary = write_results(options.output, results, read, reports);
    print_summary(summary, {}, options, console);
    reports.finish(summary);
    return static_cast<int>(summary.worst());
}

/** What comes in the way of all cards is told as that of a check is. */
int explain_failure(const std::exception &failure, const FleetOptions &options,
                    const Console &console)
{
    Outcome outcome;
    outcome.problems = problems_of(failure);
    print_report(outcome, options.check, console);
    return static_cast<int>(outcome.result());
}

} // namespace

int run_fleet_command(const FleetOptions &options, const Console &console)
{
    try {
        return check_fleet(options, console);
    } catch (const std::exception &failure) {
        return explain_failure(failure, options, console);
    }
}

int run_fleet_merge(const FleetOptions &options, const Console &console)
{
    try {
        return merge_fleet(options, console);
    } catch (const std::exception &failure) {
        return explain_failure(failure, options, console);
    }
}

} // namespace host

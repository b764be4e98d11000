#include "twin/rollback_command.h"

#include "checker/checker.h"
#include "checker/model_schema.h"
#include "engine/data/source_file.h"
#include "report/report_text.h"
#include "twin/access.h"
#include "twin/rollback_request.h"
#include "twin/stored_tree.h"

#include <CLI/CLI.hpp>
#include <fm_host.h>
#include <pwd.h>
#include <unistd.h>

#include <filesystem>
#include <ostream>

namespace host::twin
{
namespace
{

constexpr const char *kExamples =
    "The card's rules are asked, as about any change. A server that uses the folder does it "
    "itself, with\n"
    "the card and the plug-in that it has.\n"
    "Exit codes: 0 done, 1 rejected, 2 warnings that nobody confirmed, 3 a bad file or option,\n"
    "4 the plug-in died.\n"
    "\n"
    "Examples:\n"
    "  gpon-twin rollback 6 --state card1 --card card.json";

std::string text_of(const StoredConfiguration &stored)
{
    return tree_of(model_schema(), stored).print(engine::Format::kXml);
}

Author local_admin()
{
    const passwd *entry = getpwuid(getuid());
    return {entry != nullptr ? entry->pw_name : std::to_string(getuid()), name_of(Role::kAdmin), 0,
            "local", ""};
}

/** What a server that was killed left unconfirmed is undone, as it would do itself. */
void settle(History &history)
{
    if (const auto pending = history.pending()) {
        Commit commit;
        commit.author.transport = "local";
        commit.kind = CommitKind::kRevert;
        history.add(commit, {Step::Form::kRestore, "", pending->restores}, std::nullopt);
    }
}

Outcome check(const RollbackOptions &options, const History &history)
{
    const fm::Card card = options.card.empty()
                              ? fm::default_card()
                              : fm::parse_card(engine::read_source(options.card).text);
    Checker checker(card, engine::Source{"running", text_of(history.running())}, options.plugin);
    const Change change{ChangeForm::kCandidate,
                        {"commit " + std::to_string(options.number),
                         text_of(history.configuration(options.number))}};
    CheckListener nobody;
    Policy policy;
    policy.all = true;
    Outcome outcome = checker.check(change, policy, nobody);
    if (outcome.result() == Result::kNotConfirmed) {
        outcome.confirmation.needed = true;
        if (options.confirms_warnings) {
            outcome.confirmation.answer = true;
            outcome.confirmation.by_option = true;
        }
    }
    return outcome;
}

/** Without a server. */
Result roll_back(History &history, const RollbackOptions &options, std::ostream &out,
                 const Style &style)
{
    settle(history);
    const Outcome outcome = check(options, history);
    const Result result = outcome.result();
    print_findings(out, outcome, style);
    print_conclusion(out, outcome, style);
    Commit commit;
    commit.author = local_admin();
    commit.kind = CommitKind::kRollback;
    commit.verdict = name_of(result);
    if (outcome.confirmation.answer.value_or(false)) {
        for (const auto &run : summarise(outcome.runs)) {
            if (run.verdict == engine::Verdict::kWarning) {
                commit.confirmations.push_back(run.rule);
            }
        }
    }
    if (result == Result::kAccepted) {
        history.add(commit, {Step::Form::kRestore, "", options.number}, std::nullopt);
    } else if (result != Result::kNotChecked) {
        history.add(commit, {Step::Form::kNothing, "", options.number});
    }
    return result;
}

} // namespace

void add_rollback(CLI::App &program, RollbackOptions &options)
{
    auto *app = program.add_subcommand("rollback", "Go back to what was running after a commit");
    app->footer(kExamples);
    app->add_option("N", options.number, "Number of the commit")
        ->type_name("")
        ->required()
        ->check(CLI::NonNegativeNumber);
    app->add_option("--state", options.state, "State folder of the twin")
        ->type_name("DIR")
        ->required()
        ->check(CLI::ExistingDirectory);
    app->add_option("--unix", options.unix_socket,
                    "UNIX socket of the server that uses the folder (if not given: netconf.sock in "
                    "it)")
        ->type_name("PATH");
    app->add_option("--card", options.card, "Capabilities of the card (JSON)")->type_name("FILE");
    app->add_option("--plugin", options.plugin, "Another plug-in than the card's")
        ->type_name("FILE");
    app->add_flag("--confirm-warnings", options.confirms_warnings,
                  "Confirm the warnings of the rules");
}

int roll_back(const RollbackOptions &options, std::ostream &out, const Style &style)
{
    History::open(options.state, History::Access::kRead); // Where there is none, none is made.
    Result result = Result::kNotChecked;
    try {
        History history = History::open(options.state, History::Access::kServe);
        result = roll_back(history, options, out, style);
    } catch (const HistoryInUse &) {
        const auto own = std::filesystem::path(options.state) / "netconf.sock";
        result = request_rollback(options.unix_socket.empty() ? own.string() : options.unix_socket,
                                  options.number, options.confirms_warnings, out);
    }
    if (result == Result::kAccepted) {
        const auto number = History::open(options.state, History::Access::kRead).running_number();
        out << "Commit " << number << " is running: the configuration after commit "
            << options.number << ".\n";
    }
    return static_cast<int>(result);
}

} // namespace host::twin

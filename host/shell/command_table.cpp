#include "shell/command_table.h"

#include "engine/data/closest_name.h"
#include "shell/commands.h"

#include <ostream>
#include <string_view>

namespace host::shell
{
namespace
{

constexpr const char *kSetText =
    "Names and keys are words: set interface gpon 1 1 3 onu 5 description \"Town hall\".\n"
    "Behind a value the next leaf of the same entry may stand. A key that is a number may be a\n"
    "range, such as 1-40 or 1,3,7-9: one command for all of these entries. A list entry, or a "
    "node\n"
    "without a value, is created by its path alone. A value of a leaf-list is added.";

constexpr const char *kDeleteText =
    "Deletes a value, a list entry, all entries of a list, or all that is set in a container. A\n"
    "value of a leaf-list stands behind its name.";

constexpr const char *kShowText =
    "Without PATH: all below the place that `edit` went to. Behind | may stand, one after the "
    "other:\n"
    "compare (what is different from running), xml, json, commands (that make it), match WORD,\n"
    "count, and secrets, which shows passwords (a server shows them to admins alone).";

constexpr const char *kCommitText = "Asks the rules, shows objections with the way to resolve "
                                    "them, and commits if there are none.\n"
                                    "Warnings are shown, and a question is asked; `yes` answers it "
                                    "beforehand. With `check` nothing\n"
                                    "is committed. With `confirmed MINUTES` the commit is undone "
                                    "unless another `commit` follows in\n"
                                    "that time. All objections are shown, not the first alone.";

constexpr const char *kRollbackText =
    "Without N, or with 0, the candidate becomes what is running: changes are dropped. With N it\n"
    "becomes what was running before the last N commits; `commit` commits that. `history` lists\n"
    "them.";

constexpr const char *kLoadText =
    "merge: the file is an edit (NETCONF operations in it count), or a configuration that is "
    "merged.\n"
    "replace: the file is a whole configuration, which takes the candidate's place. XML or JSON.";

constexpr const char *kExplainText =
    "Which rules ran, which change called for each, what they read and how long they took; of a\n"
    "server, what it said. With | json for programs, as `gpon-validate check --json` tells it.";

constexpr const char *kHeadroomText =
    "The candidate beside what is running, with what the rules say. `all` leaves nothing of a long "
    "list\nout. A server's configuration is reckoned up here: --card tells what its card can do.";

constexpr const char *kHistoryText =
    "Those that `rollback` knows: of a server that keeps a history the commits of all its clients, "
    "else\nthose of this shell.";

using A = Argument;

const std::vector<Command> table{
    {"set",
     "PATH [VALUE] [NAME VALUE]...",
     "Set a value, or create a list entry",
     kSetText,
     A::kSetting,
     {},
     run_set},
    {"delete",
     "PATH",
     "Delete a value, an entry or a subtree",
     kDeleteText,
     A::kPath,
     {},
     run_delete},
    {"move",
     "PATH first|last|before KEY|after KEY",
     "Move an entry of an ordered list",
     "",
     A::kMove,
     {},
     run_move},
    {"edit", "PATH", "Go to a place: paths begin there", "", A::kPath, {}, run_edit},
    {"up", "[N]", "Go up one level, or N", "", A::kNone, {}, run_up},
    {"top", "", "Go back to the top", "", A::kNone, {}, run_top},
    {"show", "[PATH] [| FILTER]...", "Show the candidate", kShowText, A::kShow, {}, run_show},
    {"validate",
     "",
     "Ask the rules about the candidate, and commit nothing",
     "",
     A::kNone,
     {},
     run_validate},
    {"commit",
     "[check] [confirmed MINUTES] [yes]",
     "Ask the rules, and make the candidate the running configuration",
     kCommitText,
     A::kKeywords,
     {{"check", "Ask the rules, and commit nothing"},
      {"confirmed", "MINUTES: undo it unless another commit follows"},
      {"yes", "Confirm the warnings"}},
     run_commit},
    {"rollback",
     "[N]",
     "Drop changes, or go back N commits",
     kRollbackText,
     A::kNone,
     {},
     run_rollback},
    {"load",
     "merge|replace FILE",
     "Read an edit or a configuration into the candidate",
     kLoadText,
     A::kFile,
     {{"merge", "An edit, or a configuration to merge"}, {"replace", "A whole configuration"}},
     run_load},
    {"save",
     "FILE",
     "Write the candidate to a file, with its secrets",
     "As XML, or as JSON if the name ends with .json. Others cannot read a new file.",
     A::kFile,
     {},
     run_save},
    {"explain",
     "[| json]",
     "Tell how the last verdict came about",
     kExplainText,
     A::kReport,
     {},
     run_explain},
    {"headroom",
     "[all]",
     "Tell how full PON links are, and how many ONUs more fit",
     kHeadroomText,
     A::kKeywords,
     {{"all", "Leave nothing of a long list out"}},
     run_headroom},
    {"history", "[N]", "List the last 20 commits, or N", kHistoryText, A::kNone, {}, run_history},
    {"help", "[WORD]", "Tell about a command", "", A::kCommand, {}, run_help},
    {"exit", "", "Leave", "", A::kNone, {}, run_exit},
    {"quit", "", "Leave", "", A::kNone, {}, run_exit}};

} // namespace

const std::vector<Command> &commands()
{
    return table;
}

const Command &find_command(const std::string &word)
{
    const Command *found = nullptr;
    bool is_ambiguous = false;
    Words known;
    for (const auto &command : commands()) {
        if (word == command.name) {
            return command;
        }
        known.emplace_back(command.name);
        if (std::string_view(command.name).substr(0, word.size()) == word) {
            is_ambiguous = found != nullptr;
            found = &command;
        }
    }
    if (is_ambiguous) {
        throw CommandError(word + " is short for more than one command");
    }
    if (found == nullptr) {
        const auto hint = engine::did_you_mean(word, known);
        throw CommandError(word + " is no command", hint.empty() ? "`help` lists them" : hint);
    }
    return *found;
}

Result run_help(Shell &shell, const CommandLine &line)
{
    if (line.words.size() > 2) {
        throw WrongWords{false};
    }
    std::ostream &out = shell.io.out;
    if (line.words.size() > 1) {
        const Command &command = find_command(line.words[1]);
        out << command.name << ' ' << command.usage << "\n  " << command.summary << ".\n";
        if (*command.text != '\0') {
            out << command.text << '\n';
        }
        return Result::kAccepted;
    }
    for (const auto &command : commands()) {
        out << "  " << command.name << std::string(10 - std::string_view(command.name).size(), ' ')
            << command.summary << '\n';
    }
    return Result::kAccepted;
}

} // namespace host::shell

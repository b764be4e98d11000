#include "shell/commands.h"

#include "cli/output_file.h"
#include "engine/data/path.h"
#include "engine/data/source_file.h"
#include "report/printable.h"
#include "report/report_json.h"
#include "report/report_text.h"
#include "shell/edit_text.h"
#include "shell/show.h"
#include "twin/masking.h"

#include <charconv>
#include <ostream>
#include <sys/stat.h>

namespace host::shell
{
namespace
{

constexpr std::size_t kMaxMinutes = std::size_t{24} * 60;
constexpr std::size_t kHistoryLength = 20;

/** Words behind the command. */
Words arguments(const CommandLine &line)
{
    return {line.words.begin() + 1, line.words.end()};
}

void require_words(const CommandLine &line, std::size_t least, std::size_t most)
{
    const std::size_t count = line.words.size() - 1;
    if (count < least || count > most) {
        throw WrongWords{count < least};
    }
}

std::size_t read_number(const std::string &word, std::size_t most)
{
    std::size_t number = 0;
    const auto [end, failure] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (failure != std::errc() || end != word.data() + word.size() || number > most) {
        throw CommandError(word + " is no number from 0 to " + std::to_string(most));
    }
    return number;
}

std::size_t last_number(const CommandLine &line, std::size_t otherwise)
{
    require_words(line, 0, 1);
    return line.words.size() > 1 ? read_number(line.words[1], 1'000'000) : otherwise;
}

void make(Shell &shell, const EditTree &edit)
{
    shell.session.edit({"", edit.text(), {}});
}

/** Checks, asks about warnings, and commits if that is wanted. */
Result commit(Shell &shell, CommitRequest request)
{
    std::ostream &out = shell.io.out;
    const bool changes = shell.session.has_changes();
    if (shell.io.answer == true) {
        request.confirms_warnings = true;
    }
    Verdict verdict = shell.session.commit(request);
    out << verdict.findings;
    if (verdict.result == Result::kNotConfirmed && shell.io.ask && !shell.io.answer) {
        if (shell.io.ask("Proceed? [yes,no] ") == true) {
            request.confirms_warnings = true;
            verdict = shell.session.commit(request);
        } else {
            verdict.conclusion = "Not confirmed.\n";
        }
    }
    out << verdict.conclusion;
    if (verdict.result == Result::kAccepted && !request.checks_only) {
        out << (changes ? "Committed" : "Nothing was changed");
        if (changes && request.confirm_within) {
            out << ", and undone in " << request.confirm_within->count()
                << " min unless another commit follows";
        }
        out << ".\n";
    }
    return verdict.result;
}

} // namespace

Result run_set(Shell &shell, const CommandLine &line)
{
    make(shell, edit_of_set(shell.schema(), shell.base, arguments(line)));
    return Result::kAccepted;
}

Result run_delete(Shell &shell, const CommandLine &line)
{
    make(shell, edit_of_delete(shell.session.candidate(), shell.base, arguments(line)));
    return Result::kAccepted;
}

Result run_move(Shell &shell, const CommandLine &line)
{
    make(shell, edit_of_move(shell.session.candidate(), shell.base, arguments(line)));
    return Result::kAccepted;
}

Result run_edit(Shell &shell, const CommandLine &line)
{
    require_words(line, 1, line.words.size());
    const auto steps = read_path(shell.schema(), shell.base, arguments(line));
    require_keys(steps, false);
    if (has_ranges(steps)) {
        throw CommandError("edit goes to one place", "a range is for set, delete and show");
    }
    if (steps.back().node->is_leaf() || steps.back().node->is_leaf_list()) {
        throw CommandError(steps.back().node->name + " is a value: there is nothing below it");
    }
    shell.base = steps;
    return Result::kAccepted;
}

Result run_up(Shell &shell, const CommandLine &line)
{
    for (auto levels = last_number(line, 1); levels > 0 && shell.base.size() > 1; --levels) {
        shell.base.pop_back();
    }
    return Result::kAccepted;
}

Result run_top(Shell &shell, const CommandLine &line)
{
    require_words(line, 0, 0);
    shell.base.resize(1);
    return Result::kAccepted;
}

Result run_show(Shell &shell, const CommandLine &line)
{
    auto request = read_show(shell.schema(), shell.base, line);
    request.for_terminal = shell.io.is_terminal;
    if (request.compares) {
        shell.session.refresh();
    }
    shell.io.out << show(shell.session, request, shell.io.style);
    if (request.shows_secrets && shell.session.hides_secrets()) {
        throw CommandError("the server shows secrets to admins alone");
    }
    return Result::kAccepted;
}

Result run_validate(Shell &shell, const CommandLine &line)
{
    require_words(line, 0, 0);
    return commit(shell, {true, false, std::nullopt});
}

Result run_commit(Shell &shell, const CommandLine &line)
{
    CommitRequest request;
    for (std::size_t i = 1; i < line.words.size(); ++i) {
        const std::string &word = line.words[i];
        if (word == "check") {
            request.checks_only = true;
        } else if (word == "yes") {
            request.confirms_warnings = true;
        } else if (word == "confirmed") {
            require_words(line, i + 1, line.words.size());
            const auto minutes = read_number(line.words[++i], kMaxMinutes);
            if (minutes == 0) {
                throw CommandError("a commit is confirmed within a minute at least");
            }
            request.confirm_within = std::chrono::minutes(minutes);
        } else {
            throw CommandError(word + " is no word of commit",
                               "commit [check] [confirmed MINUTES] [yes]");
        }
    }
    return commit(shell, request);
}

Result run_rollback(Shell &shell, const CommandLine &line)
{
    const auto commits = last_number(line, 0);
    if (commits == 0) {
        shell.session.discard();
    } else {
        shell.session.roll_back(commits);
    }
    return Result::kAccepted;
}

Result run_load(Shell &shell, const CommandLine &line)
{
    require_words(line, 2, 2);
    const std::string &how = line.words[1];
    if (how != "merge" && how != "replace") {
        throw CommandError(how + " is neither merge nor replace", "load merge|replace FILE");
    }
    auto source = engine::read_source(line.words[2]);
    source.reading = shell.reading;
    if (twin::Masking(shell.schema()).is_masked(source.text)) {
        throw CommandError("in " + line.words[2] + " *** stands in place of a secret",
                           "`save` and `show | secrets` write secrets as they are");
    }
    if (how == "merge") {
        shell.session.edit(source);
    } else {
        shell.session.replace(source);
    }
    return Result::kAccepted;
}

Result run_save(Shell &shell, const CommandLine &line)
{
    require_words(line, 1, 1);
    const std::string &name = line.words[1];
    const bool is_json = name.size() > 5 && name.compare(name.size() - 5, 5, ".json") == 0;
    auto text =
        shell.session.candidate().print(is_json ? engine::Format::kJson : engine::Format::kXml);
    text += !text.empty() && text.back() == '\n' ? "" : "\n";
    const auto mask = umask(S_IRWXG | S_IRWXO);
    struct Restore {
        mode_t mask;
        ~Restore() { umask(mask); }
    } const restore{mask};
    OutputFile file(name);
    if (const int error = file.write(text); error != 0) {
        file.fail(error);
    }
    file.commit();
    shell.session.note_saved();
    shell.io.out << "Saved to " << printable(name)
                 << (shell.session.hides_secrets()
                         ? ", without the secrets, which the server shows to admins alone"
                         : "")
                 << (shell.session.has_changes() ? ", with changes that are not committed.\n"
                                                 : ".\n");
    return Result::kAccepted;
}

Result run_explain(Shell &shell, const CommandLine &line)
{
    require_words(line, 0, 0);
    if (!line.filters.empty()) {
        if (line.filters != std::vector<Words>{{"json"}}) {
            throw CommandError("explain takes | json, and no other");
        }
        shell.io.out << print_json(shell.session.explain_json(), shell.io.is_terminal);
        return Result::kAccepted;
    }
    const auto text = shell.session.explain();
    shell.io.out << (text.empty() ? "There is no verdict yet: `validate` asks for one.\n" : text);
    return Result::kAccepted;
}

Result run_headroom(Shell &shell, const CommandLine &line)
{
    require_words(line, 0, 1);
    const bool all = line.words.size() > 1;
    if (all && line.words[1] != "all") {
        throw CommandError(line.words[1] + " is no word of headroom", "headroom [all]");
    }
    shell.io.out << shell.session.headroom(
        {shell.io.width ? shell.io.width() : 0, all, "headroom all"});
    return Result::kAccepted;
}

Result run_history(Shell &shell, const CommandLine &line)
{
    const auto [entries, remark] = shell.session.history(last_number(line, kHistoryLength));
    if (entries.empty()) {
        shell.io.out << "There were no commits.\n";
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const CommitEntry &entry = entries[i];
        shell.io.out << entry.number << "  " << printable(entry.time) << "  "
                     << (entry.by.empty() ? "" : printable(entry.by) + "  ")
                     << printable(entry.note) << "  (rollback " << i + 1 << " undoes it)\n";
    }
    shell.io.out << (remark.empty() ? "" : remark + "\n");
    return Result::kAccepted;
}

Result run_exit(Shell &shell, const CommandLine &line)
{
    require_words(line, 0, 0);
    const auto unsaved = shell.session.unsaved();
    shell.has_ended = unsaved.empty() || !shell.io.ask ||
                      shell.io.ask(unsaved + " Leave all the same? [yes,no] ") == true;
    return Result::kAccepted;
}

} // namespace host::shell

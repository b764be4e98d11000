#include "report/printable.h"
#include "report/report_text.h"
#include "shell/command_table.h"
#include "shell/commands.h"
#include "shell/shell.h"

#include <ostream>

namespace host::shell
{

namespace
{

/** So many faults of one command are told: a range may have as many as it has numbers. */
constexpr std::size_t kMaxProblems = 5;

void require_text(const std::string &line)
{
    try {
        engine::require_utf8({"", line, {}});
    } catch (const engine::InputError &failure) { // Its hint speaks of files.
        throw CommandError(failure.problems().front().message, "commands are written in UTF-8");
    }
}

std::string usage_of(const Command &command)
{
    const std::string usage = command.usage;
    return command.name + (usage.empty() ? "" : " " + usage);
}

void print_faults(std::ostream &err, const std::vector<engine::Problem> &problems,
                  const std::string &place, const Style &style)
{
    for (std::size_t i = 0; i < problems.size(); ++i) {
        auto problem = problems[i];
        const bool is_command = problem.source.empty();
        if (is_command && i == kMaxProblems) {
            err << place << "and " << problems.size() - i << " more of these\n";
            return;
        }
        if (is_command) { // It has no lines.
            problem.line = 0;
            problem.column = 0;
        }
        err << place;
        print_problems(err, {problem}, style);
    }
}

} // namespace

Result run_line(Shell &shell, const std::string &text)
{
    require_text(text);
    const CommandLine line = read_line(text);
    if (line.is_quoted) {
        throw CommandError("a quote has no end");
    }
    if (line.words.empty()) {
        if (!line.filters.empty()) {
            throw CommandError("a command stands in front of |");
        }
        return Result::kAccepted;
    }
    const Command &command = find_command(line.words.front());
    const bool may_filter =
        command.argument == Argument::kShow || command.argument == Argument::kReport;
    if (!line.filters.empty() && !may_filter) {
        throw CommandError("only show and explain take a |",
                           "put quotes around a value that holds one");
    }
    shell.io.out << printable_lines(shell.session.news());
    try {
        return command.run(shell, line);
    } catch (const WrongWords &wrong) {
        const std::string name = command.name;
        throw CommandError(wrong.are_too_few ? name + " needs more words"
                                             : "too many words for " + name,
                           usage_of(command));
    }
}

void print_failure(std::ostream &err, const std::exception &failure, const std::string &place,
                   const Style &style)
{
    const auto *input = dynamic_cast<const engine::InputError *>(&failure);
    if (input != nullptr) {
        print_faults(err, input->problems(), place, style);
        return;
    }
    const auto *command = dynamic_cast<const CommandError *>(&failure);
    err << place << printable(failure.what()) << '\n';
    if (command != nullptr && !command->hint().empty()) {
        err << "  " << printable(command->hint()) << '\n';
    }
}

} // namespace host::shell

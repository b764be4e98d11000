#include "report/printable.h"
#include "report/report_text.h"
#include "shell/command_table.h"
#include "shell/commands.h"
#include "shell/shell.h"

#include <ostream>

namespace host::shell
{

Result run_line(Shell &shell, const std::string &text)
{
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
    if (!line.filters.empty() && command.argument != Argument::kShow) {
        throw CommandError("only show takes a |", "put quotes around a value that holds one");
    }
    const auto news = shell.session.news();
    if (!news.empty()) {
        shell.io.out << news << '\n';
    }
    try {
        return command.run(shell, line);
    } catch (const WrongWords &wrong) {
        const std::string name = command.name;
        throw CommandError(wrong.are_too_few ? name + " needs more words"
                                             : "too many words for " + name,
                           name + " " + command.usage);
    }
}

void print_failure(std::ostream &err, const std::exception &failure, const std::string &place,
                   const Style &style)
{
    const auto *input = dynamic_cast<const engine::InputError *>(&failure);
    if (input != nullptr) {
        for (auto problem : input->problems()) {
            if (problem.source.empty()) { // A command has no lines.
                problem.line = 0;
                problem.column = 0;
            }
            err << place;
            print_problems(err, {problem}, style);
        }
        return;
    }
    const auto *command = dynamic_cast<const CommandError *>(&failure);
    err << place << printable(failure.what()) << '\n';
    if (command != nullptr && !command->hint().empty()) {
        err << "  " << printable(command->hint()) << '\n';
    }
}

} // namespace host::shell

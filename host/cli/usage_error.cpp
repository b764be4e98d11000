#include "cli/usage_error.h"

#include "checker/outcome.h"
#include "engine/data/closest_name.h"
#include "report/printable.h"
#include "report/report_json.h"
#include "rules/rules.h"

#include <algorithm>
#include <ostream>
#include <vector>

namespace host
{
namespace
{

/** The command that the words behind the program's name belong to. */
const CLI::App &command_of(const CLI::App &program)
{
    const auto commands = program.get_subcommands();
    return commands.empty() ? program : *commands.front();
}

std::vector<std::string> names_of_options(const CLI::App &command)
{
    std::vector<std::string> names;
    for (const auto *option : command.get_options()) {
        for (const auto &name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

std::vector<std::string> names_of_commands(const CLI::App &program)
{
    std::vector<std::string> names;
    for (const auto *command : program.get_subcommands([](const CLI::App *) { return true; })) {
        names.push_back(command->get_name());
    }
    return names;
}

std::string hint_with(const std::string &guess, const std::string &name)
{
    return (guess.empty() ? "" : guess + " ") + "See " + name + " --help.";
}

} // namespace

UsageError unknown_rule(const std::string &key)
{
    std::vector<std::string> keys;
    for (const auto &rule : rules()) {
        keys.push_back(rule.key);
    }
    const auto meant = engine::did_you_mean(key, keys);
    return {"no rule has the key " + key,
            (meant.empty() ? "" : meant + " ") + "`gpon-validate points` lists them all."};
}

UsageError explain(const CLI::ParseError &failure, const CLI::App &program)
{
    const CLI::App &command = command_of(program);
    const bool has_command = &command != &program;
    const std::string name = program.get_name() + (has_command ? " " + command.get_name() : "");
    auto words = program.remaining(true);
    const auto is_option = [](const std::string &word) { return word.rfind('-', 0) == 0; };
    const auto option = std::find_if(words.begin(), words.end(), is_option);
    if (option != words.end()) {
        const auto word = option->substr(0, option->find('='));
        return {word + " is no option of " + name,
                hint_with(engine::did_you_mean(word, names_of_options(command)), name)};
    }
    if (!words.empty() && !has_command) {
        return {words.front() + " is no command",
                hint_with(engine::did_you_mean(words.front(), names_of_commands(program)), name)};
    }
    if (dynamic_cast<const CLI::ConfigError *>(&failure) != nullptr) {
        return {std::string("--config: ") + failure.what(),
                "In that file a section is a command, and a name in it an option without dashes."};
    }
    return {failure.what(), hint_with("", name)};
}

int report_usage_error(const UsageError &error, bool as_json, const Console &console)
{
    const auto message = engine::shortened(error.message);
    Outcome outcome;
    outcome.problems = {{engine::Fault::kInvalidOption, "", 0, "", message, error.hint}};
    if (as_json) {
        console.out << print_json(json_report(outcome, false), console.out_is_terminal);
        flush_or_throw(console.out);
    } else {
        console.err << "gpon-validate: " << printable(message) << '\n'
                    << (error.hint.empty() ? "" : printable(error.hint) + "\n");
    }
    return static_cast<int>(outcome.result());
}

} // namespace host

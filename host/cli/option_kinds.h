/**
 * @file
 * Kinds of options that several commands have.
 */
#pragma once

#include "cli/check_options.h"

#include <CLI/CLI.hpp>

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace host
{

inline constexpr const char *kExitCodes =
    "Exit codes: 0 accepted, 1 rejected, 2 not confirmed, 3 could not be checked (bad input or\n"
    "options, unusable plug-in), 4 the plug-in died. Of several edits the worst result counts:\n"
    "4, then 3, 1, 2 and 0.";

template <typename Value>
using Choice = std::pair<const char *, Value>;

/** Of every option that takes a file: a variable that is not set must not pass for a choice. */
CLI::Validator file_name();

/** Numbers are decimal, whatever zeros they begin with. */
CLI::Validator decimal();

/** An option's value is none of the words; one that is like it is named. */
CLI::ValidationError none_of(const std::string &option, const std::string &text,
                             const std::vector<std::string> &words);

/** What one of some words stands for. */
template <typename Choices>
auto chosen(const std::string &name, const Choices &choices, const std::string &text)
{
    std::vector<std::string> words;
    for (const auto &[word, value] : choices) {
        if (text == word) {
            return value;
        }
        words.emplace_back(word);
    }
    throw none_of(name, text, words);
}

/** An option that takes one of some words. */
template <typename Choices, typename Take>
CLI::Option *add_choice(CLI::App &app, const std::string &name, const Choices &choices,
                        const Take &take, const std::string &description)
{
    const auto read = [name, choices, take](const std::string &text) {
        take(chosen(name, choices, text));
    };
    return app.add_option_function<std::string>(name, read, description);
}

/** @throws CLI::ValidationError  No rule has this key; a key that is like it is named. */
void require_rule(const std::string &key);

constexpr std::array<Choice<ColorChoice>, 3> kColors{{{"auto", ColorChoice::kAuto},
                                                      {"always", ColorChoice::kAlways},
                                                      {"never", ColorChoice::kNever}}};
constexpr std::array<Choice<engine::Format>, 2> kFormats{
    {{"xml", engine::Format::kXml}, {"json", engine::Format::kJson}}};

/** --running, --edit and CANDIDATE, of which the last two exclude each other. */
struct ChangeInputs {
    CLI::Option *edit;
    CLI::Option *candidate;
};
ChangeInputs add_change(CLI::App &app, CheckOptions &options);

/** --skip-foreign and, if there are edits, --default-operation: how inputs are read. */
void add_reading(CLI::App &app, CheckOptions &options);

/** --max-size and --color. */
void add_max_size(CLI::App &app, CheckOptions &options);
void add_color(CLI::App &app, CheckOptions &options);

/** @throws CLI::ValidationError  More than one of the inputs is stdin. */
void require_one_stdin(const CheckOptions &options);

/** --card and --plugin. */
void add_card(CLI::App &app, CheckOptions &options);

} // namespace host

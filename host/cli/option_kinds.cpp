#include "cli/option_kinds.h"

#include "cli/usage_error.h"
#include "engine/data/closest_name.h"
#include "rules/rules.h"

#include <algorithm>

namespace host
{

CLI::Validator file_name()
{
    return {[](std::string &text) { return std::string(text.empty() ? "no file is named" : ""); },
            ""};
}

CLI::Validator decimal()
{
    return {[](std::string &text) {
                text.erase(0, std::min(text.find_first_not_of('0'), text.size() - 1));
                return std::string();
            },
            ""};
}

CLI::ValidationError none_of(const std::string &option, const std::string &text,
                             const std::vector<std::string> &words)
{
    const auto meant = engine::did_you_mean(text, words);
    return CLI::ValidationError(option, text + " is none of " + CLI::detail::join(words, ", ") +
                                            (meant.empty() ? "" : "; " + meant));
}

void require_rule(const std::string &key)
{
    if (find_rule(key) == nullptr) {
        const auto error = unknown_rule(key);
        throw CLI::ValidationError(error.message + "; " + error.hint);
    }
}

ChangeInputs add_change(CLI::App &app, CheckOptions &options)
{
    app.add_option("--running", options.running,
                   "Committed configuration, XML or JSON; - is stdin, as for any one input")
        ->type_name("RUNNING")
        ->check(file_name());
    auto *edit = app.add_option("--edit", options.edits,
                                "Change with the operations of NETCONF's edit-config, XML or JSON; "
                                "may be given several times")
                     ->type_name("EDIT")
                     ->check(file_name())
                     ->allow_extra_args(false);
    auto *candidate =
        app.add_option("CANDIDATE", options.candidate, "Whole configuration after the change")
            ->type_name("")
            ->check(file_name())
            ->excludes(edit);
    return {edit, candidate};
}

void add_reading(CLI::App &app, CheckOptions &options)
{
    constexpr std::array<Choice<const char *>, 3> kOperations{
        {{"merge", "merge"}, {"replace", "replace"}, {"none", "none"}}};
    add_choice(
        app, "--default-operation", kOperations,
        [&options](const char *operation) { options.default_operation = operation; },
        "Of edits that do not stand in <edit-config>: merge (if not given), replace or none")
        ->type_name("OPERATION");
    app.add_flag("--skip-foreign", options.skip_foreign,
                 "Skip nodes of other models in the inputs, and tell which (if not given: they are "
                 "an error)");
}

void add_max_size(CLI::App &app, CheckOptions &options)
{
    app.add_option("--max-size", options.max_size,
                   "Largest size of an input in bytes, or with a unit such as MiB (512 MiB if not "
                   "given)")
        ->transform(CLI::AsSizeValue(false))
        ->type_name("SIZE");
}

void add_color(CLI::App &app, CheckOptions &options)
{
    add_choice(
        app, "--color", kColors, [&options](ColorChoice choice) { options.color = choice; },
        "Colours: auto (on a terminal, unless NO_COLOR is set), always, never")
        ->type_name("WHEN");
}

void require_one_stdin(const CheckOptions &options)
{
    auto inputs = options.edits;
    inputs.insert(inputs.end(),
                  {options.running, options.candidate, options.card, options.edits_from});
    if (std::count(inputs.begin(), inputs.end(), "-") > 1) {
        throw CLI::ValidationError("-", "only one input can be stdin");
    }
}

void add_card(CLI::App &app, CheckOptions &options)
{
    app.add_option("--card", options.card,
                   "Capabilities of the card, JSON (if not given: bandwidth check on, 8 PON links "
                   "of 128 ONUs)")
        ->type_name("CARD")
        ->check(file_name());
    app.add_option("--plugin", options.plugin,
                   "Plug-in to ask, instead of the card's own next to this program")
        ->type_name("PATH")
        ->check(file_name());
}

} // namespace host

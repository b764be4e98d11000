#include "cli/option_kinds.h"

#include "cli/usage_error.h"
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

void require_rule(const std::string &key)
{
    if (find_rule(key) == nullptr) {
        const auto error = unknown_rule(key);
        throw CLI::ValidationError(error.message + "; " + error.hint);
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

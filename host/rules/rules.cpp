#include "rules/rules.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>

namespace host
{

extern const char *const kRulesJson; // rules.json, built in

namespace
{

using nlohmann::json;

/** What the facts of another rule say about the same text. */
std::string resolution_in(const json &all, const std::string &key, const std::string &text)
{
    for (const auto &facts : all) {
        for (const auto &known : facts.at("texts")) {
            if (facts.at("key") == key && known.at("text") == text) {
                return known.at("resolve");
            }
        }
    }
    throw std::logic_error("rules.json: " + key + " does not say \"" + text + "\"");
}

RuleText read_text(const json &facts, const json &all)
{
    const std::string text = facts.at("text");
    return {text, facts.contains("as") ? resolution_in(all, facts.at("as"), text)
                                       : facts.at("resolve").get<std::string>()};
}

std::vector<Rule> read_rules()
{
    const json all = json::parse(kRulesJson);
    std::vector<Rule> rules;
    for (const auto &facts : all) {
        Rule rule{facts.at("key"),
                  facts.value("warns", false),
                  facts.at("guards"),
                  facts.at("why"),
                  facts.at("reads"),
                  facts.value("capabilities", std::vector<std::string>()),
                  {}};
        for (const auto &text : facts.at("texts")) {
            rule.texts.push_back(read_text(text, all));
        }
        rules.push_back(std::move(rule));
    }
    return rules;
}

} // namespace

const std::vector<Rule> &rules()
{
    static const std::vector<Rule> all = read_rules();
    return all;
}

const Rule *find_rule(std::string_view key)
{
    const auto found = std::find_if(rules().begin(), rules().end(),
                                    [key](const Rule &rule) { return rule.key == key; });
    return found != rules().end() ? &*found : nullptr;
}

} // namespace host

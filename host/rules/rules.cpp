#include "rules/rules.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace host
{

extern const char *const kRulesJson; // rules.json, built in

namespace
{

std::vector<Rule> read_rules()
{
    std::vector<Rule> rules;
    for (const auto &facts : nlohmann::json::parse(kRulesJson)) {
        Rule rule{facts.at("key"), facts.at("guards"), facts.at("why"), facts.at("reads"), {}};
        for (const auto &text : facts.at("texts")) {
            rule.texts.push_back({text.at("text"), text.at("resolve")});
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

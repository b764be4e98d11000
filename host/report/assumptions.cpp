#include "report/assumptions.h"

#include "rules/rules.h"

#include <fm_host.h>

#include <algorithm>
#include <set>

namespace host
{
namespace
{

using Json = nlohmann::ordered_json;

template <typename Value>
Json to_json(const std::optional<Value> &value)
{
    return value ? Json(*value) : Json();
}

} // namespace

std::vector<std::pair<std::string, Json>> assumed_capabilities(const Outcome &outcome)
{
    if (!outcome.assumes_card) {
        return {};
    }
    std::set<std::string> names;
    const auto add = [&names](const std::string &rule) {
        if (const Rule *known = find_rule(rule)) {
            names.insert(known->capabilities.begin(), known->capabilities.end());
        }
    };
    for (const auto &run : outcome.runs) {
        add(run.rule);
    }
    for (const auto &answers : outcome.reused) {
        add(answers.rule);
    }
    const fm::Card card = fm::default_card();
    std::vector<std::pair<std::string, Json>> all{
        {"do_bw_check", to_json(card.do_bw_check)},
        {"manageable_pon_links", to_json(card.manageable_pon_links)}};
    all.erase(std::remove_if(all.begin(), all.end(),
                             [&](const auto &each) { return names.count(each.first) == 0; }),
              all.end());
    return all;
}

} // namespace host

#include "bandwidth_helpers.h"

#include "engine/data/path.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>

namespace bench
{
namespace
{

/** In kbit/s. */
struct Rates {
    std::uint64_t guaranteed = 0;
    std::uint64_t fixed = 0;
};

using RatesByName = std::map<std::string, Rates>;

lyd_node *child(const lyd_node *node, const char *name)
{
    lyd_node *found = lyd_child(node);
    while (found != nullptr && std::strcmp(found->schema->name, name) != 0) {
        found = found->next;
    }
    return found;
}

std::string text(const lyd_node *node, const char *name)
{
    const lyd_node *leaf = child(node, name);
    return leaf != nullptr ? lyd_get_value(leaf) : "";
}

std::uint64_t rate(const lyd_node *node, const char *name)
{
    return std::strtoull(text(node, name).c_str(), nullptr, 10);
}

template <typename Visit>
void for_each_entry(const lyd_node *parent, const char *list, const Visit &visit)
{
    for (lyd_node *entry = child(parent, list);
         entry != nullptr && std::strcmp(entry->schema->name, list) == 0; entry = entry->next) {
        visit(entry);
    }
}

void add_rates(lyd_node *node, const Rates &rates)
{
    const auto add = [node](const char *name, std::uint64_t value) {
        if (lyd_new_term(node, nullptr, name, std::to_string(value).c_str(), 0, nullptr) !=
            LY_SUCCESS) {
            throw std::logic_error(std::string("the model has no place for ") + name);
        }
    };
    add("guaranteed-rate", rates.guaranteed);
    add("fixed-rate", rates.fixed);
}

RatesByName rates_of_bandwidth_profiles(const lyd_node *profiles)
{
    RatesByName rates;
    for_each_entry(profiles, "bandwidth-profile", [&](lyd_node *profile) {
        const lyd_node *type = lyd_child(child(profile, "traffic"));
        const bool is_fixed = std::strcmp(type->schema->name, "type-1") == 0;
        const auto fixed = rate(type, "fixed");
        rates[text(profile, "name")] = {is_fixed ? fixed : rate(type, "assured"), fixed};
    });
    return rates;
}

RatesByName fill_in_line_profiles(const lyd_node *profiles, const RatesByName &bandwidths)
{
    RatesByName rates;
    for_each_entry(profiles, "line-profile", [&](lyd_node *line) {
        Rates sum;
        for_each_entry(line, "tcont", [&](lyd_node *tcont) {
            const Rates &bandwidth = bandwidths.at(text(tcont, "bandwidth-profile"));
            sum.guaranteed += bandwidth.guaranteed;
            sum.fixed += bandwidth.fixed;
            add_rates(tcont, bandwidth);
        });
        add_rates(line, sum);
        rates[text(line, "name")] = sum;
    });
    return rates;
}

} // namespace

void fill_in_rates(engine::Datastore &card)
{
    const lyd_node *profiles = child(child(card.root(), "profile"), "gpon");
    const auto lines = fill_in_line_profiles(profiles, rates_of_bandwidth_profiles(profiles));
    for_each_entry(child(card.root(), "interface"), "gpon", [&](lyd_node *link) {
        for_each_entry(link, "onu", [&](lyd_node *onu) {
            add_rates(onu, lines.at(text(child(onu, "profile-references"), "line-profile")));
        });
    });
}

} // namespace bench

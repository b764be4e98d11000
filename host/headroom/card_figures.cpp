#include "headroom/card_figures.h"

#include "engine/schema/schema.h"
#include "headroom/tree.h"

#include <gpon_onu_password_valid.h>
#include <gpon_vlan_limit.h>
#include <vlan_mapping.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <unordered_map>
#include <unordered_set>

namespace host
{
namespace
{

/** Counts a mapping as the rule does: on its Ethernet ports, or else on the VEIP. */
void count_mapping(const lyd_node *mapping, VlanCounters &counters)
{
    bool is_ethernet = false;
    for_each_child(child(mapping, "uni"), "ethernet", [&](const lyd_node *port) {
        check_vlan_counter(number(port), counters);
        is_ethernet = true;
    });
    if (!is_ethernet && below(mapping, "veip", "veip") != nullptr) {
        check_vlan_counter(kVeipPort, counters);
    }
}

/** Path of what a leaf refers to, without prefixes; empty: it refers to nothing. */
std::string target_of(const engine::SchemaNode &leaf)
{
    if (leaf.refers_to != nullptr) {
        return leaf.refers_to->target->path();
    }
    // A reference to what need not be there is none that the engine checks.
    const auto *type =
        leaf.is_leaf() ? reinterpret_cast<const lysc_node_leaf *>(leaf.yang)->type : nullptr;
    if (type == nullptr || type->basetype != LY_TYPE_LEAFREF) {
        return "";
    }
    std::string path = lyxp_get_expr(reinterpret_cast<const lysc_type_leafref *>(type)->path);
    const std::string prefix = std::string(leaf.yang->module->prefix) + ":";
    for (std::size_t at = path.find(prefix); at != std::string::npos; at = path.find(prefix)) {
        path.erase(at, prefix.size());
    }
    return path;
}

/** What leaves of the configuration name, by the path of what they refer to. */
class UsedNames
{
public:
    explicit UsedNames(const lyd_node *config)
    {
        const lyd_node *node = nullptr;
        LYD_TREE_DFS_BEGIN(config, node)
        {
            if (auto *names = names_behind(engine::Schema::of(node))) {
                names->insert(lyd_get_value(node));
            }
            LYD_TREE_DFS_END(config, node)
        }
    }

    bool has(const std::string &path, const std::string &name) const
    {
        const auto found = m_names.find(path);
        return found != m_names.end() && found->second.count(name) != 0;
    }

private:
    using Names = std::unordered_set<std::string>;

    Names *names_behind(const engine::SchemaNode *leaf)
    {
        const auto [known, is_new] = m_behind.try_emplace(leaf, nullptr);
        if (is_new && leaf != nullptr) {
            const std::string target = target_of(*leaf);
            known->second = target.empty() ? nullptr : &m_names[target];
        }
        return known->second;
    }

    std::map<std::string, Names> m_names;
    std::unordered_map<const engine::SchemaNode *, Names *> m_behind; /**< By schema node. */
};

std::string in_lower_case(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    });
    return text;
}

/** Values that are the same in lower case, with what the rule compares and who has it. */
struct Alike {
    std::unordered_set<std::string> compared;
    std::vector<std::string> onus;
};
using AlikeValues = std::map<std::string, Alike>;

void file(AlikeValues &values, std::string value, bool is_serial, const std::string &onu)
{
    Alike &alike = values[in_lower_case(value)];
    if (is_serial) {
        fold_serial_number(value);
    }
    alike.compared.insert(std::move(value));
    alike.onus.push_back(onu);
}

void take_collisions(const AlikeValues &values, bool is_password, std::vector<NearCollision> &found)
{
    for (const auto &[value, alike] : values) {
        if (alike.compared.size() > 1) {
            found.push_back({is_password, is_password ? "" : value, alike.onus});
        }
    }
}

} // namespace

std::vector<VlanFigures> read_vlans(const lyd_node *config)
{
    std::vector<VlanFigures> all;
    for_each_child(below(config, "profile", "gpon"), "service-profile", [&](const lyd_node *entry) {
        VlanCounters counters;
        for_each_child(entry, "vlan-mapping",
                       [&](const lyd_node *mapping) { count_mapping(mapping, counters); });
        const auto fullest = std::max_element(
            counters.begin(), counters.end(), [](const auto &one, const auto &other) {
                return one.second != other.second ? one.second < other.second
                                                  : one.first > other.first;
            });
        if (fullest != counters.end()) {
            all.push_back({value(child(entry, "name")), fullest->first, fullest->first == kVeipPort,
                           fullest->second});
        }
    });
    std::stable_sort(all.begin(), all.end(), [](const VlanFigures &one, const VlanFigures &other) {
        return one.mappings > other.mappings;
    });
    return all;
}

std::vector<UnusedProfile> read_unused(const lyd_node *config)
{
    const UsedNames used(config);
    std::vector<UnusedProfile> unused;
    const lyd_node *profiles = below(config, "profile", "gpon");
    for (const lyd_node *entry = profiles != nullptr ? lyd_child(profiles) : nullptr;
         entry != nullptr; entry = entry->next) {
        const lyd_node *name = child(entry, "name");
        if (name != nullptr && !used.has(engine::Schema::of(name)->path(), value(name))) {
            unused.push_back({entry->schema->name, value(name)});
        }
    }
    return unused;
}

std::vector<NearCollision> read_near_collisions(const lyd_node *config)
{
    std::vector<NearCollision> found;
    AlikeValues serials;
    for_each_child(child(config, "interface"), "gpon", [&](const lyd_node *link) {
        AlikeValues passwords;
        const std::string where = value(child(link, "chassis-id")) + "/" +
                                  value(child(link, "slot-id")) + "/" +
                                  value(child(link, "port-id")) + " ONU ";
        for_each_child(link, "onu", [&](const lyd_node *onu) {
            const std::string name = where + value(child(onu, "onu-id"));
            const lyd_node *auth = child(onu, "auth-method");
            if (const lyd_node *serial = child(auth, "serial-number")) {
                file(serials, value(serial), true, name);
            }
            if (const lyd_node *password = child(auth, "password")) {
                file(passwords, value(password), false, name);
            }
        });
        take_collisions(passwords, true, found);
    });
    take_collisions(serials, false, found);
    return found;
}

} // namespace host

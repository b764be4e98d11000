#include "headroom/figures.h"

#include "headroom/card_figures.h"
#include "headroom/link_figures.h"
#include "headroom/tree.h"

#include <gpon_bw_limit.h>
#include <gpon_card_valid_plugin.h>
#include <gpon_onu_snmp_rt_confirm.h>
#include <gpon_vlan_limit.h>
#include <platform_settings.h>
#include <valid_service_port.h>

#include <algorithm>

namespace host
{
namespace
{

/** ONUs of a link that the model has numbers for. */
std::uint32_t numbered_onus(const engine::Schema &schema)
{
    const engine::SchemaNode *node = schema.top("config");
    for (const char *name : {"interface", "gpon", "onu", "onu-id"}) {
        node = node != nullptr ? node->child(name) : nullptr;
    }
    if (node == nullptr || node->type_storage.yang == nullptr ||
        node->type_storage.yang->basetype != LY_TYPE_UINT32) {
        return UINT32_MAX;
    }
    const auto *type = reinterpret_cast<const lysc_type_num *>(node->type_storage.yang);
    if (type->range == nullptr) {
        return UINT32_MAX;
    }
    const auto &last = type->range->parts[LY_ARRAY_COUNT(type->range->parts) - 1];
    return static_cast<std::uint32_t>(last.max_u64 - type->range->parts[0].min_u64 + 1);
}

/** As the plug-in takes them over when it is loaded. */
Limits read_limits(const engine::Schema &schema)
{
    lib_init(); // Of a card that does not start the defaults stay, and no rule answers.
    Limits limits;
    limits.do_bw_check = get_do_bw_check();
    limits.guaranteed = kUpstreamCapacityKbps;
    limits.fixed = kFixedCapacityKbps;
    limits.overhead_per_onu = kOverheadPerOnuKbps;
    limits.onus = numbered_onus(schema);
    if (const std::int32_t told = get_num_onus_per_ponlink(); told > 0) {
        limits.onus = std::min(limits.onus, static_cast<std::uint32_t>(told));
    }
    limits.static_tconts = platform_settings.max_tconts_bw_type_1;
    limits.dynamic_tconts = platform_settings.max_tconts_bw_type_2_to_5;
    limits.service_ports = kMaxServicePorts;
    limits.vlan_mappings = kMaxMappingsPerPort;
    limits.real_time_onus = kRecommendedRealTimeOnus;
    return limits;
}

std::uint32_t count_real_time(const lyd_node *config)
{
    std::uint32_t count = 0;
    for_each_child(child(config, "interface"), "gpon", [&](const lyd_node *link) {
        for_each_child(link, "onu", [&](const lyd_node *onu) {
            count += below(onu, "snmp", "real-time") != nullptr ? 1 : 0;
        });
    });
    return count;
}

} // namespace

Figures read_figures(const engine::Transaction &transaction)
{
    const lyd_node *config = transaction.candidate().root();
    const RuleSession session(transaction);
    Figures figures;
    figures.limits = read_limits(transaction.candidate().schema());
    if (config == nullptr) {
        return figures;
    }
    read_links(session, config, figures);
    for_each_child(config, "service-port", [&](const lyd_node *) { ++figures.service_ports; });
    figures.real_time_onus = count_real_time(config);
    figures.vlans = read_vlans(config);
    figures.unused = read_unused(config);
    figures.near_collisions = read_near_collisions(config);
    return figures;
}

} // namespace host

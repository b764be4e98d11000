#include "gpon_vlan_limit.h"

#include "maapi_guards.h"
#include "vlan_mapping.h"

#include <logger.h>

namespace
{

constexpr std::uint32_t kMaxMappingsPerPort = 20;

void set_limit_message(confd_trans_ctx *tctx)
{
    confd_trans_seterr(tctx,
                       "Maximum number of VLAN Mappings exceeded. There cannot be more than %u "
                       "VLAN Mappings per Ethernet UNI port.",
                       kMaxMappingsPerPort);
}

/** Counts a mapping on each of its Ethernet ports. */
int count_ethernet_ports(const LeafList &list, VlanCounters &table)
{
    confd_value_t *ports = list.values();
    for (int listpos = 0; listpos < list.size(); ++listpos) {
        if (check_vlan_counter(CONFD_GET_UINT8(&ports[listpos]), table) != 0) {
            return -1;
        }
    }
    return 0;
}

/**
 * Counts one mapping of the profile on its ports; one without ports is not counted.
 * @return 0, or -1 with the message set.
 */
int count_mapping(std::int32_t maapi_sock, confd_trans_ctx *tctx, const char *profile,
                  const confd_value_t &mapping, VlanCounters &table)
{
    // An error of maapi_exists counts as absence.
    if (maapi_exists(maapi_sock, tctx->thandle, kEthernetPath, profile, &mapping) > 0) {
        LeafList ports;
        if (!ports.read(maapi_sock, tctx->thandle, kEthernetPath, profile, &mapping)) {
            Logger::Debug("Failed getting service profiles uni ethernet port information.");
            confd_trans_seterr(tctx, "%s", "Failed accessing transaction data.");
            return -1;
        }
        if (count_ethernet_ports(ports, table) != 0) {
            set_limit_message(tctx);
            return -1;
        }
    } else if (maapi_exists(maapi_sock, tctx->thandle, kVeipPath, profile, &mapping) > 0) {
        if (check_vlan_counter(kVeipPort, table) != 0) {
            set_limit_message(tctx);
            return -1;
        }
    }
    return 0;
}

} // namespace

int check_vlan_counter(std::uint32_t port, VlanCounters &table)
{
    const auto [counter, is_new] = table.emplace(port, 1);
    if (is_new) {
        return 0;
    }
    ++counter->second;
    return counter->second > kMaxMappingsPerPort ? -1 : 0;
}

std::int32_t validate_vlan_limit(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                 confd_hkeypath_t *keypath, confd_value_t * /*newval*/)
{
    const char *profile = reinterpret_cast<const char *>(CONFD_GET_BUFPTR(&keypath->v[2][0]));
    VlanCounters table;
    for (ListCursor mappings(maapi_sock, tctx->thandle, kVlanMappingsPath, profile);
         mappings.has_entry(); mappings.next()) {
        if (count_mapping(maapi_sock, tctx, profile, mappings.key(), table) != 0) {
            return -1;
        }
    }
    return 0;
}

/**
 * @file
 * Interface groupings of an RG profile's WAN connections: no port and VLAN belongs to two, no two
 * networks overlap, and a DHCP pool is ordered and lies inside its network.
 */
#pragma once

#include "validator.h"

#include <addrkit/ipv4.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

/** Ports in use by a grouping, as (port, VLAN); VLAN 0 means untagged. */
using PortUses = std::set<std::pair<std::int32_t, std::int32_t>>;
/** Networks in use, each with the key of its WAN connection, in the order in which they were read.
 */
using NetworkUses = std::vector<std::pair<addrkit::IPv4AddrMask, std::string>>;

/** Checks the ports of all WAN connections. @return 0 or -1. */
int validate_itf_grp_ports(std::int32_t maapi_sock, confd_trans_ctx *tctx, confd_hkeypath_t *kp);

/** Checks the networks and DHCP pools of all WAN connections. @return 0 or -1. */
int validate_itf_grp_net(std::int32_t maapi_sock, confd_trans_ctx *tctx, confd_hkeypath_t *kp);

/** Checks the ports of the WAN connections in one list and files them. @return 0 or -1. */
int check_port_vlan(std::int32_t maapi_sock, confd_trans_ctx *tctx, PortUses &uses,
                    const std::string &wan_list);

/**
 * Checks the networks of the WAN connections in one list and files them, and their DHCP pools
 * unless the connections are bridged.
 * @return 0 or -1.
 */
int validate_itf_grp_dhcp(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                          const std::string &wan_list, NetworkUses &uses, bool is_bridge);

extern "C" {

/** Validator of "itf_grp_validation": the RG profile that the keypath names. */
GPON_EXPORT validator_t validate_itf_grp;

} // extern "C"

#include "gpon_itf_grp_validation.h"

#include "candidate.h"
#include "confd_text.h"
#include "elapsed_time.h"
#include "maapi_guards.h"
#include "trace.h"

#include <array>

using validation::Candidate;
using validation::ListCursor;

namespace
{

constexpr const char *kPppoeList = "/wan-pppoe-connection";
constexpr const char *kIpList = "/wan-ip-connection";
constexpr const char *kBridgeList = "/wan-bridge-connection";

/** Arguments: the list of WAN connections, the key of one. */
constexpr const char *kGrouping = "%s{%s}/itf-grouping/";
constexpr const char *kPorts = "%s{%s}/itf-grouping/ports";
constexpr const char *kPortVlan = "%s{%s}/itf-grouping/ports{%x}/vlan";
constexpr const char *kAddress = "%s{%s}/itf-grouping/ipv4-address";
constexpr const char *kDhcpServer = "%s{%s}/itf-grouping/dhcp-server";
constexpr const char *kPoolStart = "%s{%s}/itf-grouping/dhcp-server-address-pool/start-address";
constexpr const char *kPoolEnd = "%s{%s}/itf-grouping/dhcp-server-address-pool/end-address";

/** Names of the ports by the value of the `ports` list's key. */
constexpr std::array<const char *, 6> kPortNames = {"eth1", "eth2", "eth3",
                                                    "eth4", "wl0",  "wl0-vap1"};
constexpr std::int32_t kFirstWirelessPort = 4;

/** A WAN connection of the candidate. */
struct Wan {
    const Candidate &candidate;
    const char *list;
    std::string key;

    /** Calls a read of the client library; the last argument is a path with this list and key. */
    template <typename Function, typename... Arguments>
    int read(Function *function, Arguments... arguments) const
    {
        return candidate.read(function, arguments..., list, key.c_str());
    }
};

// ---- Ports --------------------------------------------------------------------------------------

void reject_port(confd_trans_ctx *tctx, std::int32_t port, std::int32_t vlan)
{
    const auto position = static_cast<std::size_t>(port);
    if (position >= kPortNames.size()) {
        TRACE_AS(check_port_vlan, kTraceDecision, "Port value %d has no name.", port);
        return;
    }
    const char *name = kPortNames[position];
    if (port >= kFirstWirelessPort) {
        confd_trans_seterr(tctx, "Port %s cannot be used in more than one interface grouping",
                           name);
    } else if (vlan == 0) {
        confd_trans_seterr(
            tctx, "Port %s untagged cannot be used in more than one interface grouping", name);
    } else {
        confd_trans_seterr(
            tctx, "Port %s with VLAN %d cannot be used in more than one interface grouping", name,
            vlan);
    }
}

/** Files the ports of one WAN connection. @return 0 or -1. */
int file_ports(const Wan &wan, confd_trans_ctx *tctx, PortUses &uses)
{
    ListCursor ports(wan.candidate, kPorts, wan.list, wan.key.c_str());
    for (; ports.has_entry(); ports.next()) {
        const maapi_cursor &port_cursor = ports.cursor();
        const std::int32_t port = CONFD_GET_ENUM_VALUE(&port_cursor.keys[0]);
        std::uint32_t vlan = 0;
        if (wan.candidate.read(maapi_get_u_int32_elem, &vlan, kPortVlan, wan.list, wan.key.c_str(),
                               &ports.key()) != CONFD_OK &&
            confd_errno != CONFD_ERR_NOEXISTS) {
            TRACE_AS(check_port_vlan, kTraceDecision,
                     "Failed getting port VLAN for Itf Grouping on WAN from ConfD (%s)",
                     confd_lasterr());
            ports.leave_to_transaction();
            return -1;
        }
        const auto signed_vlan = static_cast<std::int32_t>(vlan);
        TRACE_AS(check_port_vlan, kTraceFine, "Checking port %d vlan %d itf grp", port,
                 signed_vlan);
        if (!uses.emplace(port, signed_vlan).second) {
            reject_port(tctx, port, signed_vlan);
            ports.leave_to_transaction();
            return -1;
        }
    }
    return 0;
}

// ---- Networks and DHCP pools --------------------------------------------------------------------

/** A host of the pool: an address with a prefix of all bits, so that Overlap tests membership. */
addrkit::IPv4AddrMask host_of(in_addr address)
{
    constexpr std::uint8_t kHostPrefix = 32;
    addrkit::IPv4AddrMask host;
    host.set_addr(address);
    host.set_prefix_len(kHostPrefix);
    return host;
}

/** Files a network. @return 0, or -1 with the message set when it overlaps with an earlier one. */
int file_network(confd_trans_ctx *tctx, const addrkit::IPv4AddrMask &network,
                 const std::string &wan, NetworkUses &uses)
{
    for (const auto &[earlier, earlier_wan] : uses) {
        if (network.Overlap(earlier)) {
            confd_trans_seterr(tctx, "Network %s from WAN %s conflicts with network %s from WAN %s",
                               network.to_string().c_str(), wan.c_str(),
                               earlier.to_string().c_str(), earlier_wan.c_str());
            return -1;
        }
    }
    uses.emplace_back(network, wan);
    return 0;
}

/** @return 0, or -1 with the message set when the pool is upside down or outside the network. */
int check_pool(confd_trans_ctx *tctx, const addrkit::IPv4AddrMask &start,
               const addrkit::IPv4AddrMask &end, const addrkit::IPv4AddrMask &network)
{
    if (start.addr_to_uint32() > end.addr_to_uint32()) {
        confd_trans_seterr(tctx, "DHCP pool start-address must be lower than the end-address");
        return -1;
    }
    if (!start.Overlap(network)) {
        confd_trans_seterr(tctx, "Start address %s for DHCP pool is not part of network %s",
                           start.addr_to_string().c_str(), network.to_string().c_str());
        return -1;
    }
    if (!end.Overlap(network)) {
        confd_trans_seterr(tctx, "End address %s for DHCP pool is not part of network %s",
                           end.addr_to_string().c_str(), network.to_string().c_str());
        return -1;
    }
    return 0;
}

/** Checks the DHCP pool of one WAN connection, if its server is on. @return 0 or -1. */
int check_dhcp(const Wan &wan, confd_trans_ctx *tctx, const addrkit::IPv4AddrMask &network)
{
    int is_enabled = 0;
    if (wan.read(maapi_get_bool_elem, &is_enabled, kDhcpServer) != CONFD_OK) {
        TRACE_AS(validate_itf_grp_dhcp, kTraceDecision, "Failed to get DHCP info from ConfD");
        return -1;
    }
    if (is_enabled == 0) {
        TRACE_AS(validate_itf_grp_dhcp, kTraceDecision,
                 "DHCP not enabled for this Interface grouping, skipping validation of DHCP");
        return 0;
    }
    in_addr end{};
    if (wan.read(maapi_get_ipv4_elem, &end, kPoolEnd) != CONFD_OK) {
        TRACE_AS(validate_itf_grp_dhcp, kTraceDecision, "Failed to get end-address");
        return -1;
    }
    in_addr start{};
    if (wan.read(maapi_get_ipv4_elem, &start, kPoolStart) != CONFD_OK) {
        TRACE_AS(validate_itf_grp_dhcp, kTraceFine, "Failed to get start-address");
        return -1;
    }
    return check_pool(tctx, host_of(start), host_of(end), network);
}

/** Checks the network of one WAN connection, if it has one. @return 0 or -1. */
int check_network(const Wan &wan, confd_trans_ctx *tctx, NetworkUses &uses, bool is_bridge)
{
    if (wan.read(maapi_exists, kGrouping) != 1) {
        TRACE_AS(validate_itf_grp_dhcp, kTraceFine,
                 "No Interface Grouping for wan %s, skipping validation", wan.key.c_str());
        return 0;
    }
    if (wan.read(maapi_exists, kAddress) != 1) {
        TRACE_AS(validate_itf_grp_dhcp, kTraceFine,
                 "IP not configured for this Interface grouping, skipping validation");
        return 0;
    }
    confd_ipv4_prefix address{};
    if (wan.read(maapi_get_ipv4_and_plen_elem, &address, kAddress) != CONFD_OK) {
        TRACE_AS(validate_itf_grp_dhcp, kTraceFine, "Failed to get ipv4 %s", confd_lasterr());
        return -1;
    }
    addrkit::IPv4AddrMask network;
    network.set_addr(address.ip);
    network.set_prefix_len(address.len);
    // The network is filed before its DHCP pool is looked at, bridged ones included.
    if (file_network(tctx, network, wan.key, uses) != 0) {
        return -1;
    }
    if (is_bridge) {
        TRACE_AS(validate_itf_grp_dhcp, kTraceFine,
                 "WAN bridge does not have DHCP configuration, skipping this part of validation");
        return 0;
    }
    return check_dhcp(wan, tctx, network);
}

} // namespace

int check_port_vlan(std::int32_t maapi_sock, confd_trans_ctx *tctx, PortUses &uses,
                    const std::string &wan_list)
{
    const Candidate candidate(maapi_sock, tctx);
    ListCursor wans(candidate, "%s", wan_list.c_str());
    for (; wans.has_entry(); wans.next()) {
        const Wan wan{candidate, wan_list.c_str(), print_key(wans.key())};
        if (wan.read(maapi_exists, kGrouping) != 1) {
            TRACE(kTraceFine, "Interface Grouping not created for WAN %s. Skipping validation.",
                  wan.key.c_str());
            continue;
        }
        if (file_ports(wan, tctx, uses) != 0) {
            wans.leave_to_transaction();
            return -1;
        }
    }
    return 0;
}

int validate_itf_grp_ports(std::int32_t maapi_sock, confd_trans_ctx *tctx, confd_hkeypath_t *kp)
{
    const cl_ElapsedTime stopwatch;
    TRACE(kTraceFine, "Checking port+vlan Itf Grp");
    const std::string profile = print_short_keypath(*kp);
    PortUses uses;
    for (const char *list : {kPppoeList, kIpList, kBridgeList}) {
        if (check_port_vlan(maapi_sock, tctx, uses, profile + list) != 0) {
            return -1;
        }
    }
    TRACE(kTraceFine, "Took %d usecs to validate the Interface Groupings Ports from RG-profile %s",
          stopwatch.get_elapsed_time_usec(), print_key(kp->v[0][0]).c_str());
    return 0;
}

int validate_itf_grp_dhcp(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                          const std::string &wan_list, NetworkUses &uses, bool is_bridge)
{
    TRACE(kTraceFine, "Checking Itf Grouping DHCP");
    const Candidate candidate(maapi_sock, tctx);
    ListCursor wans(candidate, "%s", wan_list.c_str());
    for (; wans.has_entry(); wans.next()) {
        const Wan wan{candidate, wan_list.c_str(), print_key(wans.key())};
        if (check_network(wan, tctx, uses, is_bridge) != 0) {
            wans.leave_to_transaction();
            return -1;
        }
    }
    return 0;
}

int validate_itf_grp_net(std::int32_t maapi_sock, confd_trans_ctx *tctx, confd_hkeypath_t *kp)
{
    const cl_ElapsedTime stopwatch;
    // The words are fixed, though networks are checked here.
    TRACE(kTraceFine, "Checking port vlan itf grp");
    const std::string profile = print_short_keypath(*kp);
    NetworkUses uses;
    for (const char *list : {kPppoeList, kIpList, kBridgeList}) {
        if (validate_itf_grp_dhcp(maapi_sock, tctx, profile + list, uses, list == kBridgeList) !=
            0) {
            return -1;
        }
    }
    TRACE(kTraceFine,
          "Took %d usecs to validate the Interface Groupings IP and DHCP configurations from "
          "RG-profile %s",
          stopwatch.get_elapsed_time_usec(), print_key(kp->v[0][0]).c_str());
    return 0;
}

std::int32_t validate_itf_grp(std::int32_t maapi_sock, confd_trans_ctx *tctx, confd_hkeypath_t *kp,
                              confd_value_t * /*newval*/)
{
    if (validate_itf_grp_ports(maapi_sock, tctx, kp) != 0) {
        return -1;
    }
    return validate_itf_grp_net(maapi_sock, tctx, kp) == 0 ? 0 : -1;
}

#include "gpon_vlan_limit.h"

#include "answer.h"
#include "candidate.h"
#include "maapi_guards.h"
#include "vlan_mapping.h"

#include <logger.h>

#include <cstdio>

using validation::Candidate;
using validation::kTransactionAccessFailed;
using validation::LeafList;
using validation::ListCursor;
using validation::reject;

namespace
{

constexpr std::size_t kTextSize = 8192;

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

enum class Counted { kWithinLimit, kOverLimit, kReadFailed };

/** Counts one mapping of the profile on its ports; one without ports is not counted. */
Counted count_mapping(const Candidate &candidate, const char *profile, const confd_value_t &mapping,
                      VlanCounters &table)
{
    int over_limit = 0;
    // An error of maapi_exists counts as absence.
    if (candidate.read(maapi_exists, kEthernetPath, profile, &mapping) > 0) {
        LeafList ports;
        if (!ports.read(candidate, kEthernetPath, profile, &mapping)) {
            Logger::Debug("%s", kMappingReadFailed);
            return Counted::kReadFailed;
        }
        over_limit = count_ethernet_ports(ports, table);
    } else if (candidate.read(maapi_exists, kVeipPath, profile, &mapping) > 0) {
        over_limit = check_vlan_counter(kVeipPort, table);
    }
    return over_limit == 0 ? Counted::kWithinLimit : Counted::kOverLimit;
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
    char limit_message[kTextSize];
    std::snprintf(
        limit_message, sizeof(limit_message),
        "Maximum number of VLAN Mappings exceeded. There cannot be more than %d VLAN Mappings per Ethernet UNI port.",
        kMaxMappingsPerPort);
    const char *profile = reinterpret_cast<const char *>(CONFD_GET_BUFPTR(&keypath->v[2][0]));
    const Candidate candidate(maapi_sock, tctx);
    VlanCounters table;
    for (ListCursor mappings(candidate, kVlanMappingsPath, profile); mappings.has_entry();
         mappings.next()) {
        const Counted counted = count_mapping(candidate, profile, mappings.key(), table);
        if (counted != Counted::kWithinLimit) {
            mappings.close();
            return reject(tctx, counted == Counted::kOverLimit ? limit_message
                                                               : kTransactionAccessFailed);
        }
    }
    return 0;
}

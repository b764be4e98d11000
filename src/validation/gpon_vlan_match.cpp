#include "gpon_vlan_match.h"

#include "answer.h"
#include "candidate.h"
#include "maapi_guards.h"
#include "vlan_mapping.h"

#include <logger.h>

#include <utility>

using validation::Candidate;
using validation::kTransactionAccessFailed;
using validation::LeafList;
using validation::ListCursor;
using validation::reject;

namespace
{

constexpr const char *kAny = "any";
constexpr const char *kSameMatch =
    "It's not possible to configure two or more vlan rules with the same match.";
constexpr int kLeafTextSize = 100;

/**
 * Whether two matches catch the same frames. "any" VLAN with one CoS beside one VLAN with "any" CoS
 * is not taken for a conflict: that gap is part of the rule.
 */
bool conflict(const vlanMatch_t &a, const vlanMatch_t &b)
{
    const bool same_vlan = a.vlan_id == b.vlan_id;
    const bool same_cos = a.cos == b.cos;
    const bool any_vlan = a.vlan_id == kAny || b.vlan_id == kAny;
    const bool any_cos = a.cos == kAny || b.cos == kAny;
    const bool one_matches_all =
        (a.vlan_id == kAny && a.cos == kAny) || (b.vlan_id == kAny && b.cos == kAny);
    return (same_vlan && same_cos) || one_matches_all || (any_vlan && same_cos) ||
           (same_vlan && any_cos);
}

int read_failed(confd_trans_ctx *tctx)
{
    Logger::Debug("%s", kMappingReadFailed);
    return reject(tctx, kTransactionAccessFailed);
}

/** Text of a leaf's value by the leaf's type, so that a number and "any" compare alike. */
std::string leaf_text(const confd_value_t &value, const char *path, const char *profile,
                      const confd_value_t &mapping)
{
    char text[kLeafTextSize] = {};
    const confd_cs_node *node = confd_cs_node_cd(nullptr, path, profile, &mapping);
    if (node != nullptr) {
        confd_val2str(node->info.type, &value, text, sizeof(text));
    }
    return text;
}

/** Files a mapping's match on each of its Ethernet ports. */
int match_ethernet_ports(const LeafList &list, const std::string &vlan_id, const std::string &cos,
                         VlanMatches &matches)
{
    confd_value_t *ports = list.values();
    for (int listpos = 0; listpos < list.size(); ++listpos) {
        if (check_vlan_match(CONFD_GET_UINT8(&ports[listpos]), vlan_id.c_str(), cos.c_str(),
                             matches) != 0) {
            return -1;
        }
    }
    return 0;
}

/** Files one mapping of the profile on its ports. @return 0, or -1 with the message set. */
int match_mapping(const Candidate &candidate, confd_trans_ctx *tctx, const char *profile,
                  const confd_value_t &mapping, VlanMatches &matches)
{
    // Both values are numbers or enumerations: they own nothing to free.
    confd_value_t vlan_id_value;
    confd_value_t cos_value;
    if (candidate.read(maapi_get_elem, &vlan_id_value, kMatchVlanIdPath, profile, &mapping) !=
            CONFD_OK ||
        candidate.read(maapi_get_elem, &cos_value, kMatchCosPath, profile, &mapping) != CONFD_OK) {
        return read_failed(tctx);
    }
    const std::string vlan_id = leaf_text(vlan_id_value, kMatchVlanIdPath, profile, mapping);
    const std::string cos = leaf_text(cos_value, kMatchCosPath, profile, mapping);

    if (candidate.read(maapi_exists, kEthernetPath, profile, &mapping) > 0) {
        LeafList ports;
        if (!ports.read(candidate, kEthernetPath, profile, &mapping)) {
            return read_failed(tctx);
        }
        return match_ethernet_ports(ports, vlan_id, cos, matches) == 0 ? 0
                                                                       : reject(tctx, kSameMatch);
    }
    if (candidate.read(maapi_exists, kVeipPath, profile, &mapping) > 0) {
        return check_vlan_match(kVeipPort, vlan_id.c_str(), cos.c_str(), matches) == 0
                   ? 0
                   : reject(tctx, kSameMatch);
    }
    // The limit check passes over a mapping without ports; here it is an error.
    return reject(tctx, kTransactionAccessFailed);
}

} // namespace

int check_vlan_match(std::uint32_t port, const char *vlan_id, const char *cos, VlanMatches &matches)
{
    vlanMatch_t match{static_cast<std::uint8_t>(port), vlan_id, cos};
    const auto [first, last] = matches.equal_range(port);
    for (auto stored = first; stored != last; ++stored) {
        if (conflict(match, stored->second)) {
            return -1;
        }
    }
    matches.emplace(port, std::move(match));
    return 0;
}

std::int32_t validate_vlan_match(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                 confd_hkeypath_t *keypath, confd_value_t * /*newval*/)
{
    const char *profile = reinterpret_cast<const char *>(CONFD_GET_BUFPTR(&keypath->v[2][0]));
    const Candidate candidate(maapi_sock, tctx);
    VlanMatches matches;
    for (ListCursor mappings(candidate, kVlanMappingsPath, profile); mappings.has_entry();
         mappings.next()) {
        if (match_mapping(candidate, tctx, profile, mappings.key(), matches) != 0) {
            return -1;
        }
    }
    return 0;
}

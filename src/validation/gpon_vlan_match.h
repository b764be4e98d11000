/**
 * @file
 * VLAN mappings of a service profile whose matches would catch the same frames on one port.
 */
#pragma once

#include "validator.h"

#include <map>
#include <string>

/** An accepted match on one port. */
struct vlanMatch_t {
    std::uint8_t port;
    std::string vlan_id; /**< A number or "any". */
    std::string cos;     /**< A number or "any". */
};

/** Accepted matches by port number. */
using VlanMatches = std::multimap<std::uint32_t, vlanMatch_t>;

/**
 * Files a match, unless it conflicts with one that is filed for the port.
 * @param port  The VEIP as kVeipPort.
 * @return 0, or -1 on a conflict; then nothing is filed.
 */
int check_vlan_match(std::uint32_t port, const char *vlan_id, const char *cos,
                     VlanMatches &matches);

extern "C" {

/** Validator of "vlan_match_check": the service profile whose name is `v[2][0]` of the keypath. */
GPON_EXPORT validator_t validate_vlan_match;

} // extern "C"

/**
 * @file
 * How many VLAN mappings of a service profile may apply to one user-side port.
 */
#pragma once

#include "validator.h"

#include <unordered_map>

/** Most mappings that may apply to one port. */
constexpr std::uint32_t kMaxMappingsPerPort = 20;

/** Mappings by port number. */
using VlanCounters = std::unordered_map<std::uint32_t, std::uint32_t>;

/** Counts one mapping. @return 0 while the port is within the limit, -1 once it is over it. */
int check_vlan_counter(std::uint32_t port, VlanCounters &table);

extern "C" {

/** Validator of "vlan_limit_check": the service profile whose name is `v[2][0]` of the keypath. */
GPON_EXPORT validator_t validate_vlan_limit;

} // extern "C"

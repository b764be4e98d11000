/**
 * @file
 * Service ports: their ONU and GEM port, the card-wide limit, equal matches, removal of all.
 */
#pragma once

#include "validator.h"

#include <string>

/** Positions of a service port's values in a bulk read. */
enum SpConfdValOffset {
    SP_CONFD_VAL_OFFSET_SP = 0,
    SP_CONFD_VAL_OFFSET_GPON = 2,
    SP_CONFD_VAL_OFFSET_ONU = 4,
    SP_CONFD_VAL_OFFSET_GEM = 6,
    SP_CONFD_VAL_OFFSET_MATCH_VLAN = 10,
    SP_CONFD_VAL_OFFSET_ACTION_VLAN = 15
};

/**
 * Reads what identifies the service port whose id is `v[1][0]` of the keypath, in one request.
 * @param interface  GPON interface in key form.
 * @return 0, or -1 when one of the leaves cannot be read.
 */
int sp_get_id_values(std::int32_t maapi_sock, confd_trans_ctx *tctx, confd_hkeypath_t *keypath,
                     std::string &interface, std::uint32_t &sp, std::uint32_t &onu,
                     std::uint32_t &gem);

/**
 * Takes a service port's leaves out of its 20 values and frees the interface among them.
 * @param interface                GPON interface in key form.
 * @param match_vlan, action_vlan  -1 when the leaf is unset or no number.
 * @return 0.
 */
int service_port_get_leafs(confd_value_t *values, std::uint32_t &sp, std::string &interface,
                           std::uint32_t &onu, std::uint32_t &gem, std::int32_t &match_vlan,
                           std::int32_t &action_vlan);

/** Most service ports that a card takes. */
constexpr std::uint32_t kMaxServicePorts = 4096;

extern "C" {

/** Text of the warning before all service ports are removed. */
GPON_EXPORT extern const char *SP_DEL_ALL_WARN_MSG;

/** Validator of "sp_gem_check": the service port's ONU and GEM port are configured. */
GPON_EXPORT validator_t validate_sp_gem_check;

/** Validator of "service_port_global_validation": at most 4096, and no two with one match. */
GPON_EXPORT validator_t service_port_global_validation;

/** Validator of "service_port_delete_all_warning_check". */
GPON_EXPORT validator_t service_port_delete_all_warning;

} // extern "C"

/**
 * @file
 * Notice that an ONU's residential gateway is not provisioned again by itself.
 */
#pragma once

#include "validator.h"

#include <confd_maapi.h>

/** Change iterator: sets the flag byte behind `state` at the first change of a value and stops. */
maapi_iter_ret diff_iter_rg(confd_hkeypath_t *kp, confd_iter_op op, confd_value_t *oldv,
                            confd_value_t *newv, void *state);

/**
 * Whether a node is in the committed configuration.
 * @param exists  Receives what cdb_exists answers.
 * @return 0, or -1 with the message set when the configuration cannot be read.
 */
int checkRgProfileChgValue(confd_hkeypath_t *kp, confd_trans_ctx *tctx, int &exists);

extern "C" {

/**
 * Validator of "rg_prof_one_shot_check": an ONU's RG profile was exchanged, or its override
 * parameters were changed, while the card provisions gateways only once.
 */
GPON_EXPORT validator_t validate_rg_prof_one_shot;

} // extern "C"

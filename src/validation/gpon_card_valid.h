/**
 * @file
 * The frame: the entry points, and the validator that the frame itself holds.
 */
#pragma once

#include "gpon_card_valid_plugin.h"
#include "validator.h"

#include <confd_maapi.h>

/**
 * Change iterator: sets the bool behind `state` when the card's
 * rg-one-shot-prov was created or deleted, and stops.
 */
maapi_iter_ret diff_iter(confd_hkeypath_t *kp, maapi_iter_op op, confd_value_t *oldv,
                         confd_value_t *newv, void *state);

extern "C" {

/**
 * Validator of "one_shot_prov_check": the card's rg-one-shot-prov changed while
 * ONUs have an RG profile.
 */
GPON_EXPORT validator_t validate_one_shot_prov;

} // extern "C"

/**
 * Entry points of the plug-in, found by name by the host that loads it.
 *
 * Calling order: lib_init once, get_validation_point, then validate for each
 * request that the framework raises for that point, lib_finish at the end. All
 * on one thread, one validation at a time.
 */
#pragma once

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
 * Initialises the platform facility and reads the card's capacities from it.
 * @return 0; -1 when the platform cannot be had: a line on stderr says why, and
 * the capacities keep their defaults.
 */
GPON_EXPORT int lib_init();

/**
 * Writes the name of the validation point that the library serves.
 * @param len  Size of `buf` in bytes; a longer name is cut.
 * @return 0.
 */
GPON_EXPORT int get_validation_point(char *buf, size_t len);

/**
 * Runs the validator that is registered under the transaction's opaque string;
 * an unknown one accepts.
 * @return CONFD_OK (0), CONFD_ERR (-1) or CONFD_VALIDATION_WARN (-3).
 */
GPON_EXPORT int validate(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);

/** Releases nothing. @return 0. */
GPON_EXPORT int lib_finish();

/**
 * Validator of "one_shot_prov_check": the card's rg-one-shot-prov changed while
 * ONUs have an RG profile.
 */
GPON_EXPORT validator_t validate_one_shot_prov;

} // extern "C"

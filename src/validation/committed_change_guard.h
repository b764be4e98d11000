/**
 * @file
 * Entries that may be created and deleted, but not edited once they are committed.
 */
#pragma once

#include "validator.h"

#include <confd_maapi.h>

/** Change iterator: sets the bool behind `state` at the first edited entry and stops. */
maapi_iter_ret diffIter(confd_hkeypath_t *kp, maapi_iter_op op, confd_value_t *oldv,
                        confd_value_t *newv, void *state);

extern "C" {

/** Validator of "config_modified_check": no entry at or below the node was edited. */
GPON_EXPORT validator_t validate_config_modify;

} // extern "C"

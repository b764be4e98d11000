/**
 * @file
 * Confirmation before forward error correction (FEC) of a PON link is switched.
 */
#pragma once

#include "validator.h"

extern "C" {

/** Text of the warning; the validator reads it through this pointer. */
GPON_EXPORT extern const char *FEC_WARN_MSG;

/** Validator of "fec_confirmation_warning": the leaf differs from its committed value. */
GPON_EXPORT validator_t ponlink_fec_confirmation;

} // extern "C"

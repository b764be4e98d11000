/**
 * @file
 * GPON interfaces are the system's: the operator does not delete them.
 */
#pragma once

#include "validator.h"

extern "C" {

/** Validator of "interface_validation": as many GPON interfaces as the card has manageable links.
 */
GPON_EXPORT validator_t validate_itf_gpon;

} // extern "C"

/**
 * @file
 * Residential-gateway (RG) profiles: changes of those in use, names of their wireless
 * networks.
 */
#pragma once

#include "validator.h"

extern "C" {

/** Validator of "rg_profile_confirmation_warning": confirmation before a profile in use is changed.
 */
GPON_EXPORT validator_t rg_profile_confirmation;

/**
 * Validator of "rg_profile_ssid_unique_check": every WLAN of the profile has an SSID, and no two
 * have the same. The keypath is that of the WLAN list.
 */
GPON_EXPORT validator_t rg_profile_ssid_unique_check_func;

} // extern "C"

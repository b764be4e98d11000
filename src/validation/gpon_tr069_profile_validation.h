/**
 * @file
 * TR-069 ACS profiles: changes of those in use, length of the password.
 */
#pragma once

#include "validator.h"

extern "C" {

/** Validator of "tr069_profile_confirmation_warning": confirmation before a profile in use is
 * changed. */
GPON_EXPORT validator_t tr069_profile_confirmation;

/**
 * Validator of "tr069_profile_password_length_check": the clear text of the encrypted new value has
 * at most 25 characters.
 */
GPON_EXPORT validator_t tr069_profile_password_length_check_func;

} // extern "C"

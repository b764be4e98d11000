/**
 * @file
 * SIP agent profiles: changes of those in use.
 */
#pragma once

#include "validator.h"

extern "C" {

/** Validator of "sip_agent_profile_confirmation_warning": confirmation before a profile in use is
 * changed. */
GPON_EXPORT validator_t sip_agent_profile_confirmation;

} // extern "C"

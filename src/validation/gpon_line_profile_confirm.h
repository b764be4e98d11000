/**
 * @file
 * Line profiles: changes of those in use.
 */
#pragma once

#include "validator.h"

extern "C" {

/** Text of the warning; the validator reads it through this pointer. */
GPON_EXPORT extern const char *LINE_PROF_WARN_MSG;

/** Validator of "line_confirmation_warning": confirmation before a profile in use is changed. */
GPON_EXPORT validator_t line_profile_confirmation;

} // extern "C"

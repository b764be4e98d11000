/**
 * @file
 * Confirmation before many ONUs are monitored over SNMP in real time.
 */
#pragma once

#include "validator.h"

/** Most ONUs to be monitored in real time, as recommended. */
constexpr int kRecommendedRealTimeOnus = 128;

extern "C" {

/** Validator of "onu_snmp_rt_warn": more ONUs in real time than recommended slow the card down. */
GPON_EXPORT validator_t onu_snmp_rt_confirmation;

} // extern "C"

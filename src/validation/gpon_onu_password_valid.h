/**
 * @file
 * ONU serial numbers are unique on the card, ONU passwords on their GPON interface.
 */
#pragma once

#include "validator.h"

#include <map>
#include <sstream>
#include <string>

/** Where each serial number or password is used: value to location, equal values in filing order.
 */
using OnuCredentials = std::multimap<std::string, std::string>;

/**
 * Makes a serial number what is compared: the vendor's four characters stay as entered, the rest
 * are hexadecimal digits of either case.
 */
void fold_serial_number(std::string &serial_number);

extern "C" {

/**
 * Validator of "onu_pwd_sn_unique_check". Under password authentication passwords are examined,
 * under every other method serial numbers. The keypath's second element is the GPON interface.
 */
GPON_EXPORT validator_t validate_onu_pwd_sn_unique;

/**
 * The ONU authentication method: an enumeration value of which 2 is password authentication.
 * @return 0 when it cannot be read.
 */
GPON_EXPORT std::int32_t getAuthMethod(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                       confd_hkeypath_t *keypath);

/**
 * Files one ONU's serial number or password, if the method calls for it and it is set.
 * @param onu_prefix  Path of the ONU up to and with "/auth-method/".
 * @param leaf        "serial-number" or "password".
 */
GPON_EXPORT void ProfileOnuSerialPassword(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                          OnuCredentials &values, const std::string &interface,
                                          const std::string &onu_id, const std::string &onu_prefix,
                                          const std::string &leaf, std::int32_t method);

/**
 * Appends a line for every entry whose value is a duplicate.
 * @param label      "serial-number" or "password".
 * @param duplicate  Becomes -1 when there is such an entry; else it stays.
 */
GPON_EXPORT void evaluateOnuSerialPassword(std::ostringstream &report, const OnuCredentials &values,
                                           const std::string &label, std::int32_t *duplicate);

} // extern "C"

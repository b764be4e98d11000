/**
 * @file
 * ONU management address against default gateway.
 */
#pragma once

#include "validator.h"

extern "C" {

/**
 * Validator of "onu_gateway_ip_check": the ONU's address and its default gateway differ and lie in
 * one network. The validated node is the one that holds `address` and `default-gateway`.
 */
GPON_EXPORT validator_t validate_onu_gateway_ip;

/**
 * Whether two addresses lie in one network.
 * @param address, gateway  Numbers whose most significant bits are the network's.
 * @param prefix_len        Bits of the network's prefix, 0 to 32; with 0 every pair is in one.
 * @return 0 if they do, -1 if not.
 */
GPON_EXPORT std::int32_t chk_same_net(std::uint32_t address, std::uint32_t gateway,
                                      std::int8_t prefix_len);

} // extern "C"

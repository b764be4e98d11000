/**
 * @file
 * How large a made-up card is.
 */
#pragma once

#include <cstdint>

namespace host
{

/** Size of a card's configuration: all but the service ports at least 1. */
struct CardShape {
    std::uint32_t links = 8;
    std::uint32_t onus = 32; /**< For each link. */
    std::uint32_t line_profiles = 8;
    std::uint32_t bandwidth_profiles = 10;
    std::uint32_t service_ports = 512;
    std::uint32_t rg_profiles = 4;
    std::uint64_t seed = 1;
};

/** Most service ports for each ONU: every one needs a VLAN of its own. */
inline constexpr std::uint32_t kMaxServicePortsPerOnu = 3500;

/** Most T-CONTs of a line profile: so many of one kind each card takes. */
inline constexpr std::uint32_t kMaxTconts = 3;

} // namespace host

/**
 * @file
 * What the checks of service profiles know of VLAN mappings.
 */
#pragma once

#include <cstdint>

/** Port number under which the virtual Ethernet interface point (VEIP) is filed. */
constexpr std::uint32_t kVeipPort = 127;

/** The mappings of a service profile: its name. */
constexpr const char *kVlanMappingsPath = "/config/profile/gpon/service-profile{%s}/vlan-mapping";
/** The Ethernet UNI ports of a mapping: the profile's name, the mapping's key. */
constexpr const char *kEthernetPath =
    "/config/profile/gpon/service-profile{%s}/vlan-mapping{%x}/uni/ethernet";
/** Exists if a mapping applies to the VEIP. */
constexpr const char *kVeipPath =
    "/config/profile/gpon/service-profile{%s}/vlan-mapping{%x}/veip/veip";
/** The match of a mapping. */
constexpr const char *kMatchVlanIdPath =
    "/config/profile/gpon/service-profile{%s}/vlan-mapping{%x}/match/outer/vlan-id";
constexpr const char *kMatchCosPath =
    "/config/profile/gpon/service-profile{%s}/vlan-mapping{%x}/match/outer/cos";

/** Debug note about a read that failed, whichever it was. */
constexpr const char *kMappingReadFailed =
    "Failed getting service profiles uni ethernet port information.";

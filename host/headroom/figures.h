/**
 * @file
 * How full a card is: what stands in a configuration, beside the limits of the card's rules.
 */
#pragma once

#include "engine/session/framework.h"

#include <cstdint>
#include <string>
#include <vector>

namespace host
{

/** What the card's rules allow. Rates are in kbit/s. */
struct Limits {
    bool do_bw_check = true;
    std::uint32_t guaranteed = 0; /**< Of a link, the overhead included. */
    std::uint32_t fixed = 0;
    std::uint32_t overhead_per_onu = 0;
    std::uint32_t onus =
        0; /**< Of a link; what the model has numbers for if the card tells none. */
    std::uint32_t static_tconts = 0; /**< Of a line profile. */
    std::uint32_t dynamic_tconts = 0;
    std::uint32_t service_ports = 0;
    std::uint32_t vlan_mappings = 0; /**< Of a port of a service profile. */
    std::uint32_t real_time_onus = 0;
};

/** What one ONU of a line profile asks of its link. */
struct LineFigures {
    std::string name;
    std::uint32_t guaranteed = 0; /**< Without overhead. */
    std::uint32_t fixed = 0;
    std::uint64_t maximum = 0;
    std::uint32_t static_tconts = 0;
    std::uint32_t dynamic_tconts = 0;
    std::uint32_t onus = 0; /**< That have it. */
    std::vector<std::string>
        missing; /**< Bandwidth profiles that it names and that are not there. */
};

struct OnuFigures {
    std::uint32_t id = 0;
    std::string line;
    bool is_known = false; /**< Whether the line profile is there; else the rates are unknown. */
    std::uint32_t guaranteed = 0;
    std::uint32_t fixed = 0;
};

/** What the ONUs of a line profile ask of a link together. */
struct Share {
    std::string line;
    std::uint32_t onus = 0;
    std::uint64_t guaranteed = 0; /**< With the overhead of each ONU. */
};

/** What keeps one ONU more from a link. */
enum class RoomLimit {
    kGuaranteed,
    kFixed,
    kOnus,
    kMissingLine /**< The bandwidth check rejects the link as it is. */
};

/** How many ONUs more of a line profile fit. */
struct Room {
    std::uint32_t more = 0;
    std::uint32_t by_bandwidth = 0; /**< If the number of ONUs had no limit. */
    RoomLimit limit = RoomLimit::kGuaranteed;
    bool operator==(const Room &) const = default;
};

struct LinkFigures {
    std::uint32_t port = 0;
    std::string name;          /**< Such as 1/1/3. */
    bool has_settings = false; /**< Without them the bandwidth check is not asked about it. */
    bool is_read = true;       /**< Whether its ONUs could be summed. */
    std::uint32_t onus = 0;
    std::uint32_t guaranteed = 0; /**< As the bandwidth check sums it, without overhead. */
    std::uint32_t overhead = 0;
    std::uint32_t fixed = 0;
    std::uint64_t maximum = 0;
    std::vector<std::string> missing; /**< Line profiles that ONUs name and that are not there. */
    std::vector<Share> shares;        /**< The largest first. */
    std::vector<OnuFigures> largest;  /**< Ten at most. */
    std::vector<Room> room;           /**< For each line profile, in their order. */

    std::uint64_t demand() const { return std::uint64_t{guaranteed} + overhead; }
};

/** The fullest port of a service profile. */
struct VlanFigures {
    std::string profile;
    std::uint32_t port = 0; /**< See kVeipPort of the rule. */
    bool is_veip = false;
    std::uint32_t mappings = 0;
};

/** A profile that nothing refers to. */
struct UnusedProfile {
    std::string kind; /**< Name of the list. */
    std::string name;
};

/** ONUs whose serial numbers or passwords differ in case only. */
struct NearCollision {
    bool is_password = false;
    std::string serial_number;     /**< In lower case; a password is not told. */
    std::vector<std::string> onus; /**< Such as 1/1/3 ONU 5. */
};

struct Figures {
    Limits limits;
    std::vector<LinkFigures> links; /**< In the order of the configuration. */
    std::vector<LineFigures> lines; /**< By name. */
    std::uint32_t service_ports = 0;
    std::uint32_t real_time_onus = 0;
    std::vector<VlanFigures>
        vlans; /**< The fullest first; profiles without mappings are left out. */
    std::vector<UnusedProfile> unused;
    std::vector<NearCollision> near_collisions;
};

/**
 * Reads the figures of a transaction's candidate. The sums of a link are those of the bandwidth
 * check. Capacities are those of the card in use.
 */
Figures read_figures(const engine::Transaction &transaction);

} // namespace host

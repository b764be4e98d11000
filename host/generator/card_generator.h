/** Makes up a card's configuration that is sound: the data model and all rules accept it. */
#pragma once

#include "generator/random.h"
#include "generator/tree_writer.h"

#include <cstdint>
#include <string>
#include <vector>

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
inline constexpr std::uint32_t kMostServicePortsPerOnu = 3500;

/** Most T-CONTs of a line profile: so many of one kind each card takes. */
inline constexpr std::uint32_t kMostTconts = 3;

/**
 * Writes one configuration. The rates are so small that any line profile fits every ONU of the
 * card: whatever a later edit assigns, the PON links can carry it.
 */
class CardGenerator
{
public:
    CardGenerator(const CardShape &shape, TreeWriter &out);

    void write();

private:
    void bandwidth_profiles();
    void traffic(std::uint32_t index);
    void line_profiles();
    void tconts_and_gems();
    void service_profiles();
    void vlan_mapping(const std::string &name, std::uint32_t vlan, bool is_veip);
    void rg_profiles();
    void wlans(std::uint32_t profile);
    void wans(std::uint32_t profile);
    void tr069_profiles();
    void voip_profiles();
    void interfaces();
    void onu(std::uint32_t link, std::uint32_t onu_id);
    void onu_gateway(std::uint32_t link, std::uint32_t onu_id);
    void pots();
    void management(std::uint32_t link, std::uint32_t onu_id);
    void card_settings();
    void service_ports();
    void service_port(std::uint32_t number);

    std::uint32_t rate_up_to(std::uint32_t limit);
    std::string serial_number();
    std::string place();

    CardShape m_shape;
    TreeWriter &m_out;
    Random m_random;
    std::uint32_t m_guaranteed_limit; /**< Of one T-CONT, in kbit/s. */
    std::uint32_t m_fixed_limit;      /**< Of one T-CONT, in kbit/s. */
    std::uint32_t m_first_serial;
    std::uint32_t m_serials = 0;
    std::vector<std::uint32_t> m_gems_of_profile; /**< A line profile's GEM ports are 1 to this. */
    std::vector<std::uint32_t> m_gems_of_onu;     /**< The same, by the ONU's place on the card. */
};

} // namespace host

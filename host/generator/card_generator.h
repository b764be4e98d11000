/**
 * @file
 * Makes up a card's configuration that is sound: the data model and all rules accept it.
 */
#pragma once

#include "generator/card_shape.h"
#include "generator/random.h"
#include "generator/tree_writer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace host
{

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
    void interfaces();
    void onu(std::uint32_t link, std::uint32_t onu_id);
    void onu_gateway(std::uint32_t link, std::uint32_t onu_id);
    void pots();
    void management(std::uint32_t link, std::uint32_t onu_id);
    void card_settings();
    void service_ports();
    void service_port(std::uint32_t number);

    std::string serial_number();
    std::string place();

    CardShape m_shape;
    TreeWriter &m_out;
    Random m_random;
    std::uint32_t m_first_serial;
    std::uint32_t m_serials = 0;
    std::vector<std::uint32_t> m_gems_of_profile; /**< A line profile's GEM ports are 1 to this. */
    std::vector<std::uint32_t> m_gems_of_onu;     /**< The same, by the ONU's place on the card. */
};

} // namespace host

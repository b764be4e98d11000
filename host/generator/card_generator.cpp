#include "generator/card_generator.h"

#include "generator/card_gateways.h"
#include "generator/card_names.h"
#include "generator/card_profiles.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <sstream>

namespace host
{
namespace
{

/** Above this number of ONUs the card warns about monitoring in real time. */
constexpr std::uint32_t kMaxRealTimeOnus = 128;
/** Cards of up to so many links have as many of them on each link. */
constexpr std::uint32_t kUsualLinks = 16;

constexpr std::array<const char *, 8> kStreets{"Mill Lane",    "Station Road", "Harbour Street",
                                               "Church Hill",  "Park Avenue",  "Market Square",
                                               "Orchard Walk", "Canal Street"};
constexpr std::array<const char *, 4> kVendors{"ABCD", "EFGH", "JKLM", "NPQR"};

} // namespace

CardGenerator::CardGenerator(const CardShape &shape, TreeWriter &out)
    : m_shape(shape), m_out(out), m_random(shape.seed), m_first_serial(m_random.bits())
{
}

void CardGenerator::write()
{
    m_out.open("config");
    m_out.open("profile");
    m_out.open("gpon");
    m_gems_of_profile = write_profiles(m_shape, m_out, m_random);
    write_gateway_profiles(m_shape.rg_profiles, m_out, m_random);
    write_tr069_profiles(m_out);
    write_voip_profiles(m_out);
    m_out.close();
    m_out.close();
    interfaces();
    card_settings();
    service_ports();
    m_out.close();
}

std::string CardGenerator::serial_number()
{
    // An odd factor permutes the 32-bit numbers: serial numbers look random and never repeat.
    constexpr std::uint32_t kFactor = 2654435761U;
    std::ostringstream text;
    text << m_random.pick(kVendors) << std::uppercase << std::hex << std::setw(8)
         << std::setfill('0') << m_first_serial + m_serials * kFactor;
    ++m_serials;
    return text.str();
}

std::string CardGenerator::place()
{
    return m_random.pick(kStreets) + (" " + std::to_string(1 + m_random.below(99)));
}

void CardGenerator::interfaces()
{
    m_out.open("interface");
    m_out.open_list("gpon");
    for (std::uint32_t link = 1; link <= m_shape.links; ++link) {
        m_out.open_entry();
        m_out.number("chassis-id", 1);
        m_out.number("slot-id", 1);
        m_out.number("port-id", link);
        m_out.text("description", "feeder to " + place());
        m_out.boolean("downstream-fec", m_random.one_in(2));
        m_out.boolean("upstream-fec", false);
        m_out.open_list("onu");
        for (std::uint32_t id = 1; id <= m_shape.onus; ++id) {
            m_out.open_entry();
            onu(link, id);
            m_out.close_entry();
        }
        m_out.close_list();
        m_out.close_entry();
    }
    m_out.close_list();
    m_out.close();
}

void CardGenerator::onu(std::uint32_t link, std::uint32_t onu_id)
{
    const std::uint32_t line_profile = m_random.below(m_shape.line_profiles);
    m_gems_of_onu.push_back(m_gems_of_profile[line_profile]);

    m_out.number("onu-id", onu_id);
    m_out.text("description", place());
    m_out.open("profile-references");
    m_out.text("line-profile", line_name(line_profile));
    m_out.text("service-profile", service_name(m_random.below(kServiceProfiles)));
    m_out.close();
    m_out.open("auth-method");
    m_out.text("serial-number", serial_number());
    m_out.close();
    onu_gateway(link, onu_id);
    if (m_random.one_in(3)) {
        pots();
    }
    // Every so many ONUs, so that the whole card stays below the number that it warns about.
    const std::uint32_t place_on_card = static_cast<std::uint32_t>(m_gems_of_onu.size());
    if (place_on_card %
            (std::max(m_shape.links, kUsualLinks) * m_shape.onus / kMaxRealTimeOnus + 1) ==
        0) {
        m_out.open("snmp");
        m_out.empty("real-time");
        m_out.close();
    }
    if (m_random.one_in(4)) {
        management(link, onu_id);
    }
}

void CardGenerator::onu_gateway(std::uint32_t link, std::uint32_t onu_id)
{
    if (m_random.one_in(4)) {
        return;
    }
    m_out.text("rg-profile", rg_name(m_random.below(m_shape.rg_profiles)));
    m_out.text("tr069-acs-profile", tr069_name(m_random.below(kTr069Profiles)));
    if (m_random.one_in(4)) {
        m_out.open("rg-override-parameters");
        m_out.text("pppoe-username",
                   "subscriber-" + std::to_string(link) + "-" + std::to_string(onu_id));
        m_out.close();
    }
}

void CardGenerator::pots()
{
    m_out.open_list("pots");
    const std::uint32_t ports = 1 + m_random.below(2);
    for (std::uint32_t port = 1; port <= ports; ++port) {
        m_out.open_entry();
        m_out.number("port", port);
        m_out.text("sip-agent-profile", sip_name(m_random.below(kVoipProfiles)));
        m_out.text("media-profile", media_name(m_random.below(kVoipProfiles)));
        m_out.text("phone-number", "+1555" + std::to_string(1000000 + m_random.below(9000000)));
        m_out.close_entry();
    }
    m_out.close_list();
}

/** One network for each PON link, with the router in front of the ONUs. */
void CardGenerator::management(std::uint32_t link, std::uint32_t onu_id)
{
    const std::string network =
        "10." + std::to_string(64 + link / 256) + "." + std::to_string(link % 256) + ".";
    m_out.open("management");
    m_out.text("address", network + std::to_string(onu_id + 10) + "/24");
    m_out.text("default-gateway", network + "1");
    m_out.number("vlan-id", 4000);
    m_out.close();
}

void CardGenerator::card_settings()
{
    m_out.open_list("gpon");
    m_out.open_entry();
    m_out.text("card", "1/1");
    m_out.text("onu-auth-method", "serial-number");
    m_out.open_list("pon-link");
    for (std::uint32_t link = 1; link <= m_shape.links; ++link) {
        m_out.open_entry();
        m_out.number("port", link);
        m_out.open("upstream");
        m_out.text("dba-algorithm", "status-reporting");
        m_out.close();
        m_out.close_entry();
    }
    m_out.close_list();
    m_out.close_entry();
    m_out.close_list();
}

void CardGenerator::service_ports()
{
    m_out.open_list("service-port");
    for (std::uint32_t number = 0; number < m_shape.service_ports; ++number) {
        m_out.open_entry();
        service_port(number);
        m_out.close_entry();
    }
    m_out.close_list();
}

/** ONU by ONU in rounds; each round takes the ONU's next GEM port, and a new VLAN when all had one.
 */
void CardGenerator::service_port(std::uint32_t number)
{
    const auto onus = static_cast<std::uint32_t>(m_gems_of_onu.size());
    const std::uint32_t onu = number % onus;
    const std::uint32_t round = number / onus;
    const std::uint32_t gems = m_gems_of_onu[onu];
    const std::uint32_t vlan = 100 + round / gems;

    m_out.number("id", number + 1);
    m_out.open("gpon");
    m_out.text("id", "1/1/" + std::to_string(onu / m_shape.onus + 1));
    m_out.open("onu");
    m_out.number("id", onu % m_shape.onus + 1);
    m_out.open("gem");
    m_out.number("gem-id", round % gems + 1);
    m_out.close();
    m_out.close();
    m_out.close();
    m_out.open("match");
    m_out.open("outer");
    m_out.number("vlan-id", vlan);
    m_out.close();
    m_out.close();
    m_out.open("action");
    m_out.text("operation", "translate");
    m_out.open("outer");
    m_out.number("vlan-id", 1000 + m_random.below(3000));
    m_out.close();
    m_out.close();
    m_out.number("max-mac-addresses", 16);
}

} // namespace host

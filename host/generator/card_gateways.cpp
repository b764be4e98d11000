#include "generator/card_generator.h"

#include "generator/card_names.h"

namespace host
{
namespace
{

/** LAN-side network of a WAN connection: 192.168.N.0/24 with a DHCP pool in its middle. */
void lan_network(TreeWriter &out, std::uint32_t number)
{
    const std::string network = "192.168." + std::to_string(number) + ".";
    out.text("ipv4-address", network + "1/24");
    out.boolean("dhcp-server", true);
    out.open("dhcp-server-address-pool");
    out.text("start-address", network + "100");
    out.text("end-address", network + "199");
    out.close();
}

void lan_port(TreeWriter &out, const char *name)
{
    out.open_entry();
    out.text("port", name);
    out.close_entry();
}

void internet_connection(TreeWriter &out)
{
    out.open_list("wan-pppoe-connection");
    out.open_entry();
    out.text("name", "internet");
    out.number("vlan-id", 100);
    out.text("username", "subscriber");
    out.text("password", "$0$subscriber");
    out.open("itf-grouping");
    out.open_list("ports");
    lan_port(out, "eth1");
    lan_port(out, "eth2");
    lan_port(out, "wl0");
    out.close_list();
    lan_network(out, 1);
    out.close();
    out.close_entry();
    out.close_list();
}

void voice_connection(TreeWriter &out)
{
    out.open_list("wan-ip-connection");
    out.open_entry();
    out.text("name", "voice");
    out.number("vlan-id", 300);
    out.boolean("nat", false);
    out.open("itf-grouping");
    out.open_list("ports");
    lan_port(out, "eth3");
    out.close_list();
    lan_network(out, 2);
    out.close();
    out.close_entry();
    out.close_list();
}

void television_connection(TreeWriter &out)
{
    out.open_list("wan-bridge-connection");
    out.open_entry();
    out.text("name", "television");
    out.number("vlan-id", 200);
    out.open("itf-grouping");
    out.open_list("ports");
    out.open_entry();
    out.text("port", "eth4");
    out.number("vlan", 200);
    out.close_entry();
    out.close_list();
    out.close();
    out.close_entry();
    out.close_list();
}

} // namespace

void CardGenerator::rg_profiles()
{
    m_out.open_list("rg-profile");
    for (std::uint32_t i = 0; i < m_shape.rg_profiles; ++i) {
        m_out.open_entry();
        m_out.text("name", rg_name(i));
        wlans(i);
        wans(i);
        m_out.close_entry();
    }
    m_out.close_list();
}

void CardGenerator::wlans(std::uint32_t profile)
{
    m_out.open_list("wlan");
    m_out.open_entry();
    m_out.number("id", 1);
    m_out.open("ssid");
    m_out.open("auto");
    m_out.empty("onu-serial-number");
    m_out.text("prefix", "home-");
    m_out.close();
    m_out.close();
    m_out.close_entry();

    m_out.open_entry();
    m_out.number("id", 2);
    m_out.boolean("enabled", m_random.one_in(2));
    m_out.open("ssid");
    m_out.text("custom", "guest-" + std::to_string(profile + 1));
    m_out.close();
    m_out.close_entry();
    m_out.close_list();
}

void CardGenerator::wans(std::uint32_t profile)
{
    internet_connection(m_out);
    if (profile % 2 == 1) {
        voice_connection(m_out);
    }
    if (m_random.one_in(2)) {
        television_connection(m_out);
    }
}

} // namespace host

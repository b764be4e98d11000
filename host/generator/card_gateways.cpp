#include "generator/card_gateways.h"

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

void wlans(std::uint32_t profile, TreeWriter &out, Random &random)
{
    out.open_list("wlan");
    out.open_entry();
    out.number("id", 1);
    out.open("ssid");
    out.open("auto");
    out.empty("onu-serial-number");
    out.text("prefix", "home-");
    out.close();
    out.close();
    out.close_entry();

    out.open_entry();
    out.number("id", 2);
    out.boolean("enabled", random.one_in(2));
    out.open("ssid");
    out.text("custom", "guest-" + std::to_string(profile + 1));
    out.close();
    out.close_entry();
    out.close_list();
}

void wans(std::uint32_t profile, TreeWriter &out, Random &random)
{
    internet_connection(out);
    if (profile % 2 == 1) {
        voice_connection(out);
    }
    if (random.one_in(2)) {
        television_connection(out);
    }
}

} // namespace

void write_gateway_profiles(std::uint32_t count, TreeWriter &out, Random &random)
{
    out.open_list("rg-profile");
    for (std::uint32_t i = 0; i < count; ++i) {
        out.open_entry();
        out.text("name", rg_name(i));
        wlans(i, out, random);
        wans(i, out, random);
        out.close_entry();
    }
    out.close_list();
}

} // namespace host

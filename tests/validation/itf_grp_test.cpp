#include "fixture.h"

#include "card_xml.h"
#include "gpon_itf_grp_validation.h"

namespace
{

using namespace card_xml;
using testing::Contains;
using testing::ElementsAre;
using testing::MatchesRegex;

const std::string kProfile = "/config/profile/gpon/rg-profile{home}";

std::string port(const std::string &name, int vlan = 0)
{
    return element("ports", element("port", name) +
                                (vlan != 0 ? element("vlan", std::to_string(vlan)) : ""));
}
std::string address(const std::string &text)
{
    return element("ipv4-address", text);
}
std::string dhcp(const std::string &start, const std::string &end)
{
    return element("dhcp-server", "true") +
           element("dhcp-server-address-pool",
                   element("start-address", start) + element("end-address", end));
}
std::string wan(const std::string &kind, const std::string &name, const std::string &grouping)
{
    return named("wan-" + kind + "-connection", name, element("itf-grouping", grouping));
}

class ItfGrp : public CardTest
{
protected:
    void given_connections(const std::string &connections)
    {
        given(profiles(named("rg-profile", "home", connections)));
        forget_trace();
    }
    Outcome ask_profile() { return ask(validate_itf_grp, kProfile); }

    void expect_left(int cursors)
    {
        EXPECT_EQ(engine::Hooks::instance().held.cursors, cursors);
        begin_again();
        expect_nothing_held();
    }
};

TEST_F(ItfGrp, tells_every_step_in_the_order_of_the_kinds)
{
    given_connections(
        wan("bridge", "tv", port("wl0") + port("eth4", 7) + address("10.0.0.1/8")) +
        wan("ip", "data", address("192.168.2.1/24") + "<dhcp-server>false</dhcp-server>") +
        wan("ip", "voice", port("eth1")) +
        wan("pppoe", "net",
            port("eth1", 9) + address("192.168.1.1/24") + dhcp("192.168.1.2", "192.168.1.3")) +
        named("wan-pppoe-connection", "plain"));
    EXPECT_EQ(ask_profile(), accepted());
    EXPECT_THAT(
        trace(10),
        ElementsAre(
            "Checking port+vlan Itf Grp", "Checking port 0 vlan 9 itf grp",
            "Interface Grouping not created for WAN plain. Skipping validation.",
            "Checking port 0 vlan 0 itf grp", "Checking port 3 vlan 7 itf grp",
            "Checking port 4 vlan 0 itf grp",
            MatchesRegex("Took [0-9]+ usecs to validate the Interface Groupings Ports from "
                         "RG-profile home"),
            "Checking port vlan itf grp", "Checking Itf Grouping DHCP",
            "No Interface Grouping for wan plain, skipping validation",
            "Checking Itf Grouping DHCP",
            "IP not configured for this Interface grouping, skipping validation",
            "Checking Itf Grouping DHCP",
            "WAN bridge does not have DHCP configuration, skipping this part of validation",
            MatchesRegex("Took [0-9]+ usecs to validate the Interface Groupings IP and DHCP "
                         "configurations from RG-profile home")));
    EXPECT_THAT(trace(12), ElementsAre("DHCP not enabled for this Interface grouping, skipping "
                                       "validation of DHCP"));
    expect_left(0);
}

TEST_F(ItfGrp, every_pair_of_port_and_vlan_has_its_message)
{
    struct Case {
        const char *port;
        int vlan;
        const char *text;
    };
    for (const Case &twice :
         {Case{"eth4", 0, "Port eth4 untagged cannot be used in more than one interface grouping"},
          Case{"eth4", 4094,
               "Port eth4 with VLAN 4094 cannot be used in more than one interface grouping"},
          Case{"wl0", 0, "Port wl0 cannot be used in more than one interface grouping"},
          Case{"wl0-vap1", 1,
               "Port wl0-vap1 cannot be used in more than one interface grouping"}}) {
        const std::string grouping = port(twice.port, twice.vlan);
        given_connections(wan("pppoe", "x", grouping) + wan("bridge", "x", grouping));
        EXPECT_EQ(ask_profile(), rejected(twice.text));
        expect_left(2); // Over the connections and over the ports.
    }
}

TEST_F(ItfGrp, objections_to_networks_leave_the_cursor)
{
    const std::string net = address("192.168.1.1/24");
    for (const std::string &connections :
         {wan("ip", "a", net) + wan("ip", "b", net),
          wan("ip", "a", net + dhcp("192.168.1.3", "192.168.1.2")),
          wan("ip", "a", net + dhcp("192.168.0.3", "192.168.1.2")),
          wan("ip", "a", net + dhcp("192.168.1.3", "192.168.2.2"))}) {
        given_connections(connections);
        EXPECT_EQ(ask_profile().result, CONFD_ERR);
        expect_left(1);
    }
}

TEST_F(ItfGrp, addresses_compare_as_unsigned_numbers_in_host_order)
{
    // In network order, or as signed numbers, 1.0.0.200 would stand behind 128.0.0.1.
    given_connections(wan("ip", "a", address("0.0.0.0/0") + dhcp("1.0.0.200", "128.0.0.1")));
    EXPECT_EQ(ask_profile(), accepted());
    given_connections(wan("ip", "a", address("0.0.0.0/0") + dhcp("128.0.0.1", "1.0.0.200")));
    EXPECT_EQ(ask_profile(),
              rejected("DHCP pool start-address must be lower than the end-address"));
}

TEST_F(ItfGrp, reads_that_fail_reject_without_a_text)
{
    struct Case {
        int failing_call;
        int code;
        int level;
        const char *line;
        int cursors_left;
    };
    // One IP connection; calls 4 to 13 walk over its ports, calls 20 to 29 over its network.
    const std::string card =
        wan("ip", "a",
            port("eth1", 5) + address("192.168.1.1/24") + dhcp("192.168.1.2", "192.168.1.3"));
    given_connections(card);
    for (const Case &read :
         {Case{9, CONFD_ERR_BADTYPE, 12,
               "Failed getting port VLAN for Itf Grouping on WAN from ConfD (forced failure)", 2},
          Case{24, CONFD_ERR_NOEXISTS, 10, "Failed to get ipv4 forced failure", 1},
          Case{25, CONFD_ERR_NOEXISTS, 12, "Failed to get DHCP info from ConfD", 1},
          Case{26, CONFD_ERR_NOEXISTS, 12, "Failed to get end-address", 1},
          Case{27, CONFD_ERR_NOEXISTS, 10, "Failed to get start-address", 1}}) {
        forget_trace();
        engine::Hooks::instance().fail_call(read.failing_call, read.code);
        EXPECT_EQ(ask_profile(), rejected("")) << read.line;
        EXPECT_THAT(trace(read.level), Contains(read.line));
        expect_left(read.cursors_left);
    }
    // A VLAN that is not there is none.
    forget_trace();
    engine::Hooks::instance().fail_call(9, CONFD_ERR_NOEXISTS);
    EXPECT_EQ(ask_profile(), accepted());
    EXPECT_THAT(trace(10), Contains("Checking port 0 vlan 0 itf grp"));
    expect_left(0);
}

TEST_F(ItfGrp, a_server_whose_pool_is_not_set_is_a_read_that_fails)
{
    given_connections(""); // A checked configuration always has the pool.
    given("", profiles(named(
                  "rg-profile", "home",
                  wan("ip", "a", address("192.168.1.1/24") + "<dhcp-server>true</dhcp-server>"))));
    EXPECT_EQ(ask_profile(), rejected(""));
    EXPECT_THAT(trace(12), ElementsAre("Failed to get end-address"));
}

TEST_F(ItfGrp, a_port_that_is_no_enumeration_is_a_programming_error)
{
    given_connections(wan("ip", "a", port("eth1")));
    client().enumeration_keys_as_numbers = true;
    EXPECT_DEATH(ask_profile(), "src/validation/gpon_itf_grp_validation:.*"
                                "\\(&port_cursor.keys\\[0\\]\\)->type == C_ENUM_VALUE");
}

} // namespace

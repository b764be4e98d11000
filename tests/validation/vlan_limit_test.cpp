#include "card_xml.h"
#include "fixture.h"

#include "gpon_vlan_limit.h"

namespace
{

using testing::ElementsAre;

const Outcome kLimit = rejected("Maximum number of VLAN Mappings exceeded. There cannot be more "
                                "than 20 VLAN Mappings per Ethernet UNI port.");
const Outcome kFailed = rejected("Failed accessing transaction data.");

const std::string kPort1 = "<uni><ethernet>1</ethernet></uni>";
const std::string kPort2 = "<uni><ethernet>2</ethernet></uni>";
const std::string kPorts1And2 = "<uni><ethernet>1</ethernet><ethernet>2</ethernet></uni>";
const std::string kVeip = "<veip><veip/></veip>";

/** `count` mappings, whose names begin with the prefix. */
std::string mappings(const std::string &prefix, int count, const std::string &ports)
{
    std::string xml;
    for (int i = 1; i <= count; ++i) {
        xml += card_xml::named("vlan-mapping", prefix + std::to_string(i), ports);
    }
    return xml;
}

std::string profile(const std::string &name, const std::string &inside)
{
    return card_xml::named("service-profile", name, inside);
}

class VlanLimit : public CardTest
{
protected:
    static constexpr const char *kMapping =
        "/config/profile/gpon/service-profile{home}/vlan-mapping{m1}";

    Outcome ask_home() { return ask(validate_vlan_limit, kMapping); }
};

TEST_F(VlanLimit, counts_each_port_of_the_profile_by_itself)
{
    struct Case {
        const char *what;
        std::string inside;
        Outcome outcome;
    };
    for (const Case &home : {
             Case{"21 on port 2, 20 on port 1",
                  mappings("m", 20, kPorts1And2) + mappings("n", 1, kPort2), kLimit},
             Case{"both counts as Ethernet",
                  mappings("m", 20, kPort1 + kVeip) + mappings("n", 20, kVeip), accepted()},
             Case{"neither is not counted", mappings("m", 30, ""), accepted()},
         }) {
        given("", card_xml::profiles(profile("home", home.inside) +
                                     profile("other", mappings("m", 30, kPort1))));
        EXPECT_EQ(ask_home(), home.outcome) << home.what;
        expect_nothing_held();
    }
    EXPECT_THAT(trace_lines(), testing::IsEmpty());
}

TEST_F(VlanLimit, a_port_that_went_over_stays_over)
{
    VlanCounters table;
    for (int i = 1; i <= 20; ++i) {
        EXPECT_EQ(check_vlan_counter(1, table), 0) << i;
    }
    EXPECT_EQ(check_vlan_counter(1, table), -1);
    EXPECT_EQ(check_vlan_counter(2, table), 0);
    EXPECT_EQ(check_vlan_counter(1, table), -1);
}

TEST_F(VlanLimit, reads_the_candidate_up_to_the_first_excess)
{
    const auto card = [](int count) {
        return card_xml::profiles(profile("home", mappings("m", count, kPort1)));
    };
    given(card(20), card(30));
    EXPECT_EQ(ask_home(), kLimit);
    EXPECT_EQ(engine::Hooks::instance().counts().at("maapi_get_list_elem"), 21U);
    given(card(30), card(20));
    EXPECT_EQ(ask_home(), accepted());
}

TEST_F(VlanLimit, rejects_when_ports_that_are_there_cannot_be_read)
{
    given("",
          card_xml::profiles(profile("home", mappings("m", 1, kPort1) + mappings("n", 1, kVeip))));
    EXPECT_THAT(ask_with_each_call_failing(validate_vlan_limit, kMapping),
                ElementsAre(accepted(), accepted(),          // Open the list, first mapping.
                            accepted(), kFailed, accepted(), // Port 1: exists, read; next.
                            accepted(), accepted(),          // The VEIP: no Ethernet; exists.
                            accepted(), accepted()));        // The end, close.
    ASSERT_THAT(trace(10),
                ElementsAre("Failed getting service profiles uni ethernet port information."));
    EXPECT_EQ(trace_lines().front().category, "debug");
}

TEST_F(VlanLimit, a_mapping_whose_ports_cannot_be_asked_for_is_not_counted)
{
    given("", card_xml::profiles(profile("home", mappings("m", 21, kPort1))));
    engine::Hooks::instance().fail_call(3, CONFD_ERR_OS);
    EXPECT_EQ(ask_home(), accepted());
    EXPECT_TRUE(engine::Hooks::instance().has_failed());
}

TEST_F(VlanLimit, a_keypath_without_the_profile_is_a_programming_error)
{
    given("", card_xml::profiles(profile("home", "")));
    EXPECT_DEATH(ask(validate_vlan_limit, "/config/profile/gpon/service-profile{home}"),
                 "src/validation/gpon_vlan_limit:[0-9]+: int32_t validate_vlan_limit\\(int32_t, "
                 "confd_trans_ctx\\*, confd_hkeypath_t\\*, confd_value_t\\*\\).*"
                 "\\(&keypath->v\\[2\\]\\[0\\]\\)->type == C_BUF");
}

} // namespace
